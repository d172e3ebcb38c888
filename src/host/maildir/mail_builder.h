#pragma once
// Delivers sample mails into Maildir folders, for the demo command, the benchmark corpus and the
// tests.
#include "host/mime/sample_mail.h"

struct SampleMailFlags {
    bool seen = false;          // the "S" flag: read
    bool inNew = false;         // delivered to new/ (no flags) rather than cur/
    bool fileTimeIsDate = true; // the file's time is the mail's date
};

// Creates cur/ new/ tmp/ in `folder` if missing.
OpError EnsureMaildirFolder(const QString& folder);
// Writes the mail into the Maildir folder (through tmp/, under a fresh unique name). Returns the
// file's path.
Result<QString> WriteMailToMaildir(const QString& folder, const SampleMail& mail,
                                   const SampleMailFlags& flags = {});
