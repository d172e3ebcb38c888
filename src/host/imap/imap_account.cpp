#include "host/imap/imap_account.h"

#include <QHostAddress>
#include <QProcess>
#include <QStandardPaths>
#include <QUrlQuery>

QString ImapAccount::storeId() const {
    return QStringLiteral("imap://%1@%2:%3").arg(user, endpoint.host).arg(endpoint.port);
}

QString ImapAccount::displayName() const {
    return user + QLatin1Char('@') + endpoint.host;
}

namespace {

OpError BadUrl(const QString& text, const QString& why) {
    return OpError::make(ErrNo::Failed,
                         QStringLiteral("Not a usable IMAP account \"%1\": %2").arg(text, why));
}

bool IsLoopback(const QString& host) {
    if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0) return true;
    const QHostAddress address(host);
    return !address.isNull() && address.isLoopback();
}

} // namespace

Result<ImapAccount> ParseImapUrl(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    if (!url.isValid()) return {{}, BadUrl(text, url.errorString())};
    ImapAccount account;
    const QString scheme = url.scheme().toLower();
    if (scheme == QLatin1String("imap")) {
        account.endpoint.security = ImapSecurity::Tls;
        account.endpoint.port = 993;
    } else if (scheme == QLatin1String("imap+starttls")) {
        account.endpoint.security = ImapSecurity::StartTls;
        account.endpoint.port = 143;
    } else if (scheme == QLatin1String("imap+plain")) {
        account.endpoint.security = ImapSecurity::Plain;
        account.endpoint.port = 143;
    } else {
        return {{},
                BadUrl(text, QStringLiteral("the scheme is imap, imap+starttls or imap+plain"))};
    }
    account.endpoint.host = url.host();
    account.user = url.userName();
    if (account.endpoint.host.isEmpty()) return {{}, BadUrl(text, QStringLiteral("no host"))};
    if (account.user.isEmpty())
        return {{}, BadUrl(text, QStringLiteral("no user (imap://user@host)"))};
    if (!url.password().isEmpty())
        return {{},
                BadUrl(text, QStringLiteral("a password does not belong in the address; "
                                            "use --password-command"))};
    if (url.port() > 0) account.endpoint.port = quint16(url.port());
    if (!url.path().isEmpty() && url.path() != QLatin1String("/"))
        return {{}, BadUrl(text, QStringLiteral("a path is not allowed"))};
    if (account.endpoint.security == ImapSecurity::Plain && !IsLoopback(account.endpoint.host))
        return {{},
                BadUrl(text, QStringLiteral("an unencrypted connection is allowed only to this "
                                            "computer; use imap:// or imap+starttls://"))};
    const QUrlQuery query(url);
    for (const auto& [key, value] : query.queryItems()) {
        if (key == QLatin1String("auth") &&
            value.compare(QLatin1String("xoauth2"), Qt::CaseInsensitive) == 0)
            account.xoauth2 = true;
        else if (!(key == QLatin1String("auth") &&
                   value.compare(QLatin1String("password"), Qt::CaseInsensitive) == 0))
            return {{}, BadUrl(text, QStringLiteral("unknown option %1=%2").arg(key, value))};
    }
    return {account, OpError::none()};
}

Result<QByteArray> ReadImapSecret(const ImapAccount& account, const QString& command) {
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    QString what;
    if (!command.isEmpty()) {
        process.start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command});
        what = QStringLiteral("The password command");
    } else {
        const QString tool = QStandardPaths::findExecutable(QStringLiteral("secret-tool"));
        if (tool.isEmpty())
            return {{},
                    OpError::make(ErrNo::NotFound,
                                  QStringLiteral("No password for %1: give --password-command "
                                                 "(or the setting PasswordCommand), or install "
                                                 "secret-tool for the desktop's secret service")
                                      .arg(account.displayName()))};
        process.start(tool, {QStringLiteral("lookup"), QStringLiteral("service"),
                             QStringLiteral("stowaway"), QStringLiteral("user"), account.user,
                             QStringLiteral("host"), account.endpoint.host});
        what = QStringLiteral("The secret service");
    }
    process.closeWriteChannel();
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return {{},
                OpError::make(ErrNo::Failed, what + QStringLiteral(" did not finish within 60 s"))};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return {{},
                OpError::make(
                    ErrNo::Failed,
                    what + QStringLiteral(" failed (exit status %1)").arg(process.exitCode()))};
    QByteArray out = process.readAllStandardOutput();
    const qsizetype eol = out.indexOf('\n');
    if (eol >= 0) out.truncate(eol);
    if (out.endsWith('\r')) out.chop(1);
    if (out.isEmpty())
        return {{}, OpError::make(ErrNo::Failed, what + QStringLiteral(" gave no password"))};
    return {out, OpError::none()};
}
