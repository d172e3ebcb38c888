// A model that follows a record table by its signals alone must end with the table's rows.
#include "data/record_table.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

// Mirrors the table by the signals, as a dialog's model does.
struct Mirror {
    const RecordTable<int>& table;
    std::vector<int> rows;
    explicit Mirror(const RecordTable<int>& t) : table(t) {
        RecordTableNotifier* n = t.notifier();
        QObject::connect(n, &RecordTableNotifier::rowsInserted, [this](int first, int last) {
            for (int r = first; r <= last; ++r)
                rows.insert(rows.begin() + r - 1, table[r]);
        });
        QObject::connect(n, &RecordTableNotifier::rowsRemoved, [this](int first, int last) {
            rows.erase(rows.begin() + first - 1, rows.begin() + last);
        });
        QObject::connect(n, &RecordTableNotifier::rowsChanged, [this](int first, int last) {
            for (int r = first; r <= last; ++r)
                rows[size_t(r - 1)] = table[r];
        });
        QObject::connect(n, &RecordTableNotifier::tableReset, [this] { rows = table.rows(); });
    }
};

TEST(RecordTable, AModelFollowingTheSignalsKeepsTheRows) {
    RecordTable<int> table;
    Mirror mirror(table);
    const struct {
        const char* what;
        std::function<void()> edit;
        std::vector<int> rows;
    } steps[] = {
        {"assign",
         [&] {
             table.assign({1, 2, 3});
         },
         {1, 2, 3}},
        {"prepend", [&] { table.prepend(0); }, {0, 1, 2, 3}},
        {"append", [&] { table.append(4); }, {0, 1, 2, 3, 4}},
        {"insert", [&] { table.insert(3, 9); }, {0, 1, 9, 2, 3, 4}},
        {"remove", [&] { table.remove(1); }, {1, 9, 2, 3, 4}},
        {"swap", [&] { table.swap(4, 2); }, {1, 3, 2, 9, 4}},
        {"change in place",
         [&] {
             table[5] = 7;
             table.notifyChanged(5);
         },
         {1, 3, 2, 9, 7}},
        {"truncate", [&] { table.truncate(2); }, {1, 3}},
        {"clear", [&] { table.clear(); }, {}},
    };
    for (const auto& step : steps) {
        step.edit();
        EXPECT_EQ(table.rows(), step.rows) << step.what;
        EXPECT_EQ(mirror.rows, step.rows) << step.what;
        EXPECT_EQ(table.count(), int(step.rows.size())) << step.what;
    }
}

} // namespace
