#pragma once
// A user interaction that records what the helpers ask of it and answers as scripted.
#include "ui/user_interaction.h"

#include <QStringList>
#include <vector>

struct ShownBox {
    QString prompt;
    MsgButtons buttons;
    MsgIcon icon;
    QString title;
};

class RecordingUi final : public UserInteraction {
  public:
    // Makes this the interaction in use; call it after the fresh state's reset.
    void install() { SetUserInteraction(this); }
    ~RecordingUi() override { SetUserInteraction(nullptr); }

    int beeps = 0;
    int pumps = 0;
    std::vector<ShownBox> boxes;
    QStringList opened;
    bool openSucceeds = true;

    void beep() override { ++beeps; }
    MsgAnswer messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                         const QString& title) override {
        boxes.push_back({prompt, buttons, icon, title});
        return MsgAnswer::OK;
    }
    int msgBoxEx(const MsgBoxExRequest&) override { return 99; }
    QString chooseSaveFile(const SaveFileRequest&) override { return {}; }
    bool playSound(const QString&) override { return true; }
    bool openWithShell(const QString& target) override {
        opened << target;
        return openSucceeds;
    }
    void showTrayNotification(const TrayNotification&) override {}
    void pumpEvents() override { ++pumps; }
    void setBusy(bool) override {}
};
