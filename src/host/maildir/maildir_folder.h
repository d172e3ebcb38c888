#pragma once
// A folder of a Maildir store (or the store's top level, which holds the others).
#include "host/mail_store.h"
#include "host/maildir/maildir_store.h"

class MaildirFolder : public MailFolder {
  public:
    MaildirFolder(MaildirStorePtr store, QString id);

    Result<QString> Name() const override;
    Result<QString> EntryID() const override;
    Result<QString> StoreID() const override;
    Result<MailFolderPtr> Parent() const override;
    Result<std::vector<MailItemPtr>> Items() const override;
    Result<std::vector<MailItemPtr>> ItemsNotDone() const override;
    Result<int> ItemCount() const override;
    Result<std::vector<MailFolderPtr>> Folders() const override;

    // The folder's directory on disk.
    QString directory() const;
    // The item of one file of this folder.
    MailItemPtr itemOf(MailFileEntry file) const;

  private:
    // Whether the folder is still there and has mail of its own.
    OpError check(bool& hasMaildir) const;
    // The items of a listing, noted in the store's index of mail ids.
    std::vector<MailItemPtr> makeItems(std::vector<MailFileEntry>& files) const;

    MaildirStorePtr store_;
    QString id_;
};
