#include "ui/console_interaction.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#include <cstdio>
#include <unistd.h>

namespace {
QString IconWord(MsgIcon icon) {
    switch (icon) {
    case MsgIcon::Stop:
        return QStringLiteral("error");
    case MsgIcon::Question:
        return QStringLiteral("question");
    case MsgIcon::Exclamation:
        return QStringLiteral("warning");
    case MsgIcon::Information:
        return QStringLiteral("info");
    case MsgIcon::None:
        break;
    }
    return QStringLiteral("message");
}

// An answer to "save as": a name or a relative path is taken in the proposed folder, "~/" in the
// home folder; a folder means the proposed name in it.
QString SaveAsPath(const QString& answer, const QString& proposedFolder,
                   const QString& proposedName) {
    QString path = answer;
    if (path == QLatin1String("~") || path.startsWith(QLatin1String("~/")))
        path = QDir::homePath() + path.mid(1);
    else if (QDir::isRelativePath(path))
        path = QDir(proposedFolder).filePath(path);
    path = QDir::cleanPath(path);
    if (QFileInfo(path).isDir()) path = QDir(path).filePath(proposedName);
    return path;
}

struct ButtonSet {
    QStringList captions;
    QList<MsgAnswer> answers;
    MsgAnswer safe;
};

ButtonSet ButtonsOf(MsgButtons buttons) {
    using A = MsgAnswer;
    switch (buttons) {
    case MsgButtons::OK:
        return {{QStringLiteral("OK")}, {A::OK}, A::OK};
    case MsgButtons::OKCancel:
        return {{QStringLiteral("OK"), QStringLiteral("Cancel")}, {A::OK, A::Cancel}, A::Cancel};
    case MsgButtons::AbortRetryIgnore:
        return {{QStringLiteral("Abort"), QStringLiteral("Retry"), QStringLiteral("Ignore")},
                {A::Abort, A::Retry, A::Ignore},
                A::Abort};
    case MsgButtons::YesNoCancel:
        return {{QStringLiteral("Yes"), QStringLiteral("No"), QStringLiteral("Cancel")},
                {A::Yes, A::No, A::Cancel},
                A::Cancel};
    case MsgButtons::YesNo:
        return {{QStringLiteral("Yes"), QStringLiteral("No")}, {A::Yes, A::No}, A::No};
    case MsgButtons::RetryCancel:
        return {
            {QStringLiteral("Retry"), QStringLiteral("Cancel")}, {A::Retry, A::Cancel}, A::Cancel};
    }
    return {{QStringLiteral("OK")}, {A::OK}, A::OK};
}
} // namespace

ConsoleInteraction::ConsoleInteraction(Answers answers) : m_answers(answers), m_err(stderr) {}

bool ConsoleInteraction::canAsk() const {
    return m_answers == Answers::Ask && ::isatty(STDIN_FILENO) && ::isatty(STDERR_FILENO);
}

int ConsoleInteraction::ask(const QStringList& choices) {
    for (int i = 0; i < choices.size(); ++i)
        if (!choices.at(i).isEmpty()) m_err << "  [" << (i + 1) << "] " << choices.at(i) << '\n';
    m_err << "> " << Qt::flush;
    char line[64] = {};
    if (!std::fgets(line, sizeof line, stdin)) return 0;
    bool ok = false;
    const int n = QString::fromLocal8Bit(line).trimmed().toInt(&ok);
    return ok && n >= 1 && n <= choices.size() && !choices.at(n - 1).isEmpty() ? n : 0;
}

void ConsoleInteraction::beep() {
    if (::isatty(STDERR_FILENO)) m_err << '\a' << Qt::flush;
}

MsgAnswer ConsoleInteraction::messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                         const QString& title) {
    m_err << "[" << IconWord(icon) << "] " << title << ": " << prompt << '\n' << Qt::flush;
    const ButtonSet set = ButtonsOf(buttons);
    if (set.answers.size() == 1) return set.answers.front();
    if (m_answers == Answers::Yes) return set.answers.front();
    if (!canAsk()) return set.safe;
    for (;;) {
        const int n = ask(set.captions);
        if (n > 0) return set.answers.at(n - 1);
        if (std::feof(stdin)) return set.safe;
    }
}

int ConsoleInteraction::msgBoxEx(const MsgBoxExRequest& request) {
    m_err << "[" << IconWord(static_cast<MsgIcon>(request.icon)) << "] " << request.title << ": "
          << request.prompt << '\n'
          << Qt::flush;
    const QStringList captions = request.buttons.mid(0, 3);
    if (m_answers == Answers::Yes) {
        for (int i = 0; i < captions.size(); ++i)
            if (!captions.at(i).isEmpty()) return i + 1;
        return 99;
    }
    if (!canAsk()) return SafeMsgBoxExAnswer(request);
    for (;;) {
        const int n = ask(captions);
        if (n > 0) return n;
        if (std::feof(stdin)) return 99;
    }
}

QString ConsoleInteraction::chooseSaveFile(const SaveFileRequest& request) {
    m_err << request.title << ' ' << request.initialFolder << request.fileName << '\n';
    // No fixed answer may name a file: the proposed one exists.
    if (!canAsk()) return {};
    for (;;) {
        m_err << "Save as (a name, or a path; empty to cancel): " << Qt::flush;
        char line[4096] = {};
        if (!std::fgets(line, sizeof line, stdin)) return {};
        const QString answer = QString::fromLocal8Bit(line).trimmed();
        if (answer.isEmpty()) return {};
        const QString path = SaveAsPath(answer, request.initialFolder, request.fileName);
        const QFileInfo target(path);
        if (!target.exists() && !target.isSymLink()) return path;
        // As a file dialog does: an existing file is replaced only when the user says so.
        const MsgAnswer replace = messageBox(path + QStringLiteral(" exists. Replace it?"),
                                             MsgButtons::YesNo, MsgIcon::Question, request.title);
        if (replace == MsgAnswer::Yes) return path;
    }
}

void ConsoleInteraction::passedOver(const QString& line) {
    m_err << "passed over: " << line << '\n' << Qt::flush;
}

bool ConsoleInteraction::playSound(const QString&) {
    return false;
}

bool ConsoleInteraction::openWithShell(const QString& target) {
    // The desktop's handler, without needing a GUI application object.
    return !target.isEmpty() && QProcess::startDetached(QStringLiteral("xdg-open"), {target});
}

void ConsoleInteraction::showTrayNotification(const TrayNotification& notification) {
    m_err << notification.title << ": " << notification.text << '\n' << Qt::flush;
    // The desktop's notification service, when a session bus and its client are there.
    static const QString notifySend = QStandardPaths::findExecutable(QStringLiteral("notify-send"));
    if (!notifySend.isEmpty() && qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
        QProcess::startDetached(notifySend, {notification.title, notification.text});
}

void ConsoleInteraction::pumpEvents() {
    ProcessPendingEvents();
}

void ConsoleInteraction::setBusy(bool) {}

void ConsoleInteraction::showLastAction(const QString& text) {
    if (m_progress) m_err << text << '\n' << Qt::flush;
}
