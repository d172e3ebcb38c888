#include "common/folders.h"

#include "common/paths.h"

#include <QDir>
#include <QStandardPaths>

#include <sys/stat.h>

QString gAppCaption;
QString gAppName;
QString gAppShortName = QStringLiteral("Stowaway");

void InitAppCaptions() {
    // Both languages hold the same text.
    gAppName = QStringLiteral("Quillworks Stowaway");
    gAppShortName = QStringLiteral("Stowaway");
    gAppCaption = gAppName + QStringLiteral(" v2.50");
}

QString GetSpecialFolder(int csidl) {
    QString path;
    switch (csidl) {
    case Csidl::AppData:
        path = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        break;
    case Csidl::Personal:
        path = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        break;
    case Csidl::ProgramFiles:
        path = QStringLiteral("/usr/bin");
        break;
    default:
        break;
    }
    return path == QStringLiteral("/") ? path : StripBackslash(path);
}

bool MakePath(const QString& path) {
    const QString p = StripBackslash(path);
    // Each level in turn, left to right; an existing or refused level is no failure here:
    // callers learn of a problem when they write the file.
    for (qsizetype i = p.indexOf(QLatin1Char('/'), 1); i > 0;
         i = p.indexOf(QLatin1Char('/'), i + 1))
        ::mkdir(QFile::encodeName(p.left(i)).constData(), 0777);
    if (!p.isEmpty()) ::mkdir(QFile::encodeName(p).constData(), 0777);
    return true;
}

QString GetDataFolder() {
    const QString folder = AddBackslash(GetSpecialFolder(Csidl::AppData)) +
                           QStringLiteral("Quillworks/") + GetHostName() + QLatin1Char(' ') +
                           gAppShortName + QLatin1Char('/');
    MakePath(folder);
    return folder;
}

QString GetHostName(const QString& hostAppName) {
    static const struct {
        const char* key;
        const char* name;
    } kHosts[] = {{"outlook", "Outlook"}, {"word", "Word"},           {"excel", "Excel"},
                  {"access", "Access"},   {"frontpage", "FrontPage"}, {"powerpoint", "PowerPoint"}};
    const QString lower = hostAppName.toLower();
    for (const auto& h : kHosts)
        if (lower.contains(QLatin1String(h.key))) return QLatin1String(h.name);
    return QStringLiteral("Office");
}

QString GetHostName() {
    return GetHostName(HostAppName());
}

// Stowaway is its own host on this platform: both programs report the same name, so they share
// one data folder.
QString HostAppName() {
    return QStringLiteral("Stowaway Mail Host");
}
QString HostAppVersion() {
    return QStringLiteral(STOWAWAY_VERSION);
}
