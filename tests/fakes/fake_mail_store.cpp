#include "fakes/fake_mail_store.h"

#include <QFileInfo>
#include <QSaveFile>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

template <class T> Result<T> Answer(FailPlan& plan, const QString& operation, T value) {
    if (OpError error = plan.check(operation)) return {T{}, error};
    return {std::move(value), {}};
}

class FakeMail;

class FakeAttachment final : public Attachment {
  public:
    FakeAttachment(std::weak_ptr<FakeMail> mail, FakeAttachmentDataPtr data)
        : m_mail(std::move(mail)), m_data(std::move(data)) {}

    Result<QString> FileName() const override {
        return Answer(m_data->fails, u"FileName"_s, m_data->fileName);
    }
    Result<int> Type() const override { return Answer(m_data->fails, u"Type"_s, m_data->type); }
    Result<bool> Hidden() const override {
        return Answer(m_data->fails, u"Hidden"_s, m_data->hidden);
    }
    Result<QString> ContentId() const override {
        return Answer(m_data->fails, u"ContentId"_s, m_data->contentId);
    }
    Result<qint64> Size() const override {
        return Answer(m_data->fails, u"Size"_s, static_cast<qint64>(m_data->content.size()));
    }
    OpError SaveAsFile(const QString& path) override;
    OpError Delete() override;

  private:
    std::weak_ptr<FakeMail> m_mail;
    FakeAttachmentDataPtr m_data;
};

class FakeMail final : public MailItem, public std::enable_shared_from_this<FakeMail> {
  public:
    explicit FakeMail(FakeMessagePtr message) : m_message(std::move(message)) {}

    QString TypeName() const override { return u"FakeMail"_s; }
    Result<int> Class() const override { return get(u"Class"_s, data().itemClass); }
    Result<QString> EntryID() const override { return get(u"EntryID"_s, data().entryId); }
    Result<MailFolderPtr> Parent() const override {
        return get<MailFolderPtr>(u"Parent"_s, m_message->folder.lock());
    }
    Result<QString> StoreID() const override {
        const FakeFolderPtr folder = m_message->folder.lock();
        return get(u"StoreID"_s, folder ? folder->StoreID().value : QString());
    }
    Result<QString> Subject() const override { return get(u"Subject"_s, data().subject); }
    OpError SetSubject(const QString& subject) override {
        return set(u"SetSubject"_s, [&](FakeMessageData& d) { d.subject = subject; });
    }
    Result<bool> UnRead() const override { return get(u"UnRead"_s, data().unread); }
    OpError SetUnRead(bool unread) override {
        return set(u"SetUnRead"_s, [&](FakeMessageData& d) { d.unread = unread; });
    }
    Result<QString> SenderName() const override { return get(u"SenderName"_s, data().senderName); }
    Result<QString> SenderEmailAddress() const override {
        return get(u"SenderEmailAddress"_s, data().senderAddress);
    }
    Result<std::vector<Recipient>> Recipients() const override {
        return get(u"Recipients"_s, data().recipients);
    }
    Result<double> ReceivedTime() const override {
        return get(u"ReceivedTime"_s, data().receivedTime);
    }
    Result<bool> HidePaperClip() const override {
        return get(u"HidePaperClip"_s, data().hidePaperClip);
    }
    Result<QString> Mileage() const override { return get(u"Mileage"_s, data().mileage); }
    OpError SetMileage(const QString& mileage) override {
        return set(u"SetMileage"_s, [&](FakeMessageData& d) { d.mileage = mileage; });
    }
    Result<int> BodyFormat() const override { return get(u"BodyFormat"_s, data().bodyFormat); }
    Result<QString> HTMLBody() const override { return get(u"HTMLBody"_s, data().htmlBody); }
    OpError SetHTMLBody(const QString& html) override {
        return set(u"SetHTMLBody"_s, [&](FakeMessageData& d) { d.htmlBody = html; });
    }
    Result<QString> RTFBody() const override { return get(u"RTFBody"_s, data().rtfBody); }
    OpError SetRTFBody(const QString& rtf) override {
        return set(u"SetRTFBody"_s, [&](FakeMessageData& d) { d.rtfBody = rtf; });
    }
    Result<QString> Body() const override { return get(u"Body"_s, data().body); }
    OpError SetBody(const QString& text) override {
        return set(u"SetBody"_s, [&](FakeMessageData& d) { d.body = text; });
    }
    Result<int> InternetCodepage() const override {
        return get(u"InternetCodepage"_s, data().internetCodepage);
    }
    OpError SetInternetCodepage(int codepage) override {
        return set(u"SetInternetCodepage"_s,
                   [&](FakeMessageData& d) { d.internetCodepage = codepage; });
    }
    OpError Save() override {
        if (OpError error = m_message->fails.check(u"Save"_s)) return error;
        if (m_working) {
            m_message->stored = *m_working;
            m_working.reset();
        }
        ++m_message->saves;
        return {};
    }
    Result<int> AttachmentCount() const override {
        return get(u"AttachmentCount"_s, static_cast<int>(data().attachments.size()));
    }
    Result<AttachmentPtr> AttachmentAt(int index) const override {
        const QString op = u"AttachmentAt(%1)"_s.arg(index);
        if (OpError error = m_message->fails.check(op)) return {nullptr, error};
        const auto& list = data().attachments;
        if (index < 1 || index > static_cast<int>(list.size()))
            return {nullptr, OpError::make(ErrNo::Failed, u"Array index out of bounds"_s)};
        auto self = std::const_pointer_cast<FakeMail>(shared_from_this());
        return {std::make_shared<FakeAttachment>(self, list[static_cast<size_t>(index - 1)]), {}};
    }

    // Removes the attachment from this object's copy of the message.
    OpError removeAttachment(const FakeAttachmentDataPtr& attachment) {
        auto& list = edit().attachments;
        const auto it = std::find(list.begin(), list.end(), attachment);
        if (it == list.end()) return OpError::make(ErrNo::Failed, u"Attachment already removed"_s);
        list.erase(it);
        return {};
    }

  private:
    const FakeMessageData& data() const { return m_working ? *m_working : m_message->stored; }
    FakeMessageData& edit() {
        if (!m_working) m_working = m_message->stored;
        return *m_working;
    }
    template <class T> Result<T> get(const QString& op, T value) const {
        return Answer(m_message->fails, op, std::move(value));
    }
    OpError set(const QString& op, const std::function<void(FakeMessageData&)>& change) {
        if (OpError error = m_message->fails.check(op)) return error;
        change(edit());
        return {};
    }

    FakeMessagePtr m_message;
    std::optional<FakeMessageData> m_working;
};

OpError FakeAttachment::SaveAsFile(const QString& path) {
    if (OpError error = m_data->fails.check(u"SaveAsFile"_s))
        return error; // like a real store: nothing half-written is left
    if (m_data->writesNothing) return {};
    QSaveFile file(path);
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly)) return OpError::make(ErrNo::IoError, file.errorString());
    file.write(m_data->content);
    if (!file.commit()) return OpError::make(ErrNo::IoError, file.errorString());
    return {};
}

OpError FakeAttachment::Delete() {
    if (OpError error = m_data->fails.check(u"Delete"_s)) return error;
    const std::shared_ptr<FakeMail> mail = m_mail.lock();
    if (!mail) return OpError::make(ErrNo::Failed, u"Mail released"_s);
    return mail->removeAttachment(m_data);
}

} // namespace

FakeAttachmentData& FakeMessage::addAttachment(const QString& fileName, const QByteArray& content) {
    auto data = std::make_shared<FakeAttachmentData>();
    data->fileName = fileName;
    data->content = content;
    stored.attachments.push_back(data);
    return *data;
}

FakeFolder::FakeFolder(QString name, QString entryId, QString storeId)
    : m_name(std::move(name)), m_entryId(std::move(entryId)), m_storeId(std::move(storeId)) {}

FakeFolderPtr FakeFolder::addFolder(const QString& name) {
    const QString entryId =
        m_entryId == QLatin1String(".") ? name : m_entryId + QLatin1Char('/') + name;
    auto folder = std::make_shared<FakeFolder>(name, entryId, m_storeId);
    folder->m_parent = weak_from_this();
    m_folders.push_back(folder);
    return folder;
}

FakeMessagePtr FakeFolder::addMessage(FakeMessageData data) {
    auto message = std::make_shared<FakeMessage>();
    if (data.entryId.isEmpty())
        data.entryId = m_entryId + u"#"_s + QString::number(m_messages.size() + 1);
    message->stored = std::move(data);
    message->folder = weak_from_this();
    m_messages.push_back(message);
    return message;
}

MailItemPtr FakeFolder::itemFor(const FakeMessagePtr& message) {
    return std::make_shared<FakeMail>(message);
}

Result<QString> FakeFolder::Name() const {
    return Answer(fails, u"Name"_s, m_name);
}
Result<QString> FakeFolder::EntryID() const {
    return Answer(fails, u"EntryID"_s, m_entryId);
}
Result<QString> FakeFolder::StoreID() const {
    return Answer(fails, u"StoreID"_s, m_storeId);
}
Result<MailFolderPtr> FakeFolder::Parent() const {
    return Answer<MailFolderPtr>(fails, u"Parent"_s, m_parent.lock());
}
Result<std::vector<MailItemPtr>> FakeFolder::Items() const {
    std::vector<MailItemPtr> items;
    for (const FakeMessagePtr& message : m_messages)
        items.push_back(std::make_shared<FakeMail>(message));
    return Answer(fails, u"Items"_s, std::move(items));
}
Result<int> FakeFolder::ItemCount() const {
    return Answer(fails, u"ItemCount"_s, static_cast<int>(m_messages.size()));
}
Result<std::vector<MailFolderPtr>> FakeFolder::Folders() const {
    return Answer(fails, u"Folders"_s,
                  std::vector<MailFolderPtr>(m_folders.begin(), m_folders.end()));
}

FakeFolderPtr FakeMailSession::addStore(const QString& name, const QString& storeId) {
    auto top = std::make_shared<FakeFolder>(name, u"."_s, storeId);
    m_stores.push_back(top);
    return top;
}

namespace {
FakeMessagePtr FindIn(const FakeFolderPtr& folder, const QString& entryId) {
    for (const FakeMessagePtr& message : folder->messages())
        if (message->stored.entryId == entryId) return message;
    for (const FakeFolderPtr& sub : folder->folders())
        if (FakeMessagePtr found = FindIn(sub, entryId)) return found;
    return nullptr;
}

FakeFolderPtr FindFolderIn(const FakeFolderPtr& folder, const QString& entryId) {
    if (folder->EntryID().value == entryId) return folder;
    for (const FakeFolderPtr& sub : folder->folders())
        if (FakeFolderPtr found = FindFolderIn(sub, entryId)) return found;
    return nullptr;
}
} // namespace

FakeMessagePtr FakeMailSession::findMessage(const QString& entryId, const QString* storeId) const {
    for (const FakeFolderPtr& store : m_stores) {
        if (storeId && store->StoreID().value != *storeId) continue;
        if (FakeMessagePtr found = FindIn(store, entryId)) return found;
    }
    return nullptr;
}

Result<MailItemPtr> FakeMailSession::GetMessageFromID(const QString& entryId,
                                                      const QString& storeId) {
    if (OpError error = fails.check(u"GetMessageFromID/2"_s)) return {nullptr, error};
    const FakeMessagePtr message = findMessage(entryId, &storeId);
    if (!message) return {nullptr, OpError::make(ErrNo::NotFound, u"Message not found"_s)};
    return {std::make_shared<FakeMail>(message), {}};
}

Result<MailItemPtr> FakeMailSession::GetMessageFromID(const QString& entryId) {
    if (OpError error = fails.check(u"GetMessageFromID/1"_s)) return {nullptr, error};
    const FakeMessagePtr message = findMessage(entryId, nullptr);
    if (!message) return {nullptr, OpError::make(ErrNo::NotFound, u"Message not found"_s)};
    return {std::make_shared<FakeMail>(message), {}};
}

Result<MailFolderPtr> FakeMailSession::GetFolderFromID(const QString& entryId,
                                                       const QString& storeId) {
    if (OpError error = fails.check(u"GetFolderFromID"_s)) return {nullptr, error};
    for (const FakeFolderPtr& store : m_stores)
        if (storeId.isEmpty() || store->StoreID().value == storeId)
            if (FakeFolderPtr found = FindFolderIn(store, entryId)) return {found, {}};
    return {nullptr, OpError::make(ErrNo::NotFound, u"Folder not found"_s)};
}

Result<MailFolderPtr> FakeMailSession::GetDefaultInbox() {
    if (OpError error = fails.check(u"GetDefaultInbox"_s)) return {nullptr, error};
    for (const FakeFolderPtr& store : m_stores)
        for (const FakeFolderPtr& sub : store->folders())
            if (sub->Name().value == QLatin1String("Inbox")) return {sub, {}};
    return {nullptr, OpError::make(ErrNo::NotFound, u"No inbox"_s)};
}

Result<std::vector<MailFolderPtr>> FakeMailSession::Stores() {
    if (OpError error = fails.check(u"Stores"_s)) return {{}, error};
    return {std::vector<MailFolderPtr>(m_stores.begin(), m_stores.end()), {}};
}
