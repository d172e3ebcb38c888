#include "addin/owner_relay.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QLocalSocket>

using namespace Qt::StringLiterals;

namespace {
bool gOwnerStopping = false;

QJsonObject Message(const char* type) {
    return {{u"t"_s, QLatin1String(type)}};
}
} // namespace

void SetOwnerStopping(bool stopping) {
    gOwnerStopping = stopping;
}
bool OwnerStopping() {
    return gOwnerStopping;
}

// --- the owner's side ------------------------------------------------------------------------

RelayDevice::RelayDevice(OwnerCall& call, QString channel)
    : m_call(call), m_channel(std::move(channel)) {
    open(QIODevice::WriteOnly);
}

qint64 RelayDevice::writeData(const char* data, qint64 size) {
    m_call.send({{u"t"_s, m_channel}, {u"v"_s, QString::fromUtf8(data, size)}});
    return size; // a caller gone away reads nothing more, and the command goes on to its end
}

RelayInteraction::RelayInteraction(OwnerCall& call, QTextStream& out, QTextStream& err)
    : m_call(call), m_out(out), m_err(err) {}

QJsonValue RelayInteraction::ask(const QJsonObject& question) {
    m_out.flush();
    m_err.flush();
    if (cancelRequested()) return {};
    return m_call.ask(question);
}

// The caller's terminal decides whether a person answers and whether passed-over mails are
// listed, not the owner's.
bool RelayInteraction::canAsk() const {
    return m_call.request().value(u"canAsk"_s).toBool(true);
}

bool RelayInteraction::reportsPassedOver() const {
    return m_call.request().value(u"passedOver"_s).toBool(false);
}

void RelayInteraction::passedOver(const QString& line) {
    m_out.flush();
    m_err.flush();
    m_call.send({{u"t"_s, u"passed"_s}, {u"v"_s, line}});
}

void RelayInteraction::beep() {
    m_call.send(Message("beep"));
}

MsgAnswer RelayInteraction::messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                       const QString& title) {
    QJsonObject q = Message("box");
    q.insert(u"prompt"_s, prompt);
    q.insert(u"buttons"_s, static_cast<int>(buttons));
    q.insert(u"icon"_s, static_cast<int>(icon));
    q.insert(u"title"_s, title);
    const QJsonValue answer = ask(q);
    return answer.isDouble() ? static_cast<MsgAnswer>(answer.toInt()) : SafeMsgAnswer(buttons);
}

int RelayInteraction::msgBoxEx(const MsgBoxExRequest& r) {
    QJsonObject q = Message("boxex");
    q.insert(u"prompt"_s, r.prompt);
    q.insert(u"buttons"_s, QJsonArray::fromStringList(r.buttons));
    q.insert(u"dontShow"_s, r.dontShow);
    q.insert(u"icon"_s, r.icon);
    q.insert(u"title"_s, r.title);
    q.insert(u"help"_s, r.helpText);
    q.insert(u"default"_s, r.defaultBtn);
    q.insert(u"cancel"_s, r.cancelBtn);
    const QJsonValue answer = ask(q);
    if (answer.isDouble()) return answer.toInt();
    return SafeMsgBoxExAnswer(r);
}

QString RelayInteraction::chooseSaveFile(const SaveFileRequest& r) {
    QJsonObject q = Message("save");
    q.insert(u"title"_s, r.title);
    q.insert(u"folder"_s, r.initialFolder);
    q.insert(u"ext"_s, r.defaultExt);
    q.insert(u"name"_s, r.fileName);
    q.insert(u"filter"_s, r.filter);
    q.insert(u"index"_s, r.filterIndex);
    return ask(q).toString();
}

bool RelayInteraction::playSound(const QString&) {
    return false;
}

bool RelayInteraction::openWithShell(const QString& target) {
    m_call.send({{u"t"_s, u"open"_s}, {u"v"_s, target}});
    return !target.isEmpty() && m_call.connected();
}

void RelayInteraction::showTrayNotification(const TrayNotification& n) {
    m_out.flush();
    m_err.flush();
    m_call.send({{u"t"_s, u"notify"_s}, {u"title"_s, n.title}, {u"text"_s, n.text}});
}

void RelayInteraction::pumpEvents() {
    m_out.flush();
    m_err.flush();
    ProcessPendingEvents();
}

void RelayInteraction::setBusy(bool) {}

bool RelayInteraction::cancelRequested() {
    return !m_call.connected() || gOwnerStopping;
}

// --- the caller's side -----------------------------------------------------------------------

namespace {
QJsonValue Answer(const QJsonObject& q, UserInteraction& console) {
    const QString type = q.value(u"t"_s).toString();
    if (type == QLatin1String("box"))
        return static_cast<int>(console.messageBox(
            q.value(u"prompt"_s).toString(), static_cast<MsgButtons>(q.value(u"buttons"_s).toInt()),
            static_cast<MsgIcon>(q.value(u"icon"_s).toInt()), q.value(u"title"_s).toString()));
    if (type == QLatin1String("boxex")) {
        MsgBoxExRequest r;
        r.prompt = q.value(u"prompt"_s).toString();
        for (const QJsonValue& b : q.value(u"buttons"_s).toArray())
            r.buttons << b.toString();
        r.dontShow = q.value(u"dontShow"_s).toBool();
        r.icon = q.value(u"icon"_s).toInt();
        r.title = q.value(u"title"_s).toString();
        r.helpText = q.value(u"help"_s).toString();
        r.defaultBtn = q.value(u"default"_s).toInt(-1);
        r.cancelBtn = q.value(u"cancel"_s).toInt(-1);
        return console.msgBoxEx(r);
    }
    SaveFileRequest r;
    r.title = q.value(u"title"_s).toString();
    r.initialFolder = q.value(u"folder"_s).toString();
    r.defaultExt = q.value(u"ext"_s).toString();
    r.fileName = q.value(u"name"_s).toString();
    r.filter = q.value(u"filter"_s).toString();
    r.filterIndex = q.value(u"index"_s).toInt(1);
    return console.chooseSaveFile(r);
}
} // namespace

int RunForwardedCall(QLocalSocket& socket, const QJsonObject& request, UserInteraction& console,
                     QTextStream& out, QTextStream& err) {
    socket.write(EncodeOwnerLine(request));
    socket.flush();
    for (;;) {
        while (socket.canReadLine()) {
            const QJsonObject m = QJsonDocument::fromJson(socket.readLine()).object();
            const QString type = m.value(u"t"_s).toString();
            if (type == QLatin1String("out")) {
                out << m.value(u"v"_s).toString() << Qt::flush;
            } else if (type == QLatin1String("err")) {
                err << m.value(u"v"_s).toString() << Qt::flush;
            } else if (type == QLatin1String("exit")) {
                return m.value(u"code"_s).toInt(1);
            } else if (type == QLatin1String("beep")) {
                console.beep();
            } else if (type == QLatin1String("passed")) {
                console.passedOver(m.value(u"v"_s).toString());
            } else if (type == QLatin1String("open")) {
                console.openWithShell(m.value(u"v"_s).toString());
            } else if (type == QLatin1String("notify")) {
                TrayNotification n;
                n.title = m.value(u"title"_s).toString();
                n.text = m.value(u"text"_s).toString();
                console.showTrayNotification(n);
            } else if (type == QLatin1String("box") || type == QLatin1String("boxex") ||
                       type == QLatin1String("save")) {
                socket.write(
                    EncodeOwnerLine({{u"t"_s, u"answer"_s}, {u"v"_s, Answer(m, console)}}));
                socket.flush();
            }
        }
        if (socket.state() != QLocalSocket::ConnectedState && !socket.canReadLine()) {
            err << "stowaway: the process that owns the data folder ended before the command did\n"
                << Qt::flush;
            return 1;
        }
        socket.waitForReadyRead(-1);
    }
}
