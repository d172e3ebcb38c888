#include "data/watch_edits.h"

#include "data/data_files.h"
#include "data/globals.h"

#include <QFile>

int FindWatchFolderByPath(const QString& path) {
    const QString wanted = path.trimmed();
    for (int i = 1; i <= WatchFolders.count(); ++i)
        if (WatchFolders[static_cast<size_t>(i)].Path.get().compare(wanted, Qt::CaseInsensitive) ==
            0)
            return i;
    return 0;
}

EditResult AddWatchFolder(const QString& name, const QString& path, const QString& entryId,
                          const QString& storeId) {
    if (path.trimmed().isEmpty())
        return Refused(EditRefusal::Empty, QStringLiteral("a watched folder needs its path"));
    if (const int held = FindWatchFolderByPath(path))
        return Refused(EditRefusal::Duplicate,
                       QStringLiteral("'%1' is watched already (folder %2)")
                           .arg(WatchFolders[static_cast<size_t>(held)].Name.get())
                           .arg(held),
                       held);
    udtWatchFolder wf;
    wf.Active = vbTrue;
    wf.Name = name;
    wf.Path = path;
    wf.EntryID = entryId;
    wf.StoreID = storeId;
    return AppendRecord(WatchFolders, wf, "watched folders");
}

void RemoveWatchFolder(int index) {
    WatchFolders.remove(index);
    WatchFolders.changed = true;
}

void SetWatchFolderActive(int index, bool active) {
    WatchFolders[static_cast<size_t>(index)].Active = ToVb(active);
    WatchFolders.changed = true;
}

int FindBlockedFormat(const QString& ext) {
    const QString wanted = ext.trimmed().toUpper();
    for (int i = 1; i <= BlockedFormats.count(); ++i)
        if (BlockedFormats[static_cast<size_t>(i)].Extension.get() == wanted) return i;
    return 0;
}

EditResult AddUserBlockedFormat(const QString& ext, const QString& description, Overlong overlong) {
    const QString upper = ext.toUpper();
    if (upper.trimmed().isEmpty())
        return Refused(EditRefusal::Empty, QStringLiteral("an extension can't be empty"));
    for (const QChar c : upper)
        if (c.isSpace() || c == QLatin1Char('.') || c == QLatin1Char('/') ||
            c == QLatin1Char('\\') || c.category() == QChar::Other_Control)
            return Refused(EditRefusal::Meaningless,
                           QStringLiteral("an extension is given without its dot, blanks or "
                                          "separators; '%1' is not one")
                               .arg(ext));
    EditResult check = CheckFieldText(QStringLiteral("an extension"), upper,
                                      udtBlockedFormat{}.Extension.Length, overlong);
    if (check.ok())
        check = CheckFieldText(QStringLiteral("a description"), description,
                               udtBlockedFormat{}.Description.Length, overlong);
    if (!check.ok()) return check;
    udtBlockedFormat row;
    row.Extension = upper;
    row.Description = description;
    row.Active = vbTrue;
    row.System = vbFalse;
    return AppendRecord(BlockedFormats, row, "blocked formats");
}

EditResult RemoveBlockedFormat(int index) {
    const udtBlockedFormat& row = BlockedFormats[static_cast<size_t>(index)];
    if (IsTrue(row.System))
        return Refused(EditRefusal::Meaningless,
                       QStringLiteral("%1 is a built-in row: it can be switched off "
                                      "(blocked disable %1), not removed")
                           .arg(row.Extension.get()),
                       index);
    BlockedFormats.remove(index);
    BlockedFormats.changed = true;
    return {EditRefusal::None, {}, index};
}

void SetBlockedFormatActive(int index, bool active) {
    BlockedFormats[static_cast<size_t>(index)].Active = ToVb(active);
    BlockedFormats.changed = true;
}

bool WipeProtocol(QString* why) {
    QFile file(DataFilePath(QStringLiteral(".prt")));
    // Entries of the last second may not be in the file yet.
    if (!file.exists() && ProtoEntries.count() == 0) return false;
    if (file.exists() && !file.remove()) {
        if (why) *why = file.errorString();
        return true;
    }
    // With no change left, a pending save of the protocol writes nothing.
    ProtoEntries.clear();
    ProtoEntries.changed = false;
    return true;
}
