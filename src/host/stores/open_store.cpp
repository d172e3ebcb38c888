#include "host/stores/open_store.h"

#include "host/imap/imap_session.h"
#include "host/maildir/open_maildir.h"

Result<std::shared_ptr<MailSession>> OpenStore(const QString& spec) {
    if (IsImapUrl(spec)) return OpenImapStore(spec, PasswordCommand());
    QString path = spec;
    if (path.startsWith(QLatin1String("maildir:"))) path = path.mid(8);
    return OpenMaildirStore(path);
}
