#include "corpus.h"

#include "host/maildir/mail_builder.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

// SplitMix64: tiny, fast and the same on every platform (the standard distributions are not).
class Rng {
  public:
    explicit Rng(uint64_t seed) : state_(seed) {}
    uint64_t next() {
        uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    double uniform() { return double(next() >> 11) * 0x1.0p-53; }
    int below(int n) { return int(next() % uint64_t(n)); }
    double normal() {
        const double u1 = 1.0 - uniform();
        return std::sqrt(-2.0 * std::log(u1)) * std::cos(2.0 * M_PI * uniform());
    }
    QByteArray bytes(qint64 n) {
        QByteArray out(n, Qt::Uninitialized);
        char* p = out.data();
        for (qint64 i = 0; i < n; i += 8) {
            const uint64_t v = next();
            std::memcpy(p + i, &v, size_t(std::min<qint64>(8, n - i)));
        }
        return out;
    }

  private:
    uint64_t state_;
};

const char* const kSenders[][2] = {
    {"Buchhaltung Müller GmbH", "rechnung@mueller.example"},
    {"Jörg Österreicher", "joerg@oesterreicher.example"},
    {"Team Updates", "news@updates.example"},
    {"Scanner 3.OG", "scanner@office.example"},
    {"Françoise Dupré", "f.dupre@bureau.example"},
    {"Lieferservice Groß", "versand@gross.example"},
};

const char* const kStems[] = {"Rechnung März", "Übersicht", "Lieferschein", "Angebot Größe",
                              "scan",          "report",    "Protokoll",    "Fotos Büro"};
const char* const kBinaryTypes[][2] = {
    {"pdf", "application/pdf"},     {"zip", "application/zip"},
    {"jpg", "image/jpeg"},          {"png", "image/png"},
    {"docx", "application/msword"}, {"xlsx", "application/vnd.ms-excel"},
};
const char* const kWords[] = {"Größe", "Menge", "Preis",   "Lieferung", "Straße", "Übergabe",
                              "Käse",  "total", "invoice", "déjà",      "naïve",  "Ärger"};

QByteArray TextFile(Rng& rng, qint64 size) {
    QByteArray text;
    text.reserve(size + 80);
    while (text.size() < size) {
        QByteArray line;
        for (int w = 0, n = 4 + rng.below(8); w < n; ++w) {
            if (w) line += (rng.below(7) == 0 ? ";" : " ");
            line += kWords[rng.below(int(std::size(kWords)))];
        }
        text += line + "\n";
    }
    return text;
}

qint64 BinarySize(Rng& rng, const CorpusOptions& o) {
    const double size = double(o.medianBinary) * std::exp(rng.normal());
    return std::clamp<qint64>(qint64(size), o.minBinary, o.maxBinary);
}

QString FileName(Rng& rng, int mail, int index, const char* ext) {
    return QStringLiteral("%1-%2-%3.%4")
        .arg(QString::fromUtf8(kStems[rng.below(int(std::size(kStems)))]))
        .arg(mail, 5, 10, QLatin1Char('0'))
        .arg(index)
        .arg(QLatin1String(ext));
}

SampleAttachment::NameStyle Style(Rng& rng) {
    return rng.below(2) ? SampleAttachment::NameStyle::Rfc2231
                        : SampleAttachment::NameStyle::Rfc2047;
}

// The base64 of all saved attachments as one continuous text, so any base64 decoder can take it
// whole: only the last group is padded.
class PayloadEncoder {
  public:
    explicit PayloadEncoder(QIODevice* out) : out_(out) {}
    void add(const QByteArray& content) {
        if (!out_) return;
        rest_ += content;
        const qsizetype whole = rest_.size() / 3 * 3;
        out_->write(rest_.left(whole).toBase64() + '\n');
        rest_.remove(0, whole);
    }
    void finish() {
        if (out_ && !rest_.isEmpty()) out_->write(rest_.toBase64() + '\n');
        rest_.clear();
    }

  private:
    QIODevice* out_;
    QByteArray rest_;
};

void Expect(CorpusTotals& totals, const SampleAttachment& a, PayloadEncoder& payload) {
    totals.expected.push_back(
        {a.fileName, QCryptographicHash::hash(a.content, QCryptographicHash::Sha256).toHex(),
         a.content.size()});
    totals.payloadBytes += a.content.size();
    ++totals.savedAttachments;
    payload.add(a.content);
}

SampleMail MakeMail(Rng& rng, int i, const CorpusOptions& o, CorpusTotals& totals,
                    PayloadEncoder& payload) {
    SampleMail mail;
    const auto& sender = kSenders[rng.below(int(std::size(kSenders)))];
    mail.fromName = QString::fromUtf8(sender[0]);
    mail.fromAddress = QString::fromUtf8(sender[1]);
    mail.subject = QStringLiteral("Unterlagen Nr. %1 – Größe und Übersicht").arg(i);
    mail.date = QDateTime(QDate(2024, 1, 1), QTime(8, 0), Qt::UTC).addSecs(qint64(i) * 600);
    mail.textBody = QStringLiteral("Hallo,\n\nanbei die Unterlagen (Nr. %1).\n\nGrüße\n").arg(i);
    if (o.stamped) mail.mileage = QStringLiteral("QWKStowaway");
    const bool html = rng.below(10) < 3;
    if (html)
        mail.htmlBody =
            QStringLiteral("<html><body><p>Hallo,</p><p>anbei die Unterlagen (Nr. %1).</p>"
                           "</body></html>")
                .arg(i);
    if (rng.below(10) == 0) return mail; // a tenth without attachments

    const int count = 1 + rng.below(3);
    for (int j = 1; j <= count; ++j) {
        const int kind = rng.below(100);
        if (o.allQualify || kind < 80) {
            if (rng.below(100) < 80) {
                const auto& type = kBinaryTypes[rng.below(int(std::size(kBinaryTypes)))];
                SampleAttachment a = SampleAttachment::file(
                    FileName(rng, i, j, type[0]), type[1], rng.bytes(BinarySize(rng, o)),
                    SampleAttachment::Encoding::Base64, Style(rng));
                Expect(totals, a, payload);
                mail.attachments.push_back(a);
            } else {
                SampleAttachment a =
                    SampleAttachment::file(FileName(rng, i, j, rng.below(2) ? "txt" : "csv"),
                                           "text/plain", TextFile(rng, 2048 + rng.below(40 * 1024)),
                                           SampleAttachment::Encoding::QuotedPrintable, Style(rng));
                Expect(totals, a, payload);
                mail.attachments.push_back(a);
            }
        } else if (kind < 87) {
            const QString who = mail.fromName;
            mail.attachments.push_back(
                SampleAttachment::file(who + QStringLiteral(".vcf"), "text/vcard",
                                       (QStringLiteral("BEGIN:VCARD\r\nVERSION:3.0\r\nFN:") + who +
                                        QStringLiteral("\r\nEND:VCARD\r\n"))
                                           .toUtf8()));
        } else if (kind < 94) {
            SampleAttachment picture = SampleAttachment::file(
                QStringLiteral("image%1.png").arg(j, 3, 10, QLatin1Char('0')), "image/png",
                rng.bytes(2048 + rng.below(20 * 1024)));
            picture.contentId = QStringLiteral("img%1-%2@corpus.example").arg(i).arg(j);
            if (mail.htmlBody.isEmpty())
                mail.htmlBody = QStringLiteral("<html><body><p>Hallo,</p></body></html>");
            mail.htmlBody.replace(
                QStringLiteral("</body>"),
                QStringLiteral("<img src=\"cid:%1\"></body>").arg(picture.contentId));
            mail.attachments.push_back(picture);
        } else {
            SampleMail inner;
            inner.subject = QStringLiteral("Weitergeleitet: Anlage %1").arg(i);
            inner.date = mail.date.addDays(-2);
            inner.attachments.push_back(
                SampleAttachment::file(QStringLiteral("Anlage-%1.pdf").arg(i), "application/pdf",
                                       rng.bytes(5 * 1024 + rng.below(45 * 1024))));
            mail.attachedMessages.push_back(inner);
        }
        ++totals.attachments;
    }
    return mail;
}

// GMime makes up boundaries and message ids at random; the corpus names them by the mail.
QByteArray Deterministic(QByteArray bytes, int mail) {
    static const QRegularExpression boundary(QStringLiteral("boundary=\"([^\"]+)\""));
    const QString text = QString::fromLatin1(bytes);
    int k = 0;
    for (auto it = boundary.globalMatch(text); it.hasNext();) {
        const QByteArray old = it.next().captured(1).toLatin1();
        bytes.replace(old, QStringLiteral("=-corpus-%1-%2").arg(mail).arg(++k).toLatin1());
    }
    static const QRegularExpression messageId(QStringLiteral("^Message-Id: <[^>]*>"),
                                              QRegularExpression::MultilineOption |
                                                  QRegularExpression::CaseInsensitiveOption);
    k = 0;
    for (auto it = messageId.globalMatch(QString::fromLatin1(bytes)); it.hasNext();) {
        const QByteArray old = it.next().captured(0).toLatin1();
        bytes.replace(
            old,
            QStringLiteral("Message-Id: <corpus-%1-%2@example.org>").arg(mail).arg(++k).toLatin1());
    }
    return bytes;
}

} // namespace

bool WriteCorpus(const QString& maildir, const CorpusOptions& options, CorpusTotals& totals,
                 QString& error, QIODevice* payloadBase64) {
    if (OpError e = EnsureMaildirFolder(maildir)) {
        error = e.description;
        return false;
    }
    Rng rng(options.seed);
    PayloadEncoder payload(payloadBase64);
    for (int i = 1; i <= options.mails; ++i) {
        const SampleMail mail = MakeMail(rng, i, options, totals, payload);
        const QByteArray bytes = Deterministic(BuildSampleMail(mail), i);
        const qint64 when = mail.date.toSecsSinceEpoch();
        // A fifth still in new/, the rest seen by a mail reader (unread) in cur/.
        const bool inNew = i % 5 == 0;
        const QString name = QStringLiteral("%1.C%2S%3.corpus")
                                 .arg(when)
                                 .arg(i, 6, 10, QLatin1Char('0'))
                                 .arg(options.seed) +
                             (inNew ? QString() : QStringLiteral(":2,"));
        const QString path =
            maildir + (inNew ? QStringLiteral("/new/") : QStringLiteral("/cur/")) + name;
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(bytes) != bytes.size()) {
            error = QStringLiteral("Cannot write %1: %2").arg(path, file.errorString());
            return false;
        }
        file.close();
        const timespec t{time_t(when), 0};
        const timespec times[2] = {t, t};
        ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0);
        totals.mailBytes += bytes.size();
        ++totals.mails;
    }
    payload.finish();
    return true;
}
