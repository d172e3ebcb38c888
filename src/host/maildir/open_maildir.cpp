#include "host/maildir/open_maildir.h"

#include "host/maildir/maildir_session.h"

#include <QDir>
#include <QFileInfo>

Result<std::shared_ptr<MailSession>> OpenMaildirStore(const QString& maildir) {
    const QString root = QDir(maildir).absolutePath();
    if (!QFileInfo(root + QStringLiteral("/cur")).isDir() &&
        !QFileInfo(root + QStringLiteral("/new")).isDir())
        return {nullptr, OpError::make(ErrNo::NotFound, QStringLiteral("Not a Maildir: ") + root)};
    return {
        std::make_shared<MaildirSession>(std::vector<MaildirSession::StoreSpec>{{root, QString()}}),
        OpError::none()};
}
