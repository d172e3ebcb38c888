#pragma once
// A deterministic Maildir corpus for the benchmarks: the same seed gives the same files, byte
// for byte. Mails are written with the project's own mail builder.
#include <QByteArray>
#include <QString>

class QIODevice;

#include <cstdint>
#include <vector>

struct CorpusOptions {
    int mails = 2000;
    uint64_t seed = 1;
    // Only attachments that every tool saves: no cards, inline pictures or attached messages.
    bool allQualify = false;
    // Every mail already carries the processing stamp.
    bool stamped = false;
    // Sizes of the base64 binaries: log-normal around the median, cut at the bounds.
    qint64 minBinary = 5 * 1024;
    qint64 medianBinary = 100 * 1024;
    qint64 maxBinary = 2 * 1024 * 1024;
};

// One attachment that a rule saving everything writes to disk.
struct ExpectedFile {
    QString name;
    QByteArray sha256; // hex
    qint64 size = 0;
};

struct CorpusTotals {
    int mails = 0;
    qint64 mailBytes = 0;
    int attachments = 0;      // every attachment part, inner ones of attached messages included
    int savedAttachments = 0; // those a rule saving everything writes
    qint64 payloadBytes = 0;  // decoded bytes of the saved ones
    std::vector<ExpectedFile> expected;
};

// Writes the mails into the Maildir folder `maildir` (its cur/ and new/). With `payloadBase64`
// given, the base64 of every saved attachment is appended to it. Stops at the first failed write.
bool WriteCorpus(const QString& maildir, const CorpusOptions& options, CorpusTotals& totals,
                 QString& error, QIODevice* payloadBase64 = nullptr);
