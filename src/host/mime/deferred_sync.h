#pragma once
// One file-system sync per changed mail: it takes the new mail, the attachment files saved
// from it, and the renames of the mail before it, instead of a file and a folder sync for each.
// Until a mail is replaced it still holds every attachment, and until its rename is on disk a
// crash brings back the old mail whole, so nothing depends on the deferred parts.
#include "common/error.h"

#include <QString>

// Remembers the filesystem of `fd` (a file or folder just written) for the next sync.
void DeferSync(int fd);
// The same for a folder by its path.
void DeferFolderSync(const QString& folder);
// Syncs the filesystem of `fd` and every remembered one, then forgets them.
OpError SyncWithDeferred(int fd);
// Syncs every remembered filesystem (at the end of a session).
void SyncDeferred();
