#pragma once
// The command line's user interaction: prints messages, asks on a terminal when there is one,
// and otherwise answers from a fixed choice so that a background service never waits.
#include "ui/user_interaction.h"

#include <QTextStream>

class ConsoleInteraction : public UserInteraction {
  public:
    enum class Answers {
        Ask,     // ask on the terminal if stdin is one, else as NoInput
        Yes,     // --yes: the first (affirmative) button of every question
        NoInput, // --no-input: the safe choice (cancel, no, close)
    };

    explicit ConsoleInteraction(Answers answers);

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
    void showLastAction(const QString& text) override;
    // A person answers only at a terminal, and only without --yes or --no-input.
    bool canAsk() const override;
    bool reportsPassedOver() const override { return m_passedOver; }
    void passedOver(const QString& line) override;

    // Shows progress lines on a terminal (off for services).
    void setShowProgress(bool on) { m_progress = on; }
    // Lists what a run passes over, one line each (a test run, extras).
    void setReportPassedOver(bool on) { m_passedOver = on; }

  private:
    // Prints the choices and reads a 1-based choice; 0 when nothing usable was read.
    int ask(const QStringList& choices);

    Answers m_answers;
    bool m_progress = false;
    bool m_passedOver = false;
    QTextStream m_err;
};
