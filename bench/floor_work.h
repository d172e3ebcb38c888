#pragma once
// The least work a real run over a corpus must do, done without a mail parser: decode every
// attachment, write it to a file of its own (temporary file, rename, so no half file is ever
// seen), and rewrite each mail through tmp/ with one sync that also takes its attachment files,
// then a rename. It is the yardstick of
// the real run, not a mail reader: it understands only the MIME that the corpus generator writes.
#include <QString>
#include <QStringList>

#include <vector>

struct FloorCount {
    int mails = 0;
    int files = 0;
    qint64 bytes = 0;
};

// The mail files of a Maildir folder: cur/ then new/, by name.
QStringList MailFiles(const QString& maildir);

bool RunFloor(const QString& maildir, const QString& outDir, FloorCount& count, QString& error);

// Creates one file per size in `outDir` the way attachments are saved, then syncs them all once.
bool WriteSyncedFiles(const QString& outDir, const std::vector<qint64>& sizes, qint64& bytes,
                      QString& error);
