#include "dialogs/common/systray.h"

#include "common/lang.h"
#include "engine/notification.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMenu>
#include <QSystemTrayIcon>

frmSysTray::frmSysTray(const QIcon& icon, QObject* parent)
    : QObject(parent), m_icon(new QSystemTrayIcon(icon, this)) {
    connect(m_icon, &QSystemTrayIcon::messageClicked, this, &frmSysTray::balloonClicked);
    connect(m_icon, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason r) {
        if (r == QSystemTrayIcon::Trigger || r == QSystemTrayIcon::DoubleClick)
            emit SysTrayClicked();
    });
}

frmSysTray::~frmSysTray() {
    m_icon->hide();
}

bool frmSysTray::available() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

QString frmSysTray::ToolTip() const {
    return m_icon->toolTip();
}

void frmSysTray::setToolTip(const QString& text) {
    if (m_icon->toolTip() != text) m_icon->setToolTip(text);
}

void frmSysTray::setMenu(QMenu* menu) {
    m_icon->setContextMenu(menu);
}

void frmSysTray::show() {
    m_icon->show();
}

void frmSysTray::ShowBalloonTip(const QString& text, const QString& title, int iconFlags,
                                int timeoutMs) {
    if (!QSystemTrayIcon::supportsMessages()) return;
    const QSystemTrayIcon::MessageIcon icon = iconFlags == 1   ? QSystemTrayIcon::Information
                                              : iconFlags == 2 ? QSystemTrayIcon::Warning
                                              : iconFlags == 3 ? QSystemTrayIcon::Critical
                                                               : QSystemTrayIcon::NoIcon;
    m_icon->showMessage(title, text, icon, timeoutMs);
}

void frmSysTray::balloonClicked() {
    OpenNotificationTarget(Tag);
}

namespace {
const QString kService = QStringLiteral("org.freedesktop.Notifications");
const QString kPath = QStringLiteral("/org/freedesktop/Notifications");
const QString kOpenKey = QStringLiteral("open");

QString Escaped(const QString& text) {
    return text.toHtmlEscaped();
}
} // namespace

DesktopNotifier::DesktopNotifier(QObject* parent) : QObject(parent) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(kService, kPath, kService, QStringLiteral("ActionInvoked"), this,
                SLOT(actionInvoked(uint, QString)));
    bus.connect(kService, kPath, kService, QStringLiteral("NotificationClosed"), this,
                SLOT(notificationClosed(uint, uint)));
}

void DesktopNotifier::notify(const QString& title, const QString& text, const QString& target,
                             int timeoutMs) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
    const QString open = LangText(QStringLiteral("Öffnen"), QStringLiteral("Open"));
    call << QStringLiteral("Stowaway") << uint(0) << QStringLiteral("stowaway") << title
         << Escaped(text) << QStringList{QStringLiteral("default"), open, kOpenKey, open}
         << QVariantMap{} << timeoutMs;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, target] {
        const QDBusPendingReply<uint> reply = *watcher;
        if (!reply.isError()) m_targets.insert(reply.value(), target);
        watcher->deleteLater();
    });
}

void DesktopNotifier::actionInvoked(uint id, const QString& key) {
    if (!m_targets.contains(id)) return; // another program's notification
    if (key == kOpenKey || key == QLatin1String("default"))
        OpenNotificationTarget(m_targets.value(id));
}

void DesktopNotifier::notificationClosed(uint id, uint) {
    m_targets.remove(id);
}
