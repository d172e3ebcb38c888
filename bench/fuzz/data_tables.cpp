#include "data_tables.h"

#include "data/data_files.h"
#include "data/globals.h"

namespace {

template <class Rec, class Count>
DataTable Make(const char* extension, int recordSize, RecordTable<Rec, Count>& records,
               QByteArray (*encode)(const Rec&)) {
    return {extension,
            recordSize,
            records.kMaxCount,
            [&records, encode] {
                QByteArray bytes;
                for (const Rec& record : records)
                    bytes += encode(record);
                return bytes;
            },
            [&records] { return qint64(records.count()); },
            [&records] { records.changed = true; }};
}

} // namespace

const DataTable& DataTableAt(int index) {
    static const DataTable tables[kDataTableCount] = {
        Make(".rls", kRuleRecordSize, Rules, EncodeRule),
        Make(".prj", kProjectRecordSize, Projects, EncodeProject),
        Make(".fld", kWatchFolderRecordSize, WatchFolders, EncodeWatchFolder),
        Make(".prt", kProtoRecordSize, ProtoEntries, EncodeProtoEntry),
        Make(".ble", kBlockedRecordSize, BlockedFormats, EncodeBlockedFormat),
    };
    return tables[index];
}
