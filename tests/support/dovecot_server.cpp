#include "support/dovecot_server.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const char kDovecot[] = "/usr/sbin/dovecot";

} // namespace

bool DovecotServer::Installed() {
    return QFileInfo(QString::fromLatin1(kDovecot)).isExecutable();
}

void DovecotServer::useCertificate(const QString& cert, const QString& key) {
    cert_ = cert;
    key_ = key;
}

QString DovecotServer::maildir(const QString& user, const QString& mailbox) const {
    const QString base = dir() + QStringLiteral("/mail/") + user;
    return mailbox == QLatin1String("INBOX") ? base : base + QStringLiteral("/.") + mailbox;
}

QString DovecotServer::withholdKeywords(const QString& user) {
    // Without ACL "w", PERMANENTFLAGS holds \Seen and \Deleted alone.
    const QString box = maildir(user);
    for (const char* sub : {"/cur", "/new", "/tmp"})
        QDir().mkpath(box + QLatin1String(sub));
    QFile acl(box + QStringLiteral("/dovecot-acl"));
    if (!acl.open(QIODevice::WriteOnly) || acl.write("owner lrstipe\n") < 0)
        return QStringLiteral("cannot write ") + acl.fileName();
    acl.close();
    handOver(dir() + QStringLiteral("/mail"));
    return {};
}

QString DovecotServer::configure(const RunAs& runAs) {
    if (!Installed()) return QStringLiteral("dovecot is not installed (scripts/install-deps)");
    for (const char* sub : {"/run", "/state", "/mail", "/rawlog"})
        QDir().mkpath(dir() + QLatin1String(sub));
    if (!cert_.isEmpty() && tlsPort_ == 0) tlsPort_ = FreePort();
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
                               .arg(dir(), runAs.user, runAs.group)
                               .arg(runAs.uid)
                               .arg(QLatin1String(kPassword))
                               .arg(runAs.gid)
                               .arg(port())
                               .arg(cert_.isEmpty() ? QStringLiteral("ssl = no")
                                                    : QStringLiteral("ssl = yes\nssl_cert = <%1\n"
                                                                     "ssl_key = <%2")
                                                          .arg(cert_, key_))
                               .arg(tlsPort_);
    QFile file(dir() + QStringLiteral("/dovecot.conf"));
    if (!file.open(QIODevice::WriteOnly) || file.write((config + extraConfig_).toUtf8()) < 0)
        return QStringLiteral("cannot write the configuration");
    return {};
}

QStringList DovecotServer::commandLine() const {
    return {QString::fromLatin1(kDovecot), QStringLiteral("-F"), QStringLiteral("-c"),
            dir() + QStringLiteral("/dovecot.conf")};
}

QByteArray DovecotServer::clientLines() const {
    QByteArray all;
    const QDir dir(this->dir() + QStringLiteral("/rawlog"));
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
    const QDir dir(this->dir() + QStringLiteral("/rawlog"));
    for (const QFileInfo& file : dir.entryInfoList({QStringLiteral("*.in")}, QDir::Files))
        seen_[file.fileName()] = file.size();
}
