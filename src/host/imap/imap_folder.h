#pragma once
// A mailbox of the account, or the account itself as the top folder (empty name). A folder's
// EntryID is its decoded mailbox name; its path has "|" between the levels under the account.
#include "host/imap/imap_store.h"

class ImapFolder : public MailFolder {
  public:
    ImapFolder(ImapStorePtr store, ImapMailbox mailbox);

    Result<QString> Name() const override;
    Result<QString> EntryID() const override;
    Result<QString> StoreID() const override;
    Result<MailFolderPtr> Parent() const override;
    Result<std::vector<MailItemPtr>> Items() const override;
    Result<std::vector<MailItemPtr>> ItemsNotDone() const override;
    Result<int> ItemCount() const override;
    Result<std::vector<MailFolderPtr>> Folders() const override;

    const ImapMailbox& mailbox() const { return mailbox_; }
    bool isTop() const { return mailbox_.rawName.isEmpty(); }
    // The mails with UIDs from `firstUid` on, in UID order.
    Result<std::vector<MailItemPtr>> itemsFrom(quint64 firstUid) const;

  private:
    ImapStorePtr store_;
    ImapMailbox mailbox_;
};
