#pragma once
// The mail files of one Maildir folder on disk: listing them, replacing one with new content,
// renaming one for its flags, and clearing our own leftovers in tmp/. A delivered file is never
// changed in place, and at every instant exactly one complete copy of a mail exists.
#include "host/maildir/own_writes.h"
#include "host/mime/attachment_file.h"
#include "host/mime/posix_files.h"

#include <QString>

#include <vector>

struct MailFileEntry {
    QString subdir; // "cur" or "new"
    QString name;
    FileIdentity identity;
};

// The mails in cur/ and new/ of a Maildir folder, by delivery time (the file's time), then name.
// A cur/ or new/ that is there but cannot be read is an error.
Result<std::vector<MailFileEntry>> ListMailFiles(const QString& folderDir);

// Writes the new content of `folderDir/subdir/name` to tmp/, syncs it, gives it the old file's
// times and mode, and puts it in the old file's place; then the file takes a fresh unique name
// with the same flags. The old file must still be the one described by `expected`: a mail
// another program renamed, changed or removed meanwhile is left alone. Returns the new name.
Result<QString> ReplaceMailFile(const QString& folderDir, const QString& subdir,
                                const QString& name, const FileIdentity& expected,
                                const ContentWriter& write, OwnWrites& ownWrites);

// Renames a mail for new flags (a mail in new/ moves to cur/). Returns the new subdir and name.
Result<MailFileEntry> RenameMailFlags(const QString& folderDir, const MailFileEntry& entry,
                                      const QString& flags, OwnWrites& ownWrites);

// Removes files we left in tmp/ from processes that are gone. Returns how many went.
int RemoveStaleTempFiles(const QString& folderDir);
