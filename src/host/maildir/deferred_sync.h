#pragma once
// Attachment files are made durable together with the mail that records them: one filesystem
// sync per changed mail, instead of a file and a folder sync for every attachment. Until the
// mail is replaced, the mail itself still holds each attachment, so nothing depends on them.
#include "common/error.h"

// Remembers the filesystem of `fd` (a file or folder just written) for the next sync.
void DeferSync(int fd);
// Syncs the filesystem of `fd` and every remembered one, then forgets them.
OpError SyncWithDeferred(int fd);
// Syncs every remembered filesystem (at the end of a session).
void SyncDeferred();
