#pragma once
// The tray icon for the program's whole run: tooltip, context menu, and the balloon of a saved
// attachment, whose click opens what `Tag` points at.
#include <QHash>
#include <QIcon>
#include <QObject>
#include <QString>

class QMenu;
class QSystemTrayIcon;

class frmSysTray : public QObject {
    Q_OBJECT
  public:
    explicit frmSysTray(const QIcon& icon, QObject* parent = nullptr);
    ~frmSysTray() override;
    static bool available();

    QString ToolTip() const;
    void setToolTip(const QString& text); // no change when the text is the same
    void setMenu(QMenu* menu);
    void show();
    // Icon flags: 1 information, 2 warning, 3 error, else none.
    void ShowBalloonTip(const QString& text, const QString& title, int iconFlags, int timeoutMs);

    QString Tag; // the target of the balloon's click

  signals:
    void SysTrayClicked(); // the icon's left click or double click

  private:
    void balloonClicked();
    QSystemTrayIcon* m_icon;
};

// Notifications over the desktop's notification service (org.freedesktop.Notifications), for a
// desktop without a tray: an "Öffnen" / "Open" action does what the balloon's click does.
// Without such a service nothing is shown and nothing fails.
class DesktopNotifier : public QObject {
    Q_OBJECT
  public:
    explicit DesktopNotifier(QObject* parent = nullptr);
    void notify(const QString& title, const QString& text, const QString& target, int timeoutMs);

  private slots:
    void actionInvoked(uint id, const QString& key);
    void notificationClosed(uint id, uint reason);

  private:
    QHash<uint, QString> m_targets;
};
