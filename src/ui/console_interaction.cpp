#include "ui/console_interaction.h"

#include <QCoreApplication>
#include <QProcess>

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
        return {{QStringLiteral("Retry"), QStringLiteral("Cancel")}, {A::Retry, A::Cancel}, A::Cancel};
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
        if (!choices.at(i).isEmpty())
            m_err << "  [" << (i + 1) << "] " << choices.at(i) << '\n';
    m_err << "> " << Qt::flush;
    char line[64] = {};
    if (!std::fgets(line, sizeof line, stdin))
        return 0;
    bool ok = false;
    const int n = QString::fromLocal8Bit(line).trimmed().toInt(&ok);
    return ok && n >= 1 && n <= choices.size() && !choices.at(n - 1).isEmpty() ? n : 0;
}

void ConsoleInteraction::beep() {
    if (::isatty(STDERR_FILENO))
        m_err << '\a' << Qt::flush;
}

MsgAnswer ConsoleInteraction::messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                         const QString& title) {
    m_err << "[" << IconWord(icon) << "] " << title << ": " << prompt << '\n' << Qt::flush;
    const ButtonSet set = ButtonsOf(buttons);
    if (set.answers.size() == 1)
        return set.answers.front();
    if (m_answers == Answers::Yes)
        return set.answers.front();
    if (!canAsk())
        return set.safe;
    for (;;) {
        const int n = ask(set.captions);
        if (n > 0)
            return set.answers.at(n - 1);
        if (std::feof(stdin))
            return set.safe;
    }
}

int ConsoleInteraction::msgBoxEx(const MsgBoxExRequest& request) {
    m_err << "[" << IconWord(static_cast<MsgIcon>(request.icon)) << "] " << request.title << ": "
          << request.prompt << '\n'
          << Qt::flush;
    const QStringList captions = request.buttons.mid(0, 3);
    if (m_answers == Answers::Yes) {
        for (int i = 0; i < captions.size(); ++i)
            if (!captions.at(i).isEmpty())
                return i + 1;
        return 99;
    }
    if (!canAsk())
        return request.cancelBtn >= 1 && request.cancelBtn <= 3 ? request.cancelBtn : 99;
    for (;;) {
        const int n = ask(captions);
        if (n > 0)
            return n;
        if (std::feof(stdin))
            return 99;
    }
}

QString ConsoleInteraction::chooseSaveFile(const SaveFileRequest& request) {
    m_err << request.title << ' ' << request.initialFolder << request.fileName << '\n';
    if (m_answers == Answers::Yes)
        return request.initialFolder + request.fileName;
    if (!canAsk())
        return {};
    m_err << "Save as (empty to cancel): " << Qt::flush;
    char line[4096] = {};
    if (!std::fgets(line, sizeof line, stdin))
        return {};
    return QString::fromLocal8Bit(line).trimmed();
}

bool ConsoleInteraction::playSound(const QString&) { return false; }

bool ConsoleInteraction::openWithShell(const QString& target) {
    // The desktop's handler, without needing a GUI application object.
    return !target.isEmpty() && QProcess::startDetached(QStringLiteral("xdg-open"), {target});
}

void ConsoleInteraction::showTrayNotification(const TrayNotification& notification) {
    m_err << notification.title << ": " << notification.text << '\n' << Qt::flush;
}

void ConsoleInteraction::pumpEvents() {
    ProcessPendingEvents();
}

void ConsoleInteraction::setBusy(bool) {}

void ConsoleInteraction::showLastAction(const QString& text) {
    if (m_progress)
        m_err << text << '\n' << Qt::flush;
}
