#pragma once
// Maildir file names: "<unique>:2,<flags>". The unique part names the mail for as long as its
// content stays the same; the flags after ":2," say what the reader did with it.
#include <QString>

struct MaildirFileName {
    QString unique;       // everything before the first ':' (the mail's EntryID)
    QString flags;        // the flag letters of a ":2," info, in ASCII order
    bool hasInfo = false; // the name carries a ":2," info
};

MaildirFileName ParseMaildirFileName(const QString& fileName);
// The same parts on their own, without building the rest: a walk over a folder asks for them
// many times per mail.
QString MaildirUnique(const QString& fileName);
bool MaildirHasFlag(const QString& fileName, QChar flag);
// The unique part without the marks sync tools and servers add to it after a comma (mbsync
// ",U=17", Dovecot ",S=1234"): a mail keeps it when such a tool renames it.
QString UniqueStem(const QString& unique);
// "<unique>:2,<flags>" with the flags in ASCII order; without info just the unique part.
QString ComposeMaildirFileName(const MaildirFileName& name);

// The flags with `flag` added or removed, in ASCII order.
QString FlagsWith(const QString& flags, QChar flag);
QString FlagsWithout(const QString& flags, QChar flag);

// A fresh unique part, "<seconds>.M<microseconds>P<pid>Q<counter>.<host>", unique within this
// host as long as the clock does not run backwards within one process.
QString NewUniqueName();
