#pragma once
// Every edit of the watched folders, the blocked formats and the protocol as a whole. The Watch
// and Options tabs and the command line call these; each sets its table's changed flag, and a
// refused edit changes nothing. A caller that changes the watched folders then calls
// SetWatchFolders, so the watchers follow at once.
#include "data/edits.h"
#include "data/records.h"

#include <QString>

// The watched folder whose trimmed Path equals `path` trimmed, case ignored; 0 if none.
int FindWatchFolderByPath(const QString& path);
// A new last watched folder, active. Refused (Duplicate, with the index of the row that holds
// it) for a path that is watched already under any case, and for an empty path.
EditResult AddWatchFolder(const QString& name, const QString& path, const QString& entryId,
                          const QString& storeId);
void RemoveWatchFolder(int index);
void SetWatchFolderActive(int index, bool active);

// The blocked format whose trimmed extension equals `ext` (trimmed, upper-cased); 0 if none.
int FindBlockedFormat(const QString& ext);
// A new last user row, active. The extension is upper-cased; it may not be empty, hold a blank,
// a dot or a separator, and is cut to 3 characters with Overlong::Cut (else refused when
// longer); the description is cut to 30 likewise.
EditResult AddUserBlockedFormat(const QString& ext, const QString& description,
                                Overlong overlong = Overlong::Refuse);
// Refused (Meaningless) for a built-in row: those can be switched off, not removed.
EditResult RemoveBlockedFormat(int index);
void SetBlockedFormatActive(int index, bool active);

// Deletes the protocol file and empties the protocol in memory; false when there was nothing
// to delete (the protocol is empty). A file that cannot be deleted is reported in `why`, and the
// protocol in memory is kept then.
bool WipeProtocol(QString* why = nullptr);
