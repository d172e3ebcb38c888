#include "host/maildir/open_maildir.h"

#include "host/maildir/maildir_layout.h"
#include "host/maildir/maildir_session.h"

#include <QDir>
#include <QFileInfo>

Result<std::shared_ptr<MailSession>> OpenMaildirStore(const QString& maildir) {
    const QString root = QDir::cleanPath(QFileInfo(maildir).absoluteFilePath());
    if (const QString why = WhyNotAMailStore(root); !why.isEmpty())
        return {nullptr, OpError::make(ErrNo::NotFound, why)};
    return {
        std::make_shared<MaildirSession>(std::vector<MaildirSession::StoreSpec>{{root, QString()}}),
        OpError::none()};
}
