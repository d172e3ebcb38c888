#include "common/files.h"

#include "common/dates.h"
#include "common/lang.h"
#include "common/paths.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>

namespace {
constexpr int64_t kUnitsPerDay = 864000000000LL; // 100-ns units
constexpr int64_t kUnitsPerMs = 10000;
constexpr int64_t kUnixEpochMs = 11644473600000LL; // 1601-01-01 to 1970-01-01
constexpr int64_t kDaysTo1899 = 109205;            // 1601-01-01 to 1899-12-30

bool HasWildcard(const QString& s) {
    return s.contains(QLatin1Char('*')) || s.contains(QLatin1Char('?'));
}

// "*" any run, "?" one character, everything else literally.
QRegularExpression WildcardPattern(const QString& pattern) {
    QString rx;
    for (const QChar c : pattern) {
        if (c == QLatin1Char('*'))
            rx += QLatin1String(".*");
        else if (c == QLatin1Char('?'))
            rx += QLatin1Char('.');
        else
            rx += QRegularExpression::escape(QString(c));
    }
    return QRegularExpression(QRegularExpression::anchoredPattern(rx),
                              QRegularExpression::DotMatchesEverythingOption);
}

double ToDays(const QDateTime& t) {
    return t.isValid() ? DateToOle(t) : 0;
}

void Fill(const QFileInfo& fi, FileFindData& data) {
    data.fileName = fi.fileName();
    data.isDirectory = fi.isDir();
    data.size = data.isDirectory ? 0 : fi.size();
    QDateTime created = fi.birthTime();
    if (!created.isValid()) created = fi.metadataChangeTime();
    data.creationTime = ToDays(created);
    data.lastAccessTime = ToDays(fi.lastRead());
    data.lastWriteTime = ToDays(fi.lastModified());
}
} // namespace

bool GetFileFindData(const QString& pathOrPattern, FileFindData& data) {
    const QString name = GetFileNamePart(pathOrPattern);
    if (name.isEmpty() || name == QLatin1String(".") || name == QLatin1String("..")) return false;

    if (!HasWildcard(name)) {
        const QFileInfo fi(pathOrPattern);
        if (!fi.exists() && !fi.isSymLink()) return false;
        Fill(fi, data);
        return true;
    }

    QString folder = GetFolderPart(pathOrPattern);
    if (folder.isEmpty())
        folder =
            pathOrPattern.startsWith(QLatin1Char('/')) ? QStringLiteral("/") : QStringLiteral(".");
    // "*.*" meant every name, a dot or not.
    const QRegularExpression match =
        WildcardPattern(name == QLatin1String("*.*") ? QStringLiteral("*") : name);
    const QDir dir(folder);
    const QFileInfoList entries = dir.entryInfoList(
        QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& fi : entries) {
        if (match.match(fi.fileName()).hasMatch()) {
            Fill(fi, data);
            return true;
        }
    }
    return false;
}

double FileTimeToDate(int64_t fileTime) {
    if (fileTime < 0) return 0;
    // The clock's offset from UTC at that moment, as the local clock showed it then.
    const int64_t unixMs = fileTime / kUnitsPerMs - kUnixEpochMs;
    const QDateTime utc = QDateTime::fromMSecsSinceEpoch(unixMs, Qt::UTC);
    if (!utc.isValid()) return 0;
    const int64_t local =
        fileTime + int64_t{utc.toLocalTime().offsetFromUtc()} * 1000 * kUnitsPerMs;
    if (local < 0) return 0;
    // Whole days and the fraction apart, so no precision is lost on the way. Before 1899 the
    // days count down while the fraction stays the time of day, as in every other date.
    const auto day = static_cast<double>(local / kUnitsPerDay - kDaysTo1899);
    const double fraction = static_cast<double>(local % kUnitsPerDay) / kUnitsPerDay;
    return day < 0 ? day - fraction : day + fraction;
}

QString GetFileTypeName(const QString& extension, bool useFallback) {
    const QString fallback =
        !useFallback ? QStringLiteral("???")
                     : extension + LangText(QStringLiteral("-Datei"), QStringLiteral(" file"));
    if (extension.isEmpty() || extension.contains(QLatin1Char('/')) || extension.contains(QChar(0)))
        return fallback;
    const QMimeDatabase db;
    const QMimeType type =
        db.mimeTypeForFile(QStringLiteral("x.") + extension, QMimeDatabase::MatchExtension);
    if (!type.isValid() || type.isDefault()) return fallback;
    const QString comment = type.comment();
    return comment.isEmpty() ? fallback : comment;
}
