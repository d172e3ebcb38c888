#pragma once
// A command carried out by the owner of the data folder for another process. On the owner's
// side, its output and questions travel over the call to the caller; on the caller's side,
// they are printed and answered by the caller's own user interaction, on its own terminal.
#include "addin/data_folder_owner.h"
#include "ui/user_interaction.h"

#include <QIODevice>
#include <QTextStream>

class QLocalSocket;

// The owner's side: the user interaction of a forwarded command.
class RelayInteraction : public UserInteraction {
  public:
    // `out` and `err` are the command's streams; they are flushed before each question, so the
    // caller shows everything in order.
    RelayInteraction(OwnerCall& call, QTextStream& out, QTextStream& err);

    void beep() override;
    MsgAnswer messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                         const QString& title) override;
    int msgBoxEx(const MsgBoxExRequest& request) override;
    QString chooseSaveFile(const SaveFileRequest& request) override;
    bool playSound(const QString& sound) override;
    bool openWithShell(const QString& target) override;
    void showTrayNotification(const TrayNotification& notification) override;
    void pumpEvents() override;
    void setBusy(bool busy) override;
    bool cancelRequested() override;
    bool canAsk() const override;
    bool reportsPassedOver() const override;
    void passedOver(const QString& line) override;

  private:
    QJsonValue ask(const QJsonObject& question);

    OwnerCall& m_call;
    QTextStream& m_out;
    QTextStream& m_err;
};

// A device whose writes reach the caller as output lines ("out" or "err").
class RelayDevice : public QIODevice {
  public:
    RelayDevice(OwnerCall& call, QString channel);

  protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override;

  private:
    OwnerCall& m_call;
    QString m_channel;
};

// The caller's side: sends `request` over `socket`, prints what comes back, answers questions
// with `console` and returns the owner's status (1 when the owner went away without one).
int RunForwardedCall(QLocalSocket& socket, const QJsonObject& request, UserInteraction& console,
                     QTextStream& out, QTextStream& err);

// True when the program is ending: a forwarded command then ends like a cancelled one.
void SetOwnerStopping(bool stopping);
bool OwnerStopping();
