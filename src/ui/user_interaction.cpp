#include "ui/user_interaction.h"

#include <QCoreApplication>
#include <QElapsedTimer>

MsgAnswer SafeMsgAnswer(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::OK:
        return MsgAnswer::OK;
    case MsgButtons::OKCancel:
    case MsgButtons::RetryCancel:
    case MsgButtons::YesNoCancel:
        return MsgAnswer::Cancel;
    case MsgButtons::AbortRetryIgnore:
        return MsgAnswer::Abort;
    case MsgButtons::YesNo:
        return MsgAnswer::No;
    }
    return MsgAnswer::Cancel;
}

int SafeMsgBoxExAnswer(const MsgBoxExRequest& request) {
    return request.cancelBtn >= 1 && request.cancelBtn <= 3 ? request.cancelBtn : 99;
}

namespace {
// Answers every question with its safest choice and shows nothing.
class SilentInteraction final : public UserInteraction {
  public:
    void beep() override {}
    MsgAnswer messageBox(const QString&, MsgButtons buttons, MsgIcon, const QString&) override {
        return SafeMsgAnswer(buttons);
    }
    int msgBoxEx(const MsgBoxExRequest&) override { return 99; }
    QString chooseSaveFile(const SaveFileRequest&) override { return {}; }
    bool playSound(const QString&) override { return false; }
    bool openWithShell(const QString&) override { return false; }
    void showTrayNotification(const TrayNotification&) override {}
    void pumpEvents() override { ProcessPendingEvents(); }
    void setBusy(bool) override {}
};

SilentInteraction gSilent;
UserInteraction* gCurrent = nullptr;
} // namespace

UserInteraction& ui() {
    return gCurrent ? *gCurrent : gSilent;
}
void SetUserInteraction(UserInteraction* impl) {
    gCurrent = impl;
}

void ProcessPendingEvents() {
    static QElapsedTimer sinceLastRun;
    if (!QCoreApplication::instance()) return;
    if (sinceLastRun.isValid() && sinceLastRun.elapsed() < 5) return;
    QCoreApplication::processEvents();
    sinceLastRun.start();
}
