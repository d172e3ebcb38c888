#pragma once
// What was parsed of each mail file, kept by folder and file name and trusted only while the
// file is the same (device, inode, size and modification time to the nanosecond), so listing a
// folder of mails already seen costs no parsing. A file rewritten in place that keeps all four
// counts as the same mail: mail programs never rewrite a delivered file in place, and the change
// time, which would tell, also moves with every rename that sets a flag.
#include "host/mime/mail_summary.h"
#include "host/mime/posix_files.h"

#include <QHash>
#include <QSet>
#include <QString>

#include <memory>
#include <vector>

struct CachedMail {
    FileIdentity identity;
    MailHeadersPtr headers;
    OpError headersError;
    MailStructurePtr structure;
    OpError structureError;
    bool structureRead = false;
    // Decoded sizes of the attachments by their place in the file; -1 where not asked for yet.
    std::vector<qint64> attachmentSizes;
};

class MailCache {
  public:
    // The entry for a file; a fresh one when the file is not the one that was parsed. Mail
    // objects may hold an entry; one dropped from the cache stays valid for them.
    std::shared_ptr<CachedMail> entry(const QString& dir, const QString& name,
                                      const FileIdentity& identity);
    // Drops the entries of `dir` whose files are no longer there.
    void prune(const QString& dir, const QSet<QString>& names);
    void forget(const QString& dir, const QString& name);
    // Carries an entry over to the file's new name (the content is the same).
    void rename(const QString& dir, const QString& name, const QString& newDir,
                const QString& newName);
    qsizetype size() const;

  private:
    QHash<QString, QHash<QString, std::shared_ptr<CachedMail>>> dirs_;
};
