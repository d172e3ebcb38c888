#include "host/imap/imap_session.h"

#include "host/imap/imap_folder.h"
#include "host/imap/imap_item.h"
#include "host/imap/imap_namespace.h"
#include "host/imap/imap_watch.h"

ImapSession::ImapSession(ImapStorePtr store)
    : store_(std::move(store)), watches_(std::make_shared<ImapWatchPool>(store_)) {}

Result<MailItemPtr> ImapSession::GetMessageFromID(const QString& entryId, const QString& storeId) {
    if (!storeId.isEmpty() && storeId != store_->account().storeId())
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("No such store: ") + storeId)};
    return GetMessageFromID(entryId);
}

Result<MailItemPtr> ImapSession::GetMessageFromID(const QString& entryId) {
    ImapMailId id;
    if (!ImapMailId::parse(entryId, id))
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("Not an IMAP mail id: ") + entryId)};
    const Result<ImapMailbox> box = store_->mailboxOf(id);
    if (!box.ok()) return {nullptr, box.error};
    const ImapMailbox& mailbox = box.value;
    id.mailbox = mailbox.rawName;
    id = store_->current(id);
    UidFetchJob fetch(QByteArray::number(id.uid), "FLAGS");
    if (OpError e = store_->runFor(id, fetch)) return {nullptr, e};
    const auto found = fetch.mails.find(id.uid);
    if (found == fetch.mails.end())
        return {
            nullptr,
            OpError::make(ErrNo::NotFound,
                          QStringLiteral("The mail %1 is no longer on the server").arg(entryId))};
    return {std::make_shared<ImapItem>(store_, mailbox, id, found->second.flags), OpError::none()};
}

Result<MailFolderPtr> ImapSession::GetFolderFromID(const QString& entryId, const QString& storeId) {
    if (!storeId.isEmpty() && storeId != store_->account().storeId())
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("No such store: ") + storeId)};
    if (entryId.isEmpty())
        return {std::make_shared<ImapFolder>(store_, ImapMailbox{}), OpError::none()};
    const Result<std::vector<ImapMailbox>> boxes = store_->mailboxes();
    if (!boxes.ok()) return {nullptr, boxes.error};
    const ImapMailbox* box = FindMailboxByName(boxes.value, entryId);
    if (!box)
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("No mailbox %1 on %2")
                                                   .arg(entryId, store_->account().displayName()))};
    return {std::make_shared<ImapFolder>(store_, *box), OpError::none()};
}

Result<MailFolderPtr> ImapSession::GetDefaultInbox() {
    return GetFolderFromID(QStringLiteral("INBOX"), QString());
}

Result<std::vector<MailFolderPtr>> ImapSession::Stores() {
    return {{std::make_shared<ImapFolder>(store_, ImapMailbox{})}, OpError::none()};
}

Result<std::unique_ptr<ItemAddSubscription>>
ImapSession::SubscribeItemAdd(const MailFolderPtr& folder, ItemAddHandler onItemAdd) {
    const auto* imapFolder = dynamic_cast<const ImapFolder*>(folder.get());
    if (!imapFolder || imapFolder->isTop())
        return {nullptr,
                OpError::make(ErrNo::Failed, QStringLiteral("Not a mailbox of this account"))};
    return watches_->subscribe(imapFolder->mailbox(), std::move(onItemAdd));
}

Result<std::shared_ptr<MailSession>> OpenImapStore(const QString& url,
                                                   const QString& passwordCommand) {
    const Result<ImapAccount> account = ParseImapUrl(url);
    if (!account.ok()) return {nullptr, account.error};
    const Result<QByteArray> secret = ReadImapSecret(account.value, passwordCommand);
    if (!secret.ok()) return {nullptr, secret.error};
    auto store = std::make_shared<ImapStore>(account.value, secret.value);
    const Result<ImapConnection*> conn = store->connection();
    if (!conn.ok()) return {nullptr, conn.error};
    return {std::make_shared<ImapSession>(store), OpError::none()};
}
