// The input as one of the five data files: it loads, the records hold its bytes exactly, a
// save writes them back unchanged (less an incomplete tail), and loading that gives the same
// records again.
#include "data_tables.h"
#include "fuzz_sandbox.h"

#include "data/data_files.h"
#include "data/defaults.h"
#include "data/globals.h"

#include <QFile>

namespace {

InboxInfo Inbox() {
    return {true,
            QStringLiteral("Inbox"),
            QStringLiteral("Mail|Inbox"),
            QStringLiteral("."),
            Sandbox::maildir(),
            {}};
}

QByteArray ReadFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Every table, encoded, to compare two loads by their bytes (a NaN date compares unequal to
// itself as a value).
QList<QByteArray> Snapshot() {
    QList<QByteArray> all;
    for (int i = 0; i < kDataTableCount; ++i)
        all << DataTableAt(i).encoded();
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    Sandbox::reset();
    const DataTable& table = DataTableAt(data[0] % kDataTableCount);
    const QByteArray content(reinterpret_cast<const char*>(data) + 1, qsizetype(size - 1));
    const QString path = DataFilePath(QLatin1String(table.extension));
    {
        QFile file(path);
        FUZZ_CHECK(file.open(QIODevice::WriteOnly), "cannot write %s", qPrintable(path));
        file.write(content);
    }

    LoadData(Inbox);
    const qint64 records = content.size() / table.recordSize;
    if (records > table.maxCount) {
        FUZZ_CHECK(table.count() == 0, "%lld records loaded past the count's range",
                   static_cast<long long>(table.count()));
        return 0;
    }
    const QByteArray whole = content.left(records * table.recordSize);
    FUZZ_CHECK(table.count() == records, "%s: %lld records loaded of %lld", table.extension,
               static_cast<long long>(table.count()), static_cast<long long>(records));
    FUZZ_CHECK(table.encoded() == whole, "%s: the records do not hold the file's bytes",
               table.extension);

    // Every table goes to disk, the defaults of the missing files as well.
    for (int i = 0; i < kDataTableCount; ++i)
        DataTableAt(i).markChanged();
    SaveData();
    FUZZ_CHECK(ReadFile(path) == whole, "%s: the save changed the file's bytes", table.extension);

    const QList<QByteArray> first = Snapshot();
    ResetGlobals();
    LoadData(Inbox);
    FUZZ_CHECK(Snapshot() == first, "a second load gives other records");
    return 0;
}
