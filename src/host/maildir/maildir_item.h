#pragma once
// One mail file of a Maildir folder. Cheap to create: the flags come from the file name, the
// headers from the header block, the attachment list from a full parse, each only when asked
// and each kept in the session's cache. Changes stay in memory until Save.
#include "host/mail_store.h"
#include "host/maildir/mail_files.h"
#include "host/maildir/maildir_store.h"
#include "host/mime/parsed_mail.h"

#include <map>

class MaildirItem : public MailItem, public std::enable_shared_from_this<MaildirItem> {
  public:
    // `folderDir` is the folder's directory when the caller has it already (a listing), and
    // `listing` that listing's token, held as long as the object lives.
    MaildirItem(MaildirStorePtr store, QString folderId, MailFileEntry file, QString folderDir = {},
                std::shared_ptr<const void> listing = {});

    QString TypeName() const override;
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
    Result<bool> HidePaperClip() const override;
    Result<QString> Mileage() const override;
    OpError SetMileage(const QString& mileage) override;
    Result<int> BodyFormat() const override;
    Result<QString> HTMLBody() const override;
    OpError SetHTMLBody(const QString& html) override;
    Result<QString> RTFBody() const override;
    OpError SetRTFBody(const QString& rtf) override;
    Result<QString> Body() const override;
    OpError SetBody(const QString& text) override;
    Result<int> InternetCodepage() const override;
    OpError Save() override;
    OpError Display() override;
    Result<int> AttachmentCount() const override;
    Result<AttachmentPtr> AttachmentAt(int index) const override;
    void NoteDone() override;

    // The file as it stands now.
    QString path() const;
    // Whether the mail can be read whole; why not, if it cannot. A mail fetched to be worked on
    // keeps what this parsed, so its attachments need no second parse.
    OpError checkReadable(bool keepParsed = false) const;

    // For the attachments, which name themselves by a key that survives deletions of others.
    Result<AttachmentInfo> attachmentInfo(int key) const;
    Result<qint64> attachmentSize(int key) const;
    OpError saveAttachment(int key, const QString& path);
    OpError deleteAttachment(int key);

  private:
    QString folderDir() const;
    const QString& subdirPath() const;
    CachedMail& cacheEntry() const;
    // Follows the mail when this store renamed it through another object.
    void followRenames() const;
    Result<MailHeadersPtr> headers() const;
    Result<MailStructurePtr> structure() const;
    OpError ensureParsed() const;
    Result<int> indexOfKey(int key) const;
    void moveTo(const MailFileEntry& file) const;

    MaildirStorePtr store_;
    std::shared_ptr<const void> listing_;
    QString folderId_;
    mutable MailFileEntry file_;
    mutable std::shared_ptr<ParsedMail> parsed_;
    mutable std::vector<int> keys_; // attachment keys in attachment order
    mutable bool keysReady_ = false;
    mutable std::map<int, qint64> sizes_; // decoded sizes by key, once asked for
    QString folderDir_;
    mutable quint64 seenMoves_;
    mutable std::shared_ptr<CachedMail> cached_; // this file's entry in the session's cache
    mutable QString subdirPath_;
    mutable QString subdirOfPath_;
    bool dirty_ = false;
};
