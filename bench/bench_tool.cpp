// stowaway-bench: the corpus generator and the reference programs of bench/peers.sh.
//   corpus DIR N [--seed S] [--all-qualify] [--stamped] [--small]   DIR/maildir, manifest.tsv,
//   payload.b64 rule OUTDIR [--remove-and-link]     the one rule of the benchmark, into the data
//   folder parse MAILDIR                       GMime parse + decode of every mail, writing nothing
//   floor MAILDIR OUTDIR                decode + write the attachments + rewrite each mail, synced
//   write-payload CORPUS OUTDIR         create, write and sync files of the manifest's sizes
//   verify CORPUS OUTDIR                the files in OUTDIR against the manifest
#include "corpus.h"
#include "floor_work.h"

#include "data/data_files.h"
#include "data/globals.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QTextStream>

#include <gmime/gmime.h>

#include <cstdio>
#include <fcntl.h>

namespace {

QTextStream& out() {
    static QTextStream s(stdout);
    return s;
}
QTextStream& err() {
    static QTextStream s(stderr);
    return s;
}

int Usage() {
    err() << "usage: stowaway-bench corpus DIR N [--seed S] [--all-qualify] [--stamped] [--small]\n"
             "       stowaway-bench rule OUTDIR [--remove-and-link]\n"
             "       stowaway-bench parse MAILDIR\n"
             "       stowaway-bench floor MAILDIR OUTDIR\n"
             "       stowaway-bench write-payload CORPUS OUTDIR\n"
             "       stowaway-bench verify CORPUS OUTDIR\n";
    return 2;
}

int Corpus(QStringList args) {
    CorpusOptions options;
    options.allQualify = args.removeAll(QStringLiteral("--all-qualify")) > 0;
    options.stamped = args.removeAll(QStringLiteral("--stamped")) > 0;
    if (args.removeAll(QStringLiteral("--small")) > 0) {
        // The micro-benchmarks' sizes: a folder of 100,000 mails in a few GB.
        options.minBinary = 1024;
        options.medianBinary = 8 * 1024;
        options.maxBinary = 64 * 1024;
    }
    if (const qsizetype at = args.indexOf(QStringLiteral("--seed"));
        at >= 0 && at + 1 < args.size()) {
        options.seed = args.at(at + 1).toULongLong();
        args.remove(at, 2);
    }
    if (args.size() != 2) return Usage();
    const QString dir = args.at(0);
    options.mails = args.at(1).toInt();
    QFile payload(dir + QStringLiteral("/payload.b64"));
    if (!QDir().mkpath(dir) || !payload.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        err() << "stowaway-bench: cannot write in " << dir << '\n';
        return 1;
    }
    CorpusTotals totals;
    QString error;
    if (!WriteCorpus(dir + QStringLiteral("/maildir"), options, totals, error, &payload)) {
        err() << "stowaway-bench: " << error << '\n';
        return 1;
    }
    QFile manifest(dir + QStringLiteral("/manifest.tsv"));
    if (!manifest.open(QIODevice::WriteOnly | QIODevice::Truncate)) return 1;
    for (const ExpectedFile& f : totals.expected)
        manifest.write(f.sha256 + '\t' + QByteArray::number(f.size) + '\t' + f.name.toUtf8() +
                       '\n');
    const QString summary =
        QStringLiteral("mails=%1 bytes=%2 attachments=%3 saved_attachments=%4 payload_bytes=%5\n")
            .arg(totals.mails)
            .arg(totals.mailBytes)
            .arg(totals.attachments)
            .arg(totals.savedAttachments)
            .arg(totals.payloadBytes);
    QFile totalsFile(dir + QStringLiteral("/totals.txt"));
    if (totalsFile.open(QIODevice::WriteOnly | QIODevice::Truncate))
        totalsFile.write(summary.toUtf8());
    out() << summary;
    return 0;
}

// The data folder of the current HOME gets one active rule that saves every attachment into
// OUTDIR, replacing what is there, and changes the mail only with --remove-and-link.
int Rule(QStringList args) {
    const bool removeAndLink = args.removeAll(QStringLiteral("--remove-and-link")) > 0;
    if (args.size() != 1) return Usage();
    udtRule r;
    r.Active = vbTrue;
    r.Name = QStringLiteral("Benchmark: everything");
    r.Sender = QString();
    r.Recipient = QString();
    r.Subject = QString();
    r.FileFormat = QString();
    r.SaveBy = 4; // one fixed folder
    r.SaveFormat = 0;
    r.Folder = args.at(0);
    r.FileExists = 1; // replace
    r.Execute = QString();
    r.DelAttach = ToVb(removeAndLink);
    r.Hyperlink = ToVb(removeAndLink);
    Rules.assign({r});
    Rules.changed = true;
    SaveData();
    return 0;
}

// Everything GMime does to read a mail and decode its parts, with the output thrown away.
struct ParseCount {
    qint64 parts = 0;
    qint64 decoded = 0;
};

void DecodePart(GMimeObject*, GMimeObject* part, gpointer data) {
    if (!GMIME_IS_PART(part)) return;
    GMimeDataWrapper* content = g_mime_part_get_content(GMIME_PART(part));
    if (!content) return;
    GMimeStream* sink = g_mime_stream_null_new();
    g_mime_data_wrapper_write_to_stream(content, sink);
    auto* count = static_cast<ParseCount*>(data);
    count->decoded += qint64(GMIME_STREAM_NULL(sink)->written);
    ++count->parts;
    g_object_unref(sink);
}

int Parse(const QStringList& args) {
    if (args.size() != 1) return Usage();
    g_mime_init();
    ParseCount count;
    int mails = 0;
    for (const QString& file : MailFiles(args.at(0))) {
        GMimeStream* stream =
            g_mime_stream_fs_open(QFile::encodeName(file).constData(), O_RDONLY, 0, nullptr);
        if (!stream) continue;
        GMimeParser* parser = g_mime_parser_new_with_stream(stream);
        GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
        if (message) {
            g_mime_message_foreach(message, DecodePart, &count);
            // Attached messages are decoded too, as the store must to know their parts.
            ++mails;
            g_object_unref(message);
        }
        g_object_unref(parser);
        g_object_unref(stream);
    }
    out() << "mails=" << mails << " parts=" << count.parts << " decoded_bytes=" << count.decoded
          << '\n';
    return 0;
}

int Floor(const QStringList& args) {
    if (args.size() != 2) return Usage();
    FloorCount count;
    QString error;
    if (!RunFloor(args.at(0), args.at(1), count, error)) {
        err() << "stowaway-bench: " << error << '\n';
        return 1;
    }
    out() << "mails=" << count.mails << " files=" << count.files << " bytes=" << count.bytes
          << '\n';
    return 0;
}

struct ManifestEntry {
    QByteArray sha256;
    qint64 size = 0;
    QString name;
};

std::vector<ManifestEntry> ReadManifest(const QString& corpus) {
    std::vector<ManifestEntry> entries;
    QFile file(corpus + QStringLiteral("/manifest.tsv"));
    if (!file.open(QIODevice::ReadOnly)) return entries;
    while (!file.atEnd()) {
        const QList<QByteArray> fields = file.readLine().chopped(1).split('\t');
        if (fields.size() == 3)
            entries.push_back({fields[0], fields[1].toLongLong(), QString::fromUtf8(fields[2])});
    }
    return entries;
}

int WritePayload(const QStringList& args) {
    if (args.size() != 2) return Usage();
    std::vector<qint64> sizes;
    for (const ManifestEntry& e : ReadManifest(args.at(0)))
        sizes.push_back(e.size);
    QString error;
    qint64 bytes = 0;
    if (!WriteSyncedFiles(args.at(1), sizes, bytes, error)) {
        err() << "stowaway-bench: " << error << '\n';
        return 1;
    }
    out() << "files=" << sizes.size() << " bytes=" << bytes << '\n';
    return 0;
}

// Which of the expected files a tool wrote: by content (a tool may spell a name its own way)
// and by content and name.
int Verify(const QStringList& args) {
    if (args.size() != 2) return Usage();
    const std::vector<ManifestEntry> expected = ReadManifest(args.at(0));
    QHash<QByteArray, int> wanted;
    QHash<QString, QByteArray> wantedNames;
    for (const ManifestEntry& e : expected) {
        ++wanted[e.sha256];
        wantedNames.insert(e.name.normalized(QString::NormalizationForm_C), e.sha256);
    }
    int files = 0;
    int contentOk = 0;
    int namesOk = 0;
    for (QDirIterator it(args.at(1), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
         it.hasNext();) {
        const QString path = it.next();
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly)) continue;
        ++files;
        QCryptographicHash hash(QCryptographicHash::Sha256);
        hash.addData(&file);
        const QByteArray sha = hash.result().toHex();
        if (auto found = wanted.find(sha); found != wanted.end() && *found > 0) {
            --*found;
            ++contentOk;
        }
        if (wantedNames.value(it.fileName().normalized(QString::NormalizationForm_C)) == sha)
            ++namesOk;
    }
    const bool complete = contentOk == int(expected.size());
    out() << "files=" << files << " expected=" << expected.size() << " content_ok=" << contentOk
          << " names_ok=" << namesOk << " complete=" << (complete ? "yes" : "no") << '\n';
    return complete ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.isEmpty()) return Usage();
    const QString command = args.takeFirst();
    if (command == QLatin1String("corpus")) return Corpus(args);
    if (command == QLatin1String("rule")) return Rule(args);
    if (command == QLatin1String("parse")) return Parse(args);
    if (command == QLatin1String("floor")) return Floor(args);
    if (command == QLatin1String("write-payload")) return WritePayload(args);
    if (command == QLatin1String("verify")) return Verify(args);
    return Usage();
}
