#include "support/imap_test_server.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <csignal>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Lets `uid` pass through the parents of `dir` to reach it.
void OpenParents(const QString& dir) {
    for (QString p = QFileInfo(dir).absolutePath(); p != QLatin1String("/");
         p = QFileInfo(p).path()) {
        struct stat st {};
        const QByteArray path = QFile::encodeName(p);
        if (::stat(path.constData(), &st) == 0 && (st.st_mode & 0001) == 0)
            ::chmod(path.constData(), (st.st_mode & 07777) | 0001);
    }
}

// The tagged answer to the last line sent, or an empty array when the server said nothing.
QByteArray TaggedAnswer(QTcpSocket& socket, const QByteArray& tag) {
    QByteArray line;
    while (!line.startsWith(tag + ' ')) {
        if (!socket.canReadLine() && !socket.waitForReadyRead(10000)) return {};
        line = socket.readLine().trimmed();
    }
    return line.mid(tag.size() + 1);
}

} // namespace

ImapTestServer::ImapTestServer(QString dir) : dir_(std::move(dir)) {}

ImapTestServer::~ImapTestServer() {
    stop();
}

quint16 ImapTestServer::FreePort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0)) return 0;
    return probe.serverPort();
}

QString ImapTestServer::url(const QString& user) const {
    return QStringLiteral("imap+plain://%1@127.0.0.1:%2").arg(user).arg(port_);
}

void ImapTestServer::handOver(const QString& path) const {
    if (::geteuid() == 0)
        QProcess::execute(
            QStringLiteral("chown"),
            {QStringLiteral("-R"), QStringLiteral("%1:%2").arg(runAs_.uid).arg(runAs_.gid), path});
}

QString ImapTestServer::start() {
    QDir().mkpath(dir_);
    if (port_ == 0) port_ = FreePort();
    // As root, the server runs as nobody; else as the test's own user.
    const bool root = ::geteuid() == 0;
    const passwd* pw = root ? ::getpwnam("nobody") : ::getpwuid(::geteuid());
    if (!pw) return QStringLiteral("no user to run %1 as").arg(QLatin1String(name()));
    runAs_.uid = pw->pw_uid;
    runAs_.user = QString::fromLocal8Bit(pw->pw_name);
    const group* gr = ::getgrgid(
        root ? (::getgrnam("nogroup") ? ::getgrnam("nogroup")->gr_gid : pw->pw_gid) : ::getegid());
    runAs_.gid = gr ? gr->gr_gid : pw->pw_gid;
    runAs_.group = gr ? QString::fromLocal8Bit(gr->gr_name) : runAs_.user;
    if (const QString why = configure(runAs_); !why.isEmpty()) return why;
    if (root) {
        OpenParents(dir_);
        handOver(dir_);
    }
    process_ = std::make_unique<QProcess>();
    process_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // A session of its own, so that stop() ends the connections' processes too, as a real
    // restart does.
    QStringList line = QStringList{QStringLiteral("setsid")} + commandLine();
    if (root)
        line = QStringList{QStringLiteral("setpriv"), QStringLiteral("--reuid=%1").arg(runAs_.uid),
                           QStringLiteral("--regid=%1").arg(runAs_.gid),
                           QStringLiteral("--clear-groups")} +
               line;
    process_->start(line.first(), line.mid(1));
    if (!process_->waitForStarted())
        return QStringLiteral("cannot start %1: %2")
            .arg(QLatin1String(name()), process_->errorString());
    // Ready when it greets.
    for (int i = 0; i < 200; ++i) {
        if (process_->state() != QProcess::Running) break;
        QTcpSocket probe;
        probe.connectToHost(QHostAddress::LocalHost, port_);
        if (probe.waitForConnected(100) && probe.waitForReadyRead(1000) &&
            probe.readLine().startsWith("* OK"))
            return {};
        QThread::msleep(50);
    }
    QFile log(logFile());
    log.open(QIODevice::ReadOnly);
    return QStringLiteral("%1 did not answer on port %2: %3")
        .arg(QLatin1String(name()))
        .arg(port_)
        .arg(QString::fromUtf8(log.readAll().right(2000)));
}

QString ImapTestServer::runCommands(const QString& user, const QStringList& commands) const {
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port_);
    if (!socket.waitForConnected(5000) || !socket.waitForReadyRead(5000))
        return QStringLiteral("no greeting");
    socket.readLine();
    const QStringList lines =
        QStringList{QStringLiteral("LOGIN %1 %2").arg(user, QLatin1String(kPassword))} + commands;
    for (int i = 0; i < lines.size(); ++i) {
        const QByteArray tag = 'c' + QByteArray::number(i);
        socket.write(tag + ' ' + lines[i].toUtf8() + "\r\n");
        const QByteArray answer = TaggedAnswer(socket, tag);
        if (!answer.startsWith("OK"))
            return lines[i] + QStringLiteral(": ") + QString::fromUtf8(answer);
    }
    return {};
}

void ImapTestServer::stop() {
    if (!process_) return;
    const pid_t group = pid_t(process_->processId());
    if (group > 0) ::kill(-group, SIGTERM);
    if (!process_->waitForFinished(10000)) process_->kill();
    process_->waitForFinished();
    if (group > 0) ::kill(-group, SIGKILL); // connections still open
    process_.reset();
}
