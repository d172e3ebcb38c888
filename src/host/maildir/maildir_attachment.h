#pragma once
// One attachment of a Maildir mail. It names itself by a key that stays valid when other
// attachments of the mail are deleted.
#include "host/mail_store.h"

#include <memory>

class MaildirItem;

class MaildirAttachment : public Attachment {
  public:
    MaildirAttachment(std::shared_ptr<MaildirItem> item, int key);

    Result<QString> FileName() const override;
    Result<int> Type() const override;
    Result<bool> Hidden() const override;
    Result<QString> ContentId() const override;
    Result<qint64> Size() const override;
    OpError SaveAsFile(const QString& path) override;
    OpError Delete() override;

  private:
    std::shared_ptr<MaildirItem> item_;
    int key_;
};
