#pragma once
// The mail session over one IMAP account, and its new-mail source: the watches of its mailboxes
// within the account's connection budget (imap_watch.h).
#include "host/imap/imap_store.h"
#include "host/new_mail.h"

class ImapWatchPool;

class ImapSession : public MailSession, public NewMailSource {
  public:
    explicit ImapSession(ImapStorePtr store);

    Result<MailItemPtr> GetMessageFromID(const QString& entryId, const QString& storeId) override;
    Result<MailItemPtr> GetMessageFromID(const QString& entryId) override;
    Result<MailFolderPtr> GetFolderFromID(const QString& entryId, const QString& storeId) override;
    Result<MailFolderPtr> GetDefaultInbox() override;
    Result<std::vector<MailFolderPtr>> Stores() override;
    NewMailSource* newMailSource() override { return this; }

    Result<std::unique_ptr<ItemAddSubscription>>
    SubscribeItemAdd(const MailFolderPtr& folder, ItemAddHandler onItemAdd) override;

    const ImapStorePtr& store() const { return store_; }

  private:
    ImapStorePtr store_;
    std::shared_ptr<ImapWatchPool> watches_;
};

// Opens the account: reads the secret, connects and logs in once so that a wrong password or
// certificate is reported at the start.
Result<std::shared_ptr<MailSession>> OpenImapStore(const QString& url,
                                                   const QString& passwordCommand);
