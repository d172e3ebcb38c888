#include "host/imap/imap_item.h"

#include "common/dates.h"
#include "data/log.h"
#include "host/imap/imap_folder.h"
#include "host/imap/imap_rewrite.h"
#include "host/mime/attachment_file.h"

#include <QDateTime>

#include <numeric>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// The whole mail as ParsedMail writes it.
Result<QByteArray> MailBytes(const ParsedMail& mail) {
    const int fd = ::memfd_create("stowaway-mail", MFD_CLOEXEC);
    if (fd < 0)
        return {{},
                OpError::make(ErrNo::IoError, QStringLiteral("Cannot make room for the new mail"))};
    QByteArray bytes;
    OpError error = mail.writeTo(fd);
    if (!error) {
        const off_t size = ::lseek(fd, 0, SEEK_END);
        bytes.resize(qsizetype(size));
        if (size < 0 || ::pread(fd, bytes.data(), size_t(size), 0) != size)
            error = OpError::make(ErrNo::IoError, QStringLiteral("Cannot read the new mail back"));
    }
    ::close(fd);
    return {bytes, error};
}

bool SameFlag(const QByteArray& a, const char* b) {
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

} // namespace

ImapItem::ImapItem(ImapStorePtr store, ImapMailbox mailbox, ImapMailId id, QSet<QByteArray> flags)
    : store_(std::move(store)), mailbox_(std::move(mailbox)), id_(id), flags_(std::move(flags)) {}

void ImapItem::follow() const {
    const ImapMailId now = store_->current(id_);
    if (now == id_) return;
    if (parsed_ && (rewrite_ || stamp_)) return; // our own changes belong to the version we read
    id_ = now;
    parsed_.reset();
    keys_.clear();
    sizes_.clear();
    // The replacement's flags are what the rewrite gave it; read them again when asked.
    UidFetchJob fetch(QByteArray::number(id_.uid), "FLAGS");
    if (!store_->runFor(id_, fetch) && fetch.mails.count(id_.uid))
        flags_ = fetch.mails[id_.uid].flags;
}

QString ImapItem::where() const {
    return store_->account().displayName() + QLatin1Char(' ') +
           DecodeMailboxName(mailbox_.rawName) + QLatin1Char(' ') + id_.entryId();
}

Result<MailHeadersPtr> ImapItem::headers() const {
    follow();
    if (auto known = store_->headers.find(id_); known != store_->headers.end())
        return {known->second, OpError::none()};
    if (parsed_) {
        auto h = std::make_shared<const MailHeaders>(parsed_->headers());
        store_->headers[id_] = h;
        return {h, OpError::none()};
    }
    UidFetchJob fetch(QByteArray::number(id_.uid), "BODY.PEEK[HEADER]");
    if (OpError e = store_->runFor(id_, fetch)) return {nullptr, e};
    const auto found = fetch.mails.find(id_.uid);
    if (found == fetch.mails.end() || !found->second.hasHeader)
        return {nullptr,
                OpError::make(
                    ErrNo::NotFound,
                    QStringLiteral("The mail %1 is no longer on the server").arg(id_.entryId()))};
    const auto parsed = ParsedMail::HeadersFromBytes(found->second.header, where());
    if (!parsed.ok()) return {nullptr, parsed.error};
    auto h = std::make_shared<const MailHeaders>(parsed.value);
    store_->headers[id_] = h;
    return {h, OpError::none()};
}

OpError ImapItem::ensureParsed() const {
    follow();
    if (parsed_) return OpError::none();
    const ImapStore::FetchedMail* mail = store_->recentlyFetched(id_);
    if (!mail) {
        UidFetchJob fetch(QByteArray::number(id_.uid), "FLAGS INTERNALDATE BODY.PEEK[]");
        if (OpError e = store_->runFor(id_, fetch)) return e;
        const auto found = fetch.mails.find(id_.uid);
        if (found == fetch.mails.end() || !found->second.hasBody)
            return OpError::make(
                ErrNo::NotFound,
                QStringLiteral("The mail %1 is no longer on the server").arg(id_.entryId()));
        if (found->second.hasFlags) flags_ = found->second.flags;
        mail = &store_->noteFetched({id_, found->second.body, found->second.internalDate});
    }
    auto parsed = ParsedMail::FromBytes(mail->bytes, where());
    if (!parsed.ok()) return parsed.error;
    parsed_ = std::move(parsed.value);
    internalDate_ = mail->internalDate;
    keys_.resize(parsed_->structure().attachments.size());
    std::iota(keys_.begin(), keys_.end(), 0);
    return OpError::none();
}

Result<int> ImapItem::Class() const {
    const Result<MailHeadersPtr> h = headers();
    if (!h.ok()) return {ItemClass::Mail, OpError::none()};
    if (h.value->isPost) return {ItemClass::Post, OpError::none()};
    if (h.value->topType == "multipart/report") return {ItemClass::Report, OpError::none()};
    if (h.value->topType == "text/calendar" && h.value->topMethod == "REQUEST")
        return {ItemClass::MeetingRequest, OpError::none()};
    if (h.value->topType.startsWith("multipart/") && !ensureParsed())
        return {parsed_->structure().itemClass, OpError::none()};
    return {ItemClass::Mail, OpError::none()};
}

Result<QString> ImapItem::EntryID() const {
    follow();
    return {id_.entryId(), OpError::none()};
}

Result<MailFolderPtr> ImapItem::Parent() const {
    return {std::make_shared<ImapFolder>(store_, mailbox_), OpError::none()};
}

Result<QString> ImapItem::StoreID() const {
    return {store_->account().storeId(), OpError::none()};
}

Result<QString> ImapItem::Subject() const {
    if (parsed_ && rewrite_) return {parsed_->headers().subject, OpError::none()};
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->subject : QString(), h.error};
}

OpError ImapItem::SetSubject(const QString& subject) {
    if (OpError e = ensureParsed()) return e;
    parsed_->setSubject(subject);
    rewrite_ = true;
    return OpError::none();
}

Result<bool> ImapItem::UnRead() const {
    follow();
    for (const QByteArray& f : flags_)
        if (SameFlag(f, "\\Seen")) return {false, OpError::none()};
    return {true, OpError::none()};
}

OpError ImapItem::storeFlags(bool add, const QByteArray& flag) {
    follow();
    UidStoreJob job(QByteArray::number(id_.uid), add, {flag});
    if (OpError e = store_->runFor(id_, job, true)) {
        WriteLog(QStringLiteral("! IMAP: cannot change the flags of %1: %2")
                     .arg(id_.entryId(), e.description));
        return e;
    }
    QSet<QByteArray> kept;
    for (const QByteArray& f : flags_)
        if (!SameFlag(f, flag.constData())) kept.insert(f);
    if (add) kept.insert(flag);
    flags_ = kept;
    return OpError::none();
}

OpError ImapItem::SetUnRead(bool unread) {
    if (UnRead().value == unread) return OpError::none();
    return storeFlags(!unread, "\\Seen");
}

Result<QString> ImapItem::SenderName() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->senderName : QString(), h.error};
}

Result<QString> ImapItem::SenderEmailAddress() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->senderAddress : QString(), h.error};
}

Result<std::vector<Recipient>> ImapItem::Recipients() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->recipients : std::vector<Recipient>{}, h.error};
}

Result<double> ImapItem::ReceivedTime() const {
    const Result<MailHeadersPtr> h = headers();
    QDateTime when = internalDate_;
    if (h.ok() && h.value->hasReceivedTime)
        when = QDateTime::fromSecsSinceEpoch(h.value->receivedTime);
    if (!when.isValid()) when = QDateTime::currentDateTime();
    return {DateToOle(when.toLocalTime()), OpError::none()};
}

Result<QString> ImapItem::Mileage() const {
    if (stamp_) return {*stamp_, OpError::none()};
    follow();
    for (const QByteArray& f : flags_)
        if (SameFlag(f, kStampKeyword))
            return {QString::fromLatin1(kStampKeyword), OpError::none()};
    if (store_->summaries().isStamped(id_.mailbox, id_.uidValidity, id_.uid))
        return {QString::fromLatin1(kStampKeyword), OpError::none()};
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->mileage : QString(), h.error};
}

OpError ImapItem::SetMileage(const QString& mileage) {
    if (OpError e = ensureParsed()) return e;
    stamp_ = mileage;
    return OpError::none();
}

Result<int> ImapItem::BodyFormat() const {
    if (OpError e = ensureParsed()) return {BodyFormat::Plain, e};
    return {parsed_->structure().hasHtmlBody ? BodyFormat::Html : BodyFormat::Plain,
            OpError::none()};
}

Result<QString> ImapItem::HTMLBody() const {
    if (OpError e = ensureParsed()) return {{}, e};
    return {parsed_->bodyText(true), OpError::none()};
}

OpError ImapItem::SetHTMLBody(const QString& html) {
    if (OpError e = ensureParsed()) return e;
    parsed_->setBody(true, html);
    rewrite_ = true;
    return OpError::none();
}

OpError ImapItem::SetRTFBody(const QString&) {
    return OpError::make(ErrNo::Failed, QStringLiteral("An IMAP mail has no rich-text body"));
}

Result<QString> ImapItem::Body() const {
    if (OpError e = ensureParsed()) return {{}, e};
    return {parsed_->bodyText(false), OpError::none()};
}

OpError ImapItem::SetBody(const QString& text) {
    if (OpError e = ensureParsed()) return e;
    parsed_->setBody(false, text);
    rewrite_ = true;
    return OpError::none();
}

OpError ImapItem::Save() {
    if (!parsed_ || (!rewrite_ && !stamp_)) return OpError::none();
    const Result<ImapMailboxState> state = store_->select(mailbox_.rawName, true);
    if (!state.ok()) return state.error;
    const bool keywords = state.value.keywordsAllowed() && !state.value.readOnly;
    const bool stamped = stamp_ && !stamp_->isEmpty();
    const bool hadHeaderStamp = headers().ok() && !headers().value->mileage.isEmpty();
    if (stamp_ && !stamped)
        store_->summaries().setStamped(id_.mailbox, id_.uidValidity, id_.uid, false);
    // The stamp is the keyword where the mailbox takes keywords; else, and to clear a stamp a
    // Maildir run wrote into the header, it is the header and the mail is written anew.
    bool rewrite = rewrite_;
    if (stamp_ && (!keywords || (!stamped && hadHeaderStamp))) {
        parsed_->setMileage(keywords ? QString() : *stamp_);
        rewrite = true;
    }
    if (!rewrite) {
        if (OpError e = storeFlags(stamped, kStampKeyword)) return e;
        stamp_.reset();
        return OpError::none();
    }
    QList<QByteArray> flags;
    for (const QByteArray& f : flags_)
        if (!SameFlag(f, "\\Recent") && !SameFlag(f, kStampKeyword) && !SameFlag(f, "\\Deleted"))
            flags << f;
    const bool keepKeyword = stamp_ ? stamped : flags_.contains(kStampKeyword);
    if (keywords && keepKeyword) flags << kStampKeyword;
    const Result<QByteArray> bytes = MailBytes(*parsed_);
    if (!bytes.ok()) return bytes.error;
    const Result<ImapMailId> fresh =
        ImapRewrite::Replace(*store_, id_, bytes.value, flags, internalDate_, parsed_->messageId());
    if (fresh.value.uid == 0) {
        WriteLog(QStringLiteral("! IMAP: the server did not take the changed mail %1, which stays "
                                "as it was: %2")
                     .arg(where(), fresh.error.description));
        // The stamp does not wait for the rewrite: a mail processed is not processed again.
        const bool stampKept = stamped && keepStamp(keywords);
        const bool onlyTheStamp = !rewrite_;
        parsed_.reset();
        keys_.clear();
        sizes_.clear();
        rewrite_ = false;
        stamp_.reset();
        return onlyTheStamp && stampKept ? OpError::none() : fresh.error;
    }
    if (fresh.error)
        WriteLog(
            QStringLiteral("! IMAP: the new mail is stored; the old one goes with the next run: ") +
            fresh.error.description);
    id_ = fresh.value;
    flags_ = QSet<QByteArray>(flags.begin(), flags.end());
    parsed_.reset();
    keys_.clear();
    sizes_.clear();
    rewrite_ = false;
    stamp_.reset();
    return OpError::none();
}

bool ImapItem::keepStamp(bool keywords) {
    if (keywords) return !storeFlags(true, kStampKeyword);
    store_->noteStamp(id_);
    return true;
}

Result<int> ImapItem::AttachmentCount() const {
    if (OpError e = ensureParsed()) return {0, e};
    return {int(keys_.size()), OpError::none()};
}

Result<AttachmentPtr> ImapItem::AttachmentAt(int index) const {
    if (OpError e = ensureParsed()) return {nullptr, e};
    if (index < 1 || index > int(keys_.size()))
        return {nullptr,
                OpError::make(ErrNo::Failed, QStringLiteral("No attachment number %1").arg(index))};
    auto self = std::const_pointer_cast<ImapItem>(shared_from_this());
    return {std::make_shared<ImapAttachment>(self, keys_[size_t(index - 1)]), OpError::none()};
}

void ImapItem::NoteDone() {
    if (rewrite_ || stamp_) return; // the version on the server is not the one looked at
    follow();
    store_->summaries().markDone(mailbox_.rawName, id_.uidValidity, id_.uid, flags_);
}

Result<int> ImapItem::indexOfKey(int key) const {
    if (OpError e = ensureParsed()) return {-1, e};
    const auto found = std::find(keys_.begin(), keys_.end(), key);
    if (found == keys_.end())
        return {-1, OpError::make(ErrNo::Failed, QStringLiteral("The attachment was removed"))};
    return {int(found - keys_.begin()), OpError::none()};
}

Result<AttachmentInfo> ImapItem::attachmentInfo(int key) const {
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return {{}, index.error};
    return {parsed_->structure().attachments[size_t(index.value)], OpError::none()};
}

Result<qint64> ImapItem::attachmentSize(int key) const {
    if (const auto known = sizes_.find(key); known != sizes_.end())
        return {known->second, OpError::none()};
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return {0, index.error};
    const qint64 size = parsed_->attachmentSize(index.value);
    sizes_[key] = size;
    return {size, OpError::none()};
}

OpError ImapItem::saveAttachment(int key, const QString& path) {
    const Result<AttachmentInfo> info = attachmentInfo(key);
    if (!info.ok()) return info.error;
    const int index = indexOfKey(key).value;
    const std::shared_ptr<ParsedMail> mail = parsed_;
    return WriteFileInFolder(path, info.value.fileName,
                             [&](int fd) { return mail->writeAttachment(index, fd); });
}

OpError ImapItem::deleteAttachment(int key) {
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return index.error;
    if (OpError e = parsed_->deleteAttachment(index.value)) return e;
    keys_.erase(keys_.begin() + index.value);
    rewrite_ = true;
    return OpError::none();
}

Result<QString> ImapAttachment::FileName() const {
    const Result<AttachmentInfo> info = item_->attachmentInfo(key_);
    return {info.value.fileName, info.error};
}

Result<int> ImapAttachment::Type() const {
    const Result<AttachmentInfo> info = item_->attachmentInfo(key_);
    return {info.value.type, info.error};
}

Result<QString> ImapAttachment::ContentId() const {
    const Result<AttachmentInfo> info = item_->attachmentInfo(key_);
    return {info.value.contentId, info.error};
}
