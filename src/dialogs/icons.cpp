#include "dialogs/icons.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

QIcon ThemeIcon(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const QString n = QString::fromLatin1(name);
        if (QIcon::hasThemeIcon(n)) return QIcon::fromTheme(n);
        if (QIcon::hasThemeIcon(n + QStringLiteral("-symbolic")))
            return QIcon::fromTheme(n + QStringLiteral("-symbolic"));
    }
    return {};
}

QIcon ProgramIcon() {
    if (QIcon::hasThemeIcon(QStringLiteral("stowaway")))
        return QIcon::fromTheme(QStringLiteral("stowaway"));
    const QString beside =
        QDir::cleanPath(QCoreApplication::applicationDirPath() +
                        QStringLiteral("/../share/icons/hicolor/scalable/apps/stowaway.svg"));
    return QFileInfo::exists(beside) ? QIcon(beside) : QIcon();
}

void SetUpIconTheme() {
    QStringList paths = QIcon::themeSearchPaths();
    const QString beside =
        QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/icons"));
    if (!paths.contains(beside)) paths.prepend(beside);
    // A platform without a desktop theme (offscreen, a bare X server) searches only Qt's own.
    for (const QString& data :
         QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
        if (!paths.contains(data + QStringLiteral("/icons")))
            paths << data + QStringLiteral("/icons");
    QIcon::setThemeSearchPaths(paths);
    if (QIcon::themeName().isEmpty() || QIcon::themeName() == QLatin1String("hicolor"))
        QIcon::setThemeName(QStringLiteral("Adwaita"));
    QIcon::setFallbackThemeName(QStringLiteral("hicolor"));
}
