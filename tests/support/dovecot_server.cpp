#include "support/dovecot_server.h"

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

const char kDovecot[] = "/usr/sbin/dovecot";

quint16 FreePort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0)) return 0;
    return probe.serverPort();
}

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

} // namespace

bool DovecotServer::Installed() {
    return QFileInfo(QString::fromLatin1(kDovecot)).isExecutable();
}

DovecotServer::DovecotServer(QString dir) : dir_(std::move(dir)) {}

DovecotServer::~DovecotServer() {
    stop();
}

QString DovecotServer::url(const QString& user) const {
    return QStringLiteral("imap+plain://%1@127.0.0.1:%2").arg(user).arg(port_);
}

void DovecotServer::useCertificate(const QString& cert, const QString& key) {
    cert_ = cert;
    key_ = key;
}

QString DovecotServer::maildir(const QString& user, const QString& mailbox) const {
    const QString base = dir_ + QStringLiteral("/mail/") + user;
    return mailbox == QLatin1String("INBOX") ? base : base + QStringLiteral("/.") + mailbox;
}

QString DovecotServer::start() {
    if (!Installed()) return QStringLiteral("dovecot is not installed (scripts/install-deps)");
    QDir().mkpath(dir_ + QStringLiteral("/run"));
    QDir().mkpath(dir_ + QStringLiteral("/state"));
    QDir().mkpath(dir_ + QStringLiteral("/mail"));
    QDir().mkpath(dir_ + QStringLiteral("/rawlog"));
    if (port_ == 0) port_ = FreePort();
    if (!cert_.isEmpty() && tlsPort_ == 0) tlsPort_ = FreePort();
    // As root, the server runs as nobody; else as the test's own user.
    const bool root = ::geteuid() == 0;
    const passwd* pw = root ? ::getpwnam("nobody") : ::getpwuid(::geteuid());
    if (!pw) return QStringLiteral("no user to run dovecot as");
    const group* gr = ::getgrgid(
        root ? (::getgrnam("nogroup") ? ::getgrnam("nogroup")->gr_gid : pw->pw_gid) : ::getegid());
    const QString user = QString::fromLocal8Bit(pw->pw_name);
    const QString groupName = gr ? QString::fromLocal8Bit(gr->gr_name) : user;
    const uid_t uid = pw->pw_uid;
    const gid_t gid = gr ? gr->gr_gid : pw->pw_gid;
    const QString config = QStringLiteral(R"(base_dir = %1/run
state_dir = %1/state
log_path = %1/dovecot.log
protocols = imap
listen = 127.0.0.1
%8
disable_plaintext_auth = no
auth_mechanisms = plain login xoauth2
default_internal_user = %2
default_internal_group = %3
default_login_user = %2
first_valid_uid = %4
mail_location = maildir:%1/mail/%u
rawlog_dir = %1/rawlog
mail_plugins = acl
plugin {
  acl = vfile
}
passdb {
  driver = static
  args = password=%5
}
userdb {
  driver = static
  args = uid=%4 gid=%6 home=%1/mail/%u
}
service imap-login {
  chroot =
  inet_listener imap {
    address = 127.0.0.1
    port = %7
  }
  inet_listener imaps {
    address = 127.0.0.1
    port = %9
  }
}
service anvil {
  chroot =
}
service stats {
  chroot =
}
)")
                               .arg(dir_, user, groupName)
                               .arg(uid)
                               .arg(QLatin1String(kPassword))
                               .arg(gid)
                               .arg(port_)
                               .arg(cert_.isEmpty() ? QStringLiteral("ssl = no")
                                                    : QStringLiteral("ssl = yes\nssl_cert = <%1\n"
                                                                     "ssl_key = <%2")
                                                          .arg(cert_, key_))
                               .arg(tlsPort_);
    QFile file(dir_ + QStringLiteral("/dovecot.conf"));
    if (!file.open(QIODevice::WriteOnly) || file.write((config + extraConfig_).toUtf8()) < 0)
        return QStringLiteral("cannot write the configuration");
    file.close();
    if (root) {
        OpenParents(dir_);
        QProcess::execute(QStringLiteral("chown"),
                          {QStringLiteral("-R"), QStringLiteral("%1:%2").arg(uid).arg(gid), dir_});
    }
    process_ = std::make_unique<QProcess>();
    process_->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // A session of its own, so that stop() ends the connections' processes too, as a real
    // restart does.
    QStringList line{QStringLiteral("setsid"), QString::fromLatin1(kDovecot), QStringLiteral("-F"),
                     QStringLiteral("-c"), file.fileName()};
    if (root)
        line =
            QStringList{QStringLiteral("setpriv"), QStringLiteral("--reuid=%1").arg(uid),
                        QStringLiteral("--regid=%1").arg(gid), QStringLiteral("--clear-groups")} +
            line;
    process_->start(line.first(), line.mid(1));
    if (!process_->waitForStarted())
        return QStringLiteral("cannot start dovecot: ") + process_->errorString();
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
    QFile log(dir_ + QStringLiteral("/dovecot.log"));
    log.open(QIODevice::ReadOnly);
    return QStringLiteral("dovecot did not answer on port %1: %2")
        .arg(port_)
        .arg(QString::fromUtf8(log.readAll().right(2000)));
}

QByteArray DovecotServer::clientLines() const {
    QByteArray all;
    const QDir dir(dir_ + QStringLiteral("/rawlog"));
    for (const QString& name : dir.entryList({QStringLiteral("*.in")}, QDir::Files, QDir::Name)) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) continue;
        file.seek(seen_.value(name));
        all += file.readAll();
    }
    return all;
}

void DovecotServer::clearClientLines() {
    // Sessions still open keep writing to their files: what is forgotten is what they hold now.
    const QDir dir(dir_ + QStringLiteral("/rawlog"));
    for (const QFileInfo& file : dir.entryInfoList({QStringLiteral("*.in")}, QDir::Files))
        seen_[file.fileName()] = file.size();
}

void DovecotServer::stop() {
    if (!process_) return;
    const pid_t group = pid_t(process_->processId());
    if (group > 0) ::kill(-group, SIGTERM);
    if (!process_->waitForFinished(10000)) process_->kill();
    process_->waitForFinished();
    if (group > 0) ::kill(-group, SIGKILL); // connections still open
    process_.reset();
}
