#include "data_tables.h"

#include "data/data_files.h"
#include "data/globals.h"

#include <limits>

namespace {

template <class Records, class Count>
DataTable Make(const char* extension, int recordSize, Records& records, Count& count, bool& changed,
               QByteArray (*encode)(const typename Records::value_type&)) {
    return {extension,
            recordSize,
            std::numeric_limits<Count>::max(),
            [&records, &count, encode] {
                QByteArray bytes;
                for (qint64 i = 1; i <= count && i < qint64(records.size()); ++i)
                    bytes += encode(records[size_t(i)]);
                return bytes;
            },
            [&count] { return qint64(count); },
            [&changed] { changed = true; }};
}

} // namespace

const DataTable& DataTableAt(int index) {
    static const DataTable tables[kDataTableCount] = {
        Make(".rls", kRuleRecordSize, Rules, RulesCount, RulesChanged, EncodeRule),
        Make(".prj", kProjectRecordSize, Projects, ProjectsCount, ProjectsChanged, EncodeProject),
        Make(".fld", kWatchFolderRecordSize, WatchFolders, WatchFoldersCount, WatchFoldersChanged,
             EncodeWatchFolder),
        Make(".prt", kProtoRecordSize, ProtoEntries, ProtoCount, ProtoChanged, EncodeProtoEntry),
        Make(".ble", kBlockedRecordSize, BlockedFormats, BlockedCount, BlockedChanged,
             EncodeBlockedFormat),
    };
    return tables[index];
}
