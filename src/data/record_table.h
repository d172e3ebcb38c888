#pragma once
// A table of records as the data files and the dialogs count them: rows 1..count(), and a row 0
// that exists and stays empty, so loops written from 1 need no offset. The dialog's models follow
// the table through the signals of notifier(): a run may add protocol entries at the front while
// the dialog shows them.
#include <QObject>

#include <cassert>
#include <deque>
#include <limits>
#include <utility>
#include <vector>

class RecordTableNotifier : public QObject {
    Q_OBJECT
  Q_SIGNALS:
    // Row numbers are 1-based and name the rows after the change.
    void rowsInserted(int first, int last);
    // Row numbers are 1-based and name the rows as they were before the removal.
    void rowsRemoved(int first, int last);
    void rowsChanged(int first, int last);
    // Everything may differ: a load, a wipe, an import.
    void tableReset();
};

template <class T, class Count = int16_t> class RecordTable {
  public:
    // The data file's count field limits the rows.
    static constexpr int kMaxCount = std::numeric_limits<Count>::max();
    using iterator = typename std::deque<T>::iterator;
    using const_iterator = typename std::deque<T>::const_iterator;

    RecordTable() : m_rows(1) {}
    RecordTable(const RecordTable&) = delete;
    RecordTable& operator=(const RecordTable&) = delete;

    int count() const { return int(m_rows.size()) - 1; }
    bool isEmpty() const { return m_rows.size() == 1; }

    T& operator[](int row) {
        assert(row >= 0 && row <= count());
        return m_rows[std::size_t(row)];
    }
    const T& operator[](int row) const {
        assert(row >= 0 && row <= count());
        return m_rows[std::size_t(row)];
    }

    // Rows 1..count, for range loops.
    iterator begin() { return m_rows.begin() + 1; }
    iterator end() { return m_rows.end(); }
    const_iterator begin() const { return m_rows.begin() + 1; }
    const_iterator end() const { return m_rows.end(); }

    // A copy of rows 1..count.
    std::vector<T> rows() const { return {begin(), end()}; }

    // The record becomes row `row` (1..count+1); the rows from there on move down by one.
    void insert(int row, T record) {
        assert(row >= 1 && row <= count() + 1);
        m_rows.insert(m_rows.begin() + row, std::move(record));
        Q_EMIT m_notifier.rowsInserted(row, row);
    }
    void append(T record) { insert(count() + 1, std::move(record)); }
    void prepend(T record) { insert(1, std::move(record)); }

    void remove(int row) { removeRange(row, row); }
    void removeRange(int first, int last) {
        assert(first >= 1 && first <= last && last <= count());
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
        Q_EMIT m_notifier.rowsRemoved(first, last);
    }
    // Drops the rows after `rows`.
    void truncate(int rows) {
        if (rows < count()) removeRange(rows + 1, count());
    }

    // Swaps two rows' contents (the move of a rule up or down).
    void swap(int a, int b) {
        std::swap((*this)[a], (*this)[b]);
        Q_EMIT m_notifier.rowsChanged(std::min(a, b), std::max(a, b));
    }

    // Tells the listeners that rows were changed in place through operator[].
    void notifyChanged(int first, int last) { Q_EMIT m_notifier.rowsChanged(first, last); }
    void notifyChanged(int row) { notifyChanged(row, row); }

    // Replaces every row (a load from the data file, an import).
    void assign(std::vector<T> rows) {
        m_rows.clear();
        m_rows.emplace_back();
        for (T& record : rows)
            m_rows.push_back(std::move(record));
        Q_EMIT m_notifier.tableReset();
    }
    void clear() { assign({}); }

    // The caller sets it with each change that the data file must get; the save clears it.
    bool changed = false;

    RecordTableNotifier* notifier() const { return &m_notifier; }

  private:
    std::deque<T> m_rows;
    mutable RecordTableNotifier m_notifier;
};
