#include "common/files.h"

#include "common/dates.h"
#include "common/lang.h"
#include "common/paths.h"

#include <QDir>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QRegularExpression>

namespace {
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
