#include "support/cyrus_server.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

QString Unpacked(const char* path) {
    return QStringLiteral(STOWAWAY_CYRUS_DIR) + QLatin1String(path);
}

} // namespace

QString CyrusServer::addUser(const QString& user) {
    QProcess saslpasswd;
    saslpasswd.setProcessChannelMode(QProcess::MergedChannels);
    saslpasswd.start(QStringLiteral("saslpasswd2"),
                     {QStringLiteral("-f"), dir() + QStringLiteral("/sasldb2"),
                      QStringLiteral("-u"), QStringLiteral("localhost"), QStringLiteral("-p"),
                      QStringLiteral("-c"), user});
    saslpasswd.write(QByteArray(kPassword) + '\n');
    saslpasswd.closeWriteChannel();
    if (!saslpasswd.waitForFinished() || saslpasswd.exitCode() != 0)
        return QStringLiteral("saslpasswd2 (scripts/install-deps) failed for %1: %2")
            .arg(user, QString::fromLocal8Bit(saslpasswd.readAll()) + saslpasswd.errorString());
    handOver(dir() + QStringLiteral("/sasldb2"));
    return {};
}

QString CyrusServer::withholdKeywords(const QString& user) {
    // The owner's rights without "w", on the inbox its first login makes.
    if (const QString why = runCommands(user, {}); !why.isEmpty()) return why;
    return runCommands(QStringLiteral("admin"),
                       {QStringLiteral("SETACL user/%1 %1 lrsipkxtecdan").arg(user)});
}

QString CyrusServer::configure(const RunAs& runAs) {
    if (!QFileInfo(Unpacked("/usr/lib/cyrus/bin/master")).isExecutable())
        return QStringLiteral("Cyrus IMAP is not unpacked in %1 (scripts/install-deps)")
            .arg(Unpacked(""));
    for (const char* sub : {"/conf", "/spool"})
        QDir().mkpath(dir() + QLatin1String(sub));
    if (!QFileInfo::exists(dir() + QStringLiteral("/sasldb2")))
        if (const QString why = addUser(QStringLiteral("admin")); !why.isEmpty()) return why;
    // UIDVALIDITY from the clock (without "conversations"), IDLE that looks every second (no
    // idled), and an inbox for every user at the first login.
    const QString imapd = QStringLiteral(R"(configdirectory: %1/conf
partition-default: %1/spool
defaultpartition: default
servername: localhost
admins: admin
allowplaintext: yes
sasl_pwcheck_method: auxprop
sasl_auxprop_plugin: sasldb
sasl_sasldb_path: %1/sasldb2
sasl_mech_list: PLAIN LOGIN
cyrus_user: %2
cyrus_group: %3
autocreate_quota: 0
autocreate_users: anyone
imapidlepoll: 1
)")
                              .arg(dir(), runAs.user, runAs.group);
    const QString cyrus = QStringLiteral(R"(SERVICES {
  imap cmd="%1 -C %2/imapd.conf" listen="127.0.0.1:%3" prefork=0
}
)")
                              .arg(Unpacked("/usr/lib/cyrus/bin/imapd"), dir())
                              .arg(port());
    for (const auto& [name, text] : {std::pair{"/imapd.conf", imapd}, {"/cyrus.conf", cyrus}}) {
        QFile file(dir() + QLatin1String(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
            return QStringLiteral("cannot write ") + file.fileName();
    }
    return {};
}

QStringList CyrusServer::commandLine() const {
    return {QStringLiteral("env"),
            QStringLiteral("LD_LIBRARY_PATH=") + Unpacked("/usr/lib/x86_64-linux-gnu"),
            Unpacked("/usr/lib/cyrus/bin/master"),
            QStringLiteral("-C"),
            dir() + QStringLiteral("/imapd.conf"),
            QStringLiteral("-M"),
            dir() + QStringLiteral("/cyrus.conf"),
            QStringLiteral("-p"),
            dir() + QStringLiteral("/master.pid"),
            QStringLiteral("-L"),
            logFile()};
}
