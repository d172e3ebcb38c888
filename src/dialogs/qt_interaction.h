#pragma once
// The user-interaction seam on Qt: dialogs, sounds, the desktop's handlers, the tray.
#include "ui/user_interaction.h"

#include <QPointer>

#include <functional>
#include <memory>

class frmSysTray;
class DesktopNotifier;
class QSoundEffect;

class QtUserInteraction final : public UserInteraction {
  public:
    QtUserInteraction();
    ~QtUserInteraction() override;

    // The tray that shows balloons; without one, notifications go to the desktop's service.
    void setTray(frmSysTray* tray);
    // Where the text of the last action is shown (the options dialog).
    void setLastActionSink(std::function<void(const QString&)> sink);

    void beep() override;
    MsgAnswer messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                         const QString& title) override;
    int msgBoxEx(const MsgBoxExRequest& request) override;
    void messageBoxWithDetails(const QString& prompt, const QStringList& details,
                               const QString& title) override;
    QString inpBoxEx(const InpBoxExRequest& request) override;
    QString chooseSaveFile(const SaveFileRequest& request) override;
    QString browseForFolder(const QString& title, const QString& initialFolder) override;
    QString chooseOpenFile(const OpenFileRequest& request) override;
    QString pickMailFolder(const QString& title) override;
    bool playSound(const QString& sound) override;
    bool openWithShell(const QString& target) override;
    QString openFailure() const override { return m_openFailure; }
    void showTrayNotification(const TrayNotification& notification) override;
    void pumpEvents() override;
    void setBusy(bool busy) override;
    void showLastAction(const QString& text) override;

  private:
    QPointer<frmSysTray> m_tray;
    std::unique_ptr<DesktopNotifier> m_notifier;
    std::unique_ptr<QSoundEffect> m_sound;
    std::function<void(const QString&)> m_lastActionSink;
    int m_busyDepth = 0;
    QString m_openFailure;
};

// "Name (*.x)|*.x|..." as a Qt file dialog filter "Name (*.x);;...".
QString QtFileFilter(const QString& classicFilter);
