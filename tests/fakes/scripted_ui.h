#pragma once
// A user who answers from a script: each kind of question takes the next answer of its queue,
// and every question, beep, sound, opened target and notification is recorded, also as a
// console-like transcript. A question with no answer left in its queue gets the first button
// (a save dialog: cancel).
#include "ui/user_interaction.h"

#include <deque>
#include <vector>

struct AskedQuestion {
    enum class Kind { MessageBox, MsgBoxEx, SaveFile, InpBox, Folder, OpenFile };
    Kind kind = Kind::MessageBox;
    QString prompt;
    QString title;
    int icon = 0;
    QStringList buttons;      // MsgBoxEx
    MsgButtons boxButtons{};  // MessageBox
    SaveFileRequest saveFile; // SaveFile
    QString defaultText;      // InpBox: its default; Folder: the start folder
    OpenFileRequest openFile; // OpenFile
};

class ScriptedUserInteraction : public UserInteraction {
  public:
    void answerMsgBoxEx(int answer) { m_msgBoxEx.push_back(answer); }
    void answerMessageBox(MsgAnswer answer) { m_messageBox.push_back(answer); }
    void answerSaveFile(const QString& path) { m_saveFile.push_back(path); }
    // Input boxes, folder pickers (disk and store) and open-file dialogs share one queue of texts
    // ("" cancels).
    void answerText(const QString& text) { m_texts.push_back(text); }
    // Whether handing a target to the desktop succeeds.
    bool opens = true;

    const std::vector<AskedQuestion>& questions() const { return m_questions; }
    // The questions of one kind, in order.
    std::vector<AskedQuestion> questions(AskedQuestion::Kind kind) const;
    int beeps() const { return m_beeps; }
    const QStringList& sounds() const { return m_sounds; }
    const QStringList& opened() const { return m_opened; }
    const std::vector<TrayNotification>& trays() const { return m_trays; }
    int trayHides() const { return m_trayHides; }
    const std::vector<bool>& busyChanges() const { return m_busy; }
    int pumps() const { return m_pumps; }
    const QStringList& transcript() const { return m_transcript; }

    void beep() override;
    MsgAnswer messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                         const QString& title) override;
    int msgBoxEx(const MsgBoxExRequest& request) override;
    QString chooseSaveFile(const SaveFileRequest& request) override;
    QString inpBoxEx(const InpBoxExRequest& request) override;
    QString pickMailFolder(const QString& title) override;
    QString browseForFolder(const QString& title, const QString& initialFolder) override;
    QString chooseOpenFile(const OpenFileRequest& request) override;
    bool playSound(const QString& sound) override;
    bool openWithShell(const QString& target) override;
    void showTrayNotification(const TrayNotification& notification) override;
    void hideTrayNotification() override;
    void pumpEvents() override;
    void setBusy(bool busy) override;
    void showLastAction(const QString& text) override;

  private:
    void note(const QString& line);
    QString nextText(AskedQuestion q);

    std::deque<int> m_msgBoxEx;
    std::deque<MsgAnswer> m_messageBox;
    std::deque<QString> m_saveFile;
    std::deque<QString> m_texts;

    std::vector<AskedQuestion> m_questions;
    int m_beeps = 0;
    QStringList m_sounds;
    QStringList m_opened;
    std::vector<TrayNotification> m_trays;
    int m_trayHides = 0;
    std::vector<bool> m_busy;
    int m_pumps = 0;
    QStringList m_transcript;
};

// Records what a run shows on its progress bars.
class RecordingStatus : public StatusSurface {
  public:
    void setMainProgress(bool visible, const QString& caption, double fill) override;
    void setSubProgress(bool visible, double fill) override;
    // "main <visible> <caption> <fill>" and "sub <visible> <fill>", fill to two places.
    const QStringList& calls() const { return m_calls; }

  private:
    QStringList m_calls;
};
