#pragma once
// The five data files as the fuzz target and the seed writer see them: the first byte of an
// input picks the file, the rest is its content.
#include <QByteArray>
#include <QString>

#include <functional>

struct DataTable {
    const char* extension;
    int recordSize;
    qint64 maxCount; // what the count global can hold
    // Every record from 1 to the count, encoded, one after the other.
    std::function<QByteArray()> encoded;
    std::function<qint64()> count;
    std::function<void()> markChanged;
};

constexpr int kDataTableCount = 5;
// In file order: rules, projects, folders, protocol, blocked formats.
const DataTable& DataTableAt(int index);
