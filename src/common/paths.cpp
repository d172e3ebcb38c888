#include "common/paths.h"

#include "common/vbstring.h"

#include <QDir>

namespace {
constexpr QChar kSep = QLatin1Char('/');

// 1-based position of the last `c`, 0 if none.
qsizetype LastPos(const QString& s, QChar c) {
    return s.lastIndexOf(c) + 1;
}
} // namespace

QString AddBackslash(const QString& path) {
    if (VbTrim(path).isEmpty()) return path;
    return path.endsWith(kSep) ? path : path + kSep;
}

QString StripBackslash(const QString& path) {
    return path.endsWith(kSep) ? path.left(path.size() - 1) : path;
}

QString GetFolderPart(const QString& path) {
    const qsizetype pos = LastPos(path, kSep);
    return pos > 1 ? path.left(pos) : QString();
}

QString GetFileNamePart(const QString& path) {
    const qsizetype pos = LastPos(path, kSep);
    if (pos == 0) return path;
    return pos == 1 ? QString() : path.mid(pos);
}

QString GetBaseName(const QString& path) {
    const QString name = GetFileNamePart(path);
    const qsizetype dot = LastPos(name, QLatin1Char('.'));
    return dot == 0 ? name : name.left(dot - 1);
}

QString GetExtensionUpper(const QString& name) {
    const qsizetype dot = LastPos(name, QLatin1Char('.'));
    return dot > 1 ? name.mid(dot).toUpper() : QString();
}

QString GetParentFolder(const QString& path) {
    const QString p = StripBackslash(path);
    const qsizetype pos = LastPos(p, kSep);
    if (pos == 1 && p.size() > 1)
        return QString(kSep); // a folder directly under the root: the root ends the walk
    return pos > 2 ? p.left(pos - 1) : QString();
}

QString GetLastPathPart(const QString& path) {
    const QString p = StripBackslash(path);
    const qsizetype pos = LastPos(p, kSep);
    return pos == 0 ? QString() : p.mid(pos);
}

QString ExpandHome(const QString& path) {
    if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
        return QDir::homePath() + path.mid(1);
    return path;
}
