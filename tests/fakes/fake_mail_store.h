#pragma once
// An in-memory mail store behind the mail-store seam. A message is kept once, as stored; every
// object handed out (a folder's item, a session fetch) is a view of its own that sees the stored
// message until it changes something, and a Save writes its changes back. Any operation can be
// told to fail. Attachments are saved to real files.
#include "fakes/fail_plan.h"
#include "host/mail_store.h"

#include <QByteArray>
#include <memory>
#include <optional>
#include <vector>

struct FakeAttachmentData {
    QString fileName;
    int type = AttachType::ByValue;
    bool hidden = false;
    QString contentId;
    QByteArray content;
    // SaveAsFile answers without an error but leaves no file.
    bool writesNothing = false;
    FailPlan fails; // "FileName", "SaveAsFile", "Delete", ...
};
using FakeAttachmentDataPtr = std::shared_ptr<FakeAttachmentData>;

struct FakeMessageData {
    QString entryId;
    int itemClass = ItemClass::Mail;
    QString subject;
    bool unread = true;
    QString senderName;
    QString senderAddress;
    std::vector<Recipient> recipients;
    double receivedTime = 0;
    bool hidePaperClip = false;
    QString mileage;
    int bodyFormat = BodyFormat::Plain;
    QString htmlBody;
    QString rtfBody;
    QString body;
    int internetCodepage = 0;
    std::vector<FakeAttachmentDataPtr> attachments;
};

class FakeFolder;

// One message as the store holds it.
class FakeMessage {
  public:
    FakeMessageData stored;
    FailPlan fails; // every MailItem operation by its name ("Save", "SetHTMLBody", ...)
    int saves = 0;
    std::weak_ptr<FakeFolder> folder;

    // Adds a file attachment and returns it for further settings.
    FakeAttachmentData& addAttachment(const QString& fileName, const QByteArray& content = "data");
};
using FakeMessagePtr = std::shared_ptr<FakeMessage>;

class FakeFolder : public MailFolder, public std::enable_shared_from_this<FakeFolder> {
  public:
    FakeFolder(QString name, QString entryId, QString storeId);

    std::shared_ptr<FakeFolder> addFolder(const QString& name);
    FakeMessagePtr addMessage(FakeMessageData data);
    // A new item of the folder over the stored message.
    MailItemPtr itemFor(const FakeMessagePtr& message);
    const std::vector<FakeMessagePtr>& messages() const { return m_messages; }
    const std::vector<std::shared_ptr<FakeFolder>>& folders() const { return m_folders; }

    Result<QString> Name() const override;
    Result<QString> EntryID() const override;
    Result<QString> StoreID() const override;
    Result<MailFolderPtr> Parent() const override;
    Result<std::vector<MailItemPtr>> Items() const override;
    Result<int> ItemCount() const override;
    Result<std::vector<MailFolderPtr>> Folders() const override;

    mutable FailPlan fails; // "Name", "Items", "StoreID", ...

  private:
    QString m_name;
    QString m_entryId;
    QString m_storeId;
    std::weak_ptr<FakeFolder> m_parent;
    std::vector<std::shared_ptr<FakeFolder>> m_folders;
    std::vector<FakeMessagePtr> m_messages;
};
using FakeFolderPtr = std::shared_ptr<FakeFolder>;

class FakeMailSession : public MailSession {
  public:
    // A store's top folder; its StoreID is `storeId`.
    FakeFolderPtr addStore(const QString& name, const QString& storeId);

    Result<MailItemPtr> GetMessageFromID(const QString& entryId, const QString& storeId) override;
    Result<MailItemPtr> GetMessageFromID(const QString& entryId) override;
    Result<MailFolderPtr> GetFolderFromID(const QString& entryId, const QString& storeId) override;
    Result<MailFolderPtr> GetDefaultInbox() override;
    Result<std::vector<MailFolderPtr>> Stores() override;

    // "GetMessageFromID/2" (with the store), "GetMessageFromID/1" (by EntryID alone), ...
    FailPlan fails;

  private:
    FakeMessagePtr findMessage(const QString& entryId, const QString* storeId) const;
    std::vector<FakeFolderPtr> m_stores;
};
