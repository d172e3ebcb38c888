#include "host/mail_store.h"

namespace {
MailSession* gSession = nullptr;
}

QString GetFolderPath(const MailFolderPtr& folder, const QString& separator) {
    const QString sep = separator.isEmpty() ? QStringLiteral("|") : separator;
    QStringList levels;
    for (MailFolderPtr f = folder; f; f = f->Parent().value)
        levels.prepend(f->Name().value);
    return levels.join(sep);
}

MailSession* gobjRDOSession() {
    return gSession;
}
void SetMailSession(MailSession* session) {
    gSession = session;
}
