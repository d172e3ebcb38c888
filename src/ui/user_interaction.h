#pragma once
// The user-interaction seam: everything the engine and the helpers ask of the user or show to
// the user goes through here. stowaway-gui implements it with Qt dialogs, the command line with
// a console implementation, and the tests with a scripted one that records every question.
#include <QString>
#include <QStringList>

// Icons of the plain message box, with their classic values.
enum class MsgIcon { None = 0, Stop = 16, Question = 32, Exclamation = 48, Information = 64 };

// Button sets of the plain message box, with their classic values.
enum class MsgButtons {
    OK = 0,
    OKCancel = 1,
    AbortRetryIgnore = 2,
    YesNoCancel = 3,
    YesNo = 4,
    RetryCancel = 5
};

// Answers of the plain message box, with their classic values.
enum class MsgAnswer { OK = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

// The free-caption message box: up to three buttons. Its answer is the 1-based number of the
// button pressed, 99 for a window closed without a button, +256 when "don't show again" was
// ticked, and -1 when the box could not be shown.
struct MsgBoxExRequest {
    QString prompt;
    QStringList buttons; // captions of buttons 1..3; entries past the third are ignored
    bool dontShow = false;
    int icon = 64; // 16 stop, 32 question, 48 warning, anything else information
    QString title;
    QString helpText;
    int defaultBtn = -1;
    int cancelBtn = -1;
};

// The input box of the same kind: prompt, title, default text and help text.
struct InpBoxExRequest {
    QString prompt;
    QString title;
    QString defaultText;
    QString helpText;
};

// The save-file dialog, with the arguments of ChooseSaveFile.
struct SaveFileRequest {
    QString title;
    QString initialFolder;
    QString defaultExt;
    QString fileName;
    QString filter;
    int filterIndex = 1;
};

// The open-file dialog, with the arguments of ChooseOpenFile.
struct OpenFileRequest {
    QString title;
    QString initialFolder;
    QString fileName;
    QString filter; // "Caption (*.a)|*.a" pairs
};

// A tray notification: an icon with a tooltip and a menu entry, and a balloon with text and
// title. It stays until hideTrayNotification (the engine waits `seconds` meanwhile, pumping
// events); a click on the balloon acts on `target` (OpenNotificationTarget in
// engine/notification.h).
struct TrayNotification {
    QString text;
    QString title;
    QString target;
    int seconds = 5;
    QString toolTip;
    QString menuCaption; // "Info..."
    QString menuKey;     // "info"
    int icon = 1;        // 1 information
    int timeoutMs = 30000;
};

// A surface that shows the two progress bars of a run (the options dialog's status strip).
class StatusSurface {
  public:
    virtual ~StatusSurface() = default;
    // Main bar: caption (for example "50%") and fill in [0,1]; visible false hides it.
    virtual void setMainProgress(bool visible, const QString& caption, double fill) = 0;
    // Sub bar: fill in [0,1]; visible false hides it.
    virtual void setSubProgress(bool visible, double fill) = 0;
};

class UserInteraction {
  public:
    virtual ~UserInteraction() = default;

    virtual void beep() = 0;
    // The plain message box. Returns the answer; a box with OK alone returns MsgAnswer::OK.
    virtual MsgAnswer messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                 const QString& title) = 0;
    virtual int msgBoxEx(const MsgBoxExRequest& request) = 0;
    // An information box with a list the user can open below its text (what a run did, line by
    // line); the plain box where the surface has no such list.
    virtual void messageBoxWithDetails(const QString& prompt, const QStringList& /*details*/,
                                       const QString& title) {
        messageBox(prompt, MsgButtons::OK, MsgIcon::Information, title);
    }
    // The chosen path, or empty when cancelled.
    virtual QString chooseSaveFile(const SaveFileRequest& request) = 0;
    // The entered text; empty for Cancel or a closed window.
    virtual QString inpBoxEx(const InpBoxExRequest&) { return {}; }
    // A folder on disk; empty when cancelled.
    virtual QString browseForFolder(const QString& /*title*/, const QString& /*initialFolder*/) {
        return {};
    }
    // An existing file; empty when cancelled.
    virtual QString chooseOpenFile(const OpenFileRequest&) { return {}; }
    // A folder of the mail store, as its path ("Maildir|Inbox"); empty when cancelled.
    virtual QString pickMailFolder(const QString& /*title*/) { return {}; }
    // A wave file's path or a name of the desktop's sound theme; never waits.
    virtual bool playSound(const QString& sound) = 0;
    // Opens a document, folder or address with the desktop's handler. False when that failed.
    virtual bool openWithShell(const QString& target) = 0;
    // Why the last openWithShell failed, in the user's language; empty when the surface can't say.
    virtual QString openFailure() const { return {}; }
    virtual void showTrayNotification(const TrayNotification& notification) = 0;
    // Removes the icon of the last tray notification.
    virtual void hideTrayNotification() {}
    // Processes pending events (timers, file watchers, window events).
    virtual void pumpEvents() = 0;
    // The busy pointer on or off.
    virtual void setBusy(bool busy) = 0;
    // The text of the last action, for a surface that shows it.
    virtual void showLastAction(const QString&) {}
    // True once whoever asked for the run wants it ended (a caller gone, the program stopping):
    // a run ends at its next pump of events, as after a cancel.
    virtual bool cancelRequested() { return false; }
    // Whether a person answers the questions now; false when the answers come from a fixed
    // choice (a service, --yes, --no-input). A question whose answer could cost a file is then
    // left unasked.
    virtual bool canAsk() const { return true; }
    // Whether the surface lists what a run passes over, and one such line: a mail or an
    // attachment with the reason it is left aside.
    virtual bool reportsPassedOver() const { return false; }
    virtual void passedOver(const QString&) {}
};

// The safest answer of a plain message box: cancel, no, abort, or OK when that is all.
MsgAnswer SafeMsgAnswer(MsgButtons buttons);
// The same for the free-caption box: its cancel button, else a window closed without one (99).
int SafeMsgBoxExAnswer(const MsgBoxExRequest& request);

// The implementation in use. Without one set, a silent headless implementation answers.
UserInteraction& ui();
void SetUserInteraction(UserInteraction* impl);

// Runs the pending events of the Qt event loop, if there is one. Each run asks the system for
// new events, which costs more than looking at a mail already seen; a folder walk pumps after
// every mail, so a call less than 5 ms after the last run does nothing.
void ProcessPendingEvents();
