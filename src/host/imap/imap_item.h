#pragma once
// One mail in an IMAP mailbox, named by UIDVALIDITY/UID. The flags come with the listing, the
// header fields from BODY.PEEK[HEADER], the rest from the whole mail, each fetched only when
// asked. Flag changes go to the server at once; other changes stay in memory until Save, which
// stamps by keyword where it can and replaces the mail where it must.
#include "host/imap/imap_store.h"
#include "host/mime/parsed_mail.h"

#include <map>

class ImapItem : public MailItem, public std::enable_shared_from_this<ImapItem> {
  public:
    ImapItem(ImapStorePtr store, ImapMailbox mailbox, ImapMailId id, QSet<QByteArray> flags);

    QString TypeName() const override { return QStringLiteral("ImapMail"); }
    Result<int> Class() const override;
    Result<QString> EntryID() const override;
    Result<MailFolderPtr> Parent() const override;
    Result<QString> StoreID() const override;
    Result<QString> Subject() const override;
    OpError SetSubject(const QString& subject) override;
    Result<bool> UnRead() const override;
    OpError SetUnRead(bool unread) override;
    Result<QString> SenderName() const override;
    Result<QString> SenderEmailAddress() const override;
    Result<std::vector<Recipient>> Recipients() const override;
    Result<double> ReceivedTime() const override;
    Result<bool> HidePaperClip() const override { return {false, OpError::none()}; }
    Result<QString> Mileage() const override;
    OpError SetMileage(const QString& mileage) override;
    Result<int> BodyFormat() const override;
    Result<QString> HTMLBody() const override;
    OpError SetHTMLBody(const QString& html) override;
    Result<QString> RTFBody() const override { return {QString(), OpError::none()}; }
    OpError SetRTFBody(const QString&) override;
    Result<QString> Body() const override;
    OpError SetBody(const QString& text) override;
    Result<int> InternetCodepage() const override { return {65001, OpError::none()}; }
    OpError Save() override;
    Result<int> AttachmentCount() const override;
    Result<AttachmentPtr> AttachmentAt(int index) const override;
    void NoteDone() override;

    const ImapMailId& id() const { return id_; }
    Result<AttachmentInfo> attachmentInfo(int key) const;
    Result<qint64> attachmentSize(int key) const;
    OpError saveAttachment(int key, const QString& path);
    OpError deleteAttachment(int key);

  private:
    // Follows a replacement this store made through another object.
    void follow() const;
    Result<MailHeadersPtr> headers() const;
    // The account, mailbox and id, for messages.
    QString where() const;
    OpError ensureParsed() const;
    Result<int> indexOfKey(int key) const;
    OpError storeFlags(bool add, const QByteArray& flag);
    // The stamp of a mail whose rewrite the server refused: the keyword where the mailbox takes
    // keywords, else the store's own note. False when even that failed.
    bool keepStamp(bool keywords);

    ImapStorePtr store_;
    ImapMailbox mailbox_;
    mutable ImapMailId id_;
    mutable QSet<QByteArray> flags_;
    mutable std::shared_ptr<ParsedMail> parsed_;
    mutable QDateTime internalDate_;
    mutable std::vector<int> keys_;
    mutable std::map<int, qint64> sizes_;
    bool rewrite_ = false;         // anything besides the stamp changed
    std::optional<QString> stamp_; // a stamp set since the fetch
};

class ImapAttachment : public Attachment {
  public:
    ImapAttachment(std::shared_ptr<ImapItem> item, int key) : item_(std::move(item)), key_(key) {}
    Result<QString> FileName() const override;
    Result<int> Type() const override;
    Result<bool> Hidden() const override { return {false, OpError::none()}; }
    Result<QString> ContentId() const override;
    Result<qint64> Size() const override { return item_->attachmentSize(key_); }
    OpError SaveAsFile(const QString& path) override { return item_->saveAttachment(key_, path); }
    OpError Delete() override { return item_->deleteAttachment(key_); }

  private:
    std::shared_ptr<ImapItem> item_;
    int key_;
};
