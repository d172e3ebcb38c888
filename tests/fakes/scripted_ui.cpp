#include "fakes/scripted_ui.h"

#include <QCoreApplication>

using namespace Qt::StringLiterals;

namespace {
QString IconText(int icon) {
    return QString::number(icon);
}

MsgAnswer FirstAnswer(MsgButtons buttons) {
    switch (buttons) {
    case MsgButtons::OK:
    case MsgButtons::OKCancel:
        return MsgAnswer::OK;
    case MsgButtons::AbortRetryIgnore:
        return MsgAnswer::Abort;
    case MsgButtons::YesNoCancel:
    case MsgButtons::YesNo:
        return MsgAnswer::Yes;
    case MsgButtons::RetryCancel:
        return MsgAnswer::Retry;
    }
    return MsgAnswer::OK;
}
} // namespace

std::vector<AskedQuestion> ScriptedUserInteraction::questions(AskedQuestion::Kind kind) const {
    std::vector<AskedQuestion> out;
    for (const AskedQuestion& q : m_questions)
        if (q.kind == kind) out.push_back(q);
    return out;
}

void ScriptedUserInteraction::note(const QString& line) {
    m_transcript << line;
}

void ScriptedUserInteraction::beep() {
    ++m_beeps;
    note(u"beep"_s);
}

MsgAnswer ScriptedUserInteraction::messageBox(const QString& prompt, MsgButtons buttons,
                                              MsgIcon icon, const QString& title) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::MessageBox;
    q.prompt = prompt;
    q.title = title;
    q.icon = static_cast<int>(icon);
    q.boxButtons = buttons;
    m_questions.push_back(q);
    MsgAnswer answer;
    if (m_messageBox.empty()) {
        answer = FirstAnswer(buttons);
    } else {
        answer = m_messageBox.front();
        m_messageBox.pop_front();
    }
    note(u"box[%1] %2 | %3 -> %4"_s.arg(IconText(q.icon), title, prompt)
             .arg(static_cast<int>(answer)));
    return answer;
}

int ScriptedUserInteraction::msgBoxEx(const MsgBoxExRequest& request) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::MsgBoxEx;
    q.prompt = request.prompt;
    q.title = request.title;
    q.icon = request.icon;
    q.buttons = request.buttons.mid(0, 3);
    m_questions.push_back(q);
    int answer = 1;
    if (!m_msgBoxEx.empty()) {
        answer = m_msgBoxEx.front();
        m_msgBoxEx.pop_front();
    }
    note(u"ask[%1] %2 | %3 [%4] -> %5"_s
             .arg(IconText(q.icon), q.title, q.prompt, q.buttons.join(u" / "_s))
             .arg(answer));
    return answer;
}

QString ScriptedUserInteraction::chooseSaveFile(const SaveFileRequest& request) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::SaveFile;
    q.title = request.title;
    q.saveFile = request;
    m_questions.push_back(q);
    QString answer;
    if (!m_saveFile.empty()) {
        answer = m_saveFile.front();
        m_saveFile.pop_front();
    }
    note(u"save-as %1 | %2%3 -> %4"_s.arg(request.title, request.initialFolder, request.fileName,
                                          answer));
    return answer;
}

QString ScriptedUserInteraction::nextText(AskedQuestion q) {
    m_questions.push_back(q);
    QString answer;
    if (!m_texts.empty()) {
        answer = m_texts.front();
        m_texts.pop_front();
    }
    note(u"text %1 | %2 [%3] -> %4"_s.arg(q.title, q.prompt, q.defaultText, answer));
    return answer;
}

QString ScriptedUserInteraction::inpBoxEx(const InpBoxExRequest& request) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::InpBox;
    q.prompt = request.prompt;
    q.title = request.title;
    q.defaultText = request.defaultText;
    return nextText(q);
}

QString ScriptedUserInteraction::browseForFolder(const QString& title,
                                                 const QString& initialFolder) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::Folder;
    q.title = title;
    q.defaultText = initialFolder;
    return nextText(q);
}

QString ScriptedUserInteraction::chooseOpenFile(const OpenFileRequest& request) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::OpenFile;
    q.title = request.title;
    q.defaultText = request.fileName;
    q.openFile = request;
    return nextText(q);
}

bool ScriptedUserInteraction::playSound(const QString& sound) {
    m_sounds << sound;
    note(u"sound "_s + sound);
    return true;
}

bool ScriptedUserInteraction::openWithShell(const QString& target) {
    m_opened << target;
    note(u"open "_s + target);
    return opens;
}

void ScriptedUserInteraction::showTrayNotification(const TrayNotification& notification) {
    m_trays.push_back(notification);
    note(u"tray %1 | %2 -> %3"_s.arg(notification.title, notification.text, notification.target));
}

void ScriptedUserInteraction::hideTrayNotification() {
    ++m_trayHides;
    note(u"tray hidden"_s);
}

void ScriptedUserInteraction::pumpEvents() {
    ++m_pumps;
    if (QCoreApplication::instance()) QCoreApplication::processEvents();
}

void ScriptedUserInteraction::setBusy(bool busy) {
    m_busy.push_back(busy);
}

void ScriptedUserInteraction::showLastAction(const QString& text) {
    note(u"last action "_s + text);
}

void RecordingStatus::setMainProgress(bool visible, const QString& caption, double fill) {
    m_calls << u"main %1 %2 %3"_s.arg(visible ? 1 : 0).arg(caption).arg(fill, 0, 'f', 2);
}

void RecordingStatus::setSubProgress(bool visible, double fill) {
    m_calls << u"sub %1 %2"_s.arg(visible ? 1 : 0).arg(fill, 0, 'f', 2);
}

QString ScriptedUserInteraction::pickMailFolder(const QString& title) {
    AskedQuestion q;
    q.kind = AskedQuestion::Kind::Folder;
    q.title = title;
    return nextText(q);
}
