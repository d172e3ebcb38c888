#include "host/store_spec.h"

#include "data/settings.h"

#include <QDir>

namespace {
QString gPasswordCommand;
bool gPasswordCommandSet = false;
} // namespace

bool IsImapUrl(const QString& text) {
    return text.startsWith(QLatin1String("imap://"), Qt::CaseInsensitive) ||
           text.startsWith(QLatin1String("imap+"), Qt::CaseInsensitive);
}

QString ChooseStore(const QString& fromCommandLine) {
    if (!fromCommandLine.isEmpty()) return NormalizeStoreSpec(fromCommandLine);
    if (const QString setting = GetSetting(QStringLiteral("Store"), QString()); !setting.isEmpty())
        return NormalizeStoreSpec(setting);
    QString maildir = qEnvironmentVariable("MAILDIR");
    if (maildir.isEmpty()) maildir = QDir::homePath() + QStringLiteral("/Maildir");
    return NormalizeStoreSpec(maildir);
}

QString NormalizeStoreSpec(const QString& spec) {
    if (IsImapUrl(spec)) return spec;
    QString path = spec;
    if (path.startsWith(QLatin1String("maildir:"))) path = path.mid(8);
    return QDir(path).absolutePath();
}

void SetPasswordCommand(const QString& command) {
    gPasswordCommand = command;
    gPasswordCommandSet = true;
}

QString PasswordCommand() {
    return gPasswordCommandSet ? gPasswordCommand
                               : GetSetting(QStringLiteral("PasswordCommand"), QString());
}
