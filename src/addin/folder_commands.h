#pragma once
// The commands that try the rules on watched folders: a test or real run, the reset of the
// processing marks, and the check of one rule. The options dialog and `stowaway` both use them.
#include "data/edits.h"
#include "host/mail_store.h"

#include <QString>
#include <vector>

class StatusSurface;

struct udtWatchFolder;
// The store's folder of a watched-folder record: by its entry id alone, then with its store id.
Result<MailFolderPtr> LookUpWatchFolder(const udtWatchFolder& wf);

// Finds watched folder `index` (1-based): by its entry id, then with its store id. On failure
// a beep and "Can't access folder '...'!" box, and null.
MailFolderPtr ResolveWatchFolder(int index);

// Runs the engine over the watched folders `indices` (a test run or a real run, by SWTest).
// Returns false when a run was aborted or a mail could not be changed. Sets gLastAction.
bool TestOrRunFolders(const std::vector<int>& indices, StatusSurface* status);

// Clears the stamp of the processed mails of the folders (and marks them unread with
// `setUnread`). Returns the number of mails reset, after the closing box.
int ResetFolders(const std::vector<int>& indices, bool setUnread, StatusSurface* status);

// Shows what rule `ruleIndex` would do with the mails of watched folder `folderIndex`, without
// doing it. Returns the number of matching mails, after the closing box; -1 when the folder
// could not be reached.
int CheckRule(int ruleIndex, int folderIndex, StatusSurface* status);

// A folder that can be watched: one that holds mail, not a store's top.
bool IsMailFolder(const MailFolderPtr& folder);
// Adds `folder` to the watched folders (active) and rebuilds the watchers. Refused
// (Meaningless) for a folder that holds no mail, and (Duplicate, with the row) for one that is
// watched already under any case of its path. The dialog and `stowaway folders add` use it.
EditResult AddWatchedMailFolder(const MailFolderPtr& folder);
// The store's folder whose path ("Maildir|Work") is `path`, exactly; null if none.
MailFolderPtr StoreFolderByPath(const QString& path);
