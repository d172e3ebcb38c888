#pragma once
// The mail session over one or more Maildir stores. Each store's top level is named after its
// root folder (or the name given); the first store's Inbox is the default inbox.
#include "host/mail_store.h"
#include "host/maildir/maildir_store.h"
#include "host/new_mail.h"

#include <vector>

class MaildirSession : public MailSession, public NewMailSource {
  public:
    struct StoreSpec {
        QString root;
        QString name; // empty: the root folder's name
    };

    // Opens the stores and removes what earlier runs of this program left in their tmp/
    // folders.
    explicit MaildirSession(const std::vector<StoreSpec>& stores, const MailLimits& limits = {});
    // Makes the attachment files saved since the last changed mail durable.
    ~MaildirSession() override;

    Result<MailItemPtr> GetMessageFromID(const QString& entryId, const QString& storeId) override;
    Result<MailItemPtr> GetMessageFromID(const QString& entryId) override;
    Result<MailFolderPtr> GetFolderFromID(const QString& entryId, const QString& storeId) override;
    Result<MailFolderPtr> GetDefaultInbox() override;
    Result<std::vector<MailFolderPtr>> Stores() override;
    NewMailSource* newMailSource() override { return this; }

    // New mail in a folder; the store's own writes are not reported.
    Result<std::unique_ptr<ItemAddSubscription>>
    SubscribeItemAdd(const MailFolderPtr& folder, ItemAddHandler onItemAdd) override;

    // The file names this session wrote lately, for watchers of its folders.
    const OwnWrites& ownWrites() const { return shared_->ownWrites; }
    void setOwnWriteListener(OwnWrites::Listener listener);
    // How many mails have parsed data kept.
    qsizetype cachedMails() const { return shared_->cache.size(); }

  private:
    MaildirStorePtr findStore(const QString& storeId) const;
    // The mail at `location`, whose file was just found to be `identity`.
    Result<MailItemPtr> itemAt(const MaildirStorePtr& store, const MailLocation& location,
                               const FileIdentity& identity);
    // Lists every folder of the store so the index knows all its mails.
    void indexStore(const MaildirStorePtr& store);
    Result<MailItemPtr> lookUp(const QString& entryId, const std::vector<MaildirStorePtr>& stores);
    // The second route: a mail a sync tool renamed since it was seen, by the stem of its name.
    Result<MailItemPtr> findRenamed(const QString& entryId,
                                    const std::vector<MaildirStorePtr>& stores);

    std::shared_ptr<MaildirShared> shared_;
    std::vector<MaildirStorePtr> stores_;
};
