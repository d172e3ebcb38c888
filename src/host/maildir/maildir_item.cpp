#include "host/maildir/maildir_item.h"

#include "common/dates.h"
#include "data/log.h"
#include "host/maildir/maildir_attachment.h"
#include "host/maildir/maildir_folder.h"
#include "host/maildir/maildir_layout.h"
#include "host/maildir/maildir_names.h"

#include "ui/user_interaction.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <numeric>

namespace {

// What a Maildir store keeps every body in.
constexpr int kUtf8CodePage = 65001;

OpError NoSuchAttachment() {
    return OpError::make(ErrNo::NotFound,
                         QStringLiteral("The attachment is no longer in the mail"));
}

} // namespace

MaildirItem::MaildirItem(MaildirStorePtr store, QString folderId, MailFileEntry file,
                         QString folderDir, std::shared_ptr<const void> listing)
    : store_(std::move(store)), listing_(std::move(listing)), folderId_(std::move(folderId)),
      file_(std::move(file)),
      folderDir_(folderDir.isEmpty() ? FolderDirectory(store_->root, folderId_)
                                     : std::move(folderDir)),
      seenMoves_(store_->shared->moves) {}

QString MaildirItem::folderDir() const {
    return folderDir_;
}

CachedMail& MaildirItem::cacheEntry() const {
    // Held on to: a walk over a folder reads several properties of every mail.
    if (!cached_ || !cached_->identity.sameFile(file_.identity))
        cached_ = store_->shared->cache.entry(subdirPath(), file_.name, file_.identity);
    return *cached_;
}

const QString& MaildirItem::subdirPath() const {
    // Asked for at every look into the cache; made anew only when the mail changed subfolder.
    if (subdirPath_.isEmpty() || subdirOfPath_ != file_.subdir) {
        subdirPath_ = folderDir_ + QLatin1Char('/') + file_.subdir;
        subdirOfPath_ = file_.subdir;
    }
    return subdirPath_;
}

QString MaildirItem::path() const {
    return subdirPath() + QLatin1Char('/') + file_.name;
}

void MaildirItem::moveTo(const MailFileEntry& file) const {
    const bool sameContent = file.identity.sameFile(file_.identity);
    file_ = file;
    cached_.reset();
    if (sameContent) return;
    parsed_.reset();
    keys_.clear();
    sizes_.clear();
    keysReady_ = false;
}

void MaildirItem::followRenames() const {
    if (dirty_) return; // our own changes belong to the version we read
    if (seenMoves_ == store_->shared->moves) return;
    seenMoves_ = store_->shared->moves;
    // Only the store's own renames can be followed, and the store notes each of them: a mail
    // still where the store last saw it needs no look at the disk.
    const std::optional<MailLocation> location = store_->shared->find(MaildirUnique(file_.name));
    if (!location || location->root != store_->root || location->folderId != folderId_) return;
    if (location->subdir == file_.subdir && location->name == file_.name) return;
    FileIdentity now;
    if (IdentityOfPath(path(), now)) return;
    MailFileEntry moved{location->subdir, location->name, {}};
    const QString movedPath =
        folderDir() + QLatin1Char('/') + moved.subdir + QLatin1Char('/') + moved.name;
    if (IdentityOfPath(movedPath, moved.identity)) moveTo(moved);
}

Result<MailHeadersPtr> MaildirItem::headers() const {
    followRenames();
    if (parsed_) return {std::make_shared<const MailHeaders>(parsed_->headers()), OpError::none()};
    CachedMail& cached = cacheEntry();
    if (!cached.headers && !cached.headersError) {
        Result<MailHeaders> read =
            ParsedMail::LoadHeaders(path(), &file_.identity, store_->shared->limits);
        if (read.ok())
            cached.headers = std::make_shared<const MailHeaders>(std::move(read.value));
        else
            cached.headersError = read.error;
    }
    return {cached.headers, cached.headersError};
}

Result<MailStructurePtr> MaildirItem::structure() const {
    followRenames();
    MailStructurePtr result;
    if (parsed_) {
        // Shares the parsed mail's own list, which follows deletions.
        result = MailStructurePtr(parsed_, &parsed_->structure());
    } else {
        CachedMail& cached = cacheEntry();
        if (!cached.structureRead) {
            cached.structureRead = true;
            const auto read = ParsedMail::LoadFile(path(), &file_.identity, store_->shared->limits);
            if (read.ok()) {
                cached.structure = std::make_shared<const MailStructure>(read.value->structure());
                if (!cached.headers)
                    cached.headers = std::make_shared<const MailHeaders>(read.value->headers());
                store_->shared->lastParsed = {path(), read.value};
            } else {
                cached.structureError = read.error;
            }
        }
        if (cached.structureError) return {nullptr, cached.structureError};
        result = cached.structure;
    }
    if (!keysReady_) {
        keys_.resize(result->attachments.size());
        std::iota(keys_.begin(), keys_.end(), 0);
        keysReady_ = true;
    }
    return {result, OpError::none()};
}

OpError MaildirItem::ensureParsed() const {
    followRenames();
    if (parsed_) return OpError::none();
    parsed_ = store_->shared->lastParsed.take(path(), file_.identity);
    if (parsed_) return OpError::none();
    auto read = ParsedMail::LoadFile(path(), &file_.identity, store_->shared->limits);
    if (!read.ok()) return read.error;
    parsed_ = std::move(read.value);
    return OpError::none();
}

OpError MaildirItem::checkReadable(bool keepParsed) const {
    if (keepParsed && !parsed_) {
        CachedMail& cached = cacheEntry();
        if (!cached.structureRead) {
            cached.structureRead = true;
            if (OpError error = ensureParsed()) {
                cached.structureError = error;
                return error;
            }
            cached.structure = std::make_shared<const MailStructure>(parsed_->structure());
            if (!cached.headers)
                cached.headers = std::make_shared<const MailHeaders>(parsed_->headers());
        }
    }
    return structure().error;
}

QString MaildirItem::TypeName() const {
    return QStringLiteral("MaildirMessage");
}

Result<int> MaildirItem::Class() const {
    const Result<MailHeadersPtr> h = headers();
    // A file whose headers cannot be read is still a mail; fetching it tells why it fails.
    if (!h.ok()) return {ItemClass::Mail, OpError::none()};
    if (h.value->isPost) return {ItemClass::Post, OpError::none()};
    if (h.value->topType == "multipart/report") return {ItemClass::Report, OpError::none()};
    if (h.value->topType == "text/calendar" && h.value->topMethod == "REQUEST")
        return {ItemClass::MeetingRequest, OpError::none()};
    if (h.value->topType.startsWith("multipart/")) {
        const Result<MailStructurePtr> s = structure();
        if (s.ok()) return {s.value->itemClass, OpError::none()};
    }
    return {ItemClass::Mail, OpError::none()};
}

Result<QString> MaildirItem::EntryID() const {
    return {MaildirUnique(file_.name), OpError::none()};
}

Result<MailFolderPtr> MaildirItem::Parent() const {
    return {std::make_shared<MaildirFolder>(store_, folderId_), OpError::none()};
}

Result<QString> MaildirItem::StoreID() const {
    return {store_->root, OpError::none()};
}

Result<QString> MaildirItem::Subject() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->subject : QString(), h.error};
}

OpError MaildirItem::SetSubject(const QString& subject) {
    if (OpError error = ensureParsed()) return error;
    parsed_->setSubject(subject);
    dirty_ = true;
    return OpError::none();
}

Result<bool> MaildirItem::UnRead() const {
    followRenames();
    return {!MaildirHasFlag(file_.name, QLatin1Char('S')), OpError::none()};
}

OpError MaildirItem::SetUnRead(bool unread) {
    followRenames();
    const MaildirFileName name = ParseMaildirFileName(file_.name);
    if (!name.flags.contains(QLatin1Char('S')) == unread) return OpError::none();
    const QString flags = unread ? FlagsWithout(name.flags, QLatin1Char('S'))
                                 : FlagsWith(name.flags, QLatin1Char('S'));
    MaildirShared& shared = *store_->shared;
    const Result<MailFileEntry> renamed =
        RenameMailFlags(folderDir(), file_, flags, shared.ownWrites);
    if (!renamed.ok()) return renamed.error;
    const QString oldDir = subdirPath();
    const MailFileEntry old = file_;
    file_ = renamed.value;
    shared.cache.rename(oldDir, old.name, subdirPath(), file_.name);
    shared.noteRenamed(folderDir(), old, file_);
    shared.noteLocation(name.unique,
                        MailLocation{store_->root, folderId_, file_.subdir, file_.name, {}, {}});
    seenMoves_ = shared.moves;
    return OpError::none();
}

Result<QString> MaildirItem::SenderName() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->senderName : QString(), h.error};
}

Result<QString> MaildirItem::SenderEmailAddress() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->senderAddress : QString(), h.error};
}

Result<std::vector<Recipient>> MaildirItem::Recipients() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->recipients : std::vector<Recipient>{}, h.error};
}

Result<double> MaildirItem::ReceivedTime() const {
    const Result<MailHeadersPtr> h = headers();
    qint64 seconds = file_.identity.mtime.tv_sec;
    if (h.ok() && h.value->hasReceivedTime) seconds = h.value->receivedTime;
    return {DateToOle(QDateTime::fromSecsSinceEpoch(seconds).toLocalTime()), OpError::none()};
}

Result<bool> MaildirItem::HidePaperClip() const {
    return {false, OpError::none()};
}

Result<QString> MaildirItem::Mileage() const {
    const Result<MailHeadersPtr> h = headers();
    return {h.ok() ? h.value->mileage : QString(), h.error};
}

OpError MaildirItem::SetMileage(const QString& mileage) {
    if (OpError error = ensureParsed()) return error;
    parsed_->setMileage(mileage);
    dirty_ = true;
    return OpError::none();
}

Result<int> MaildirItem::BodyFormat() const {
    const Result<MailStructurePtr> s = structure();
    if (!s.ok()) return {BodyFormat::Plain, s.error};
    return {s.value->hasHtmlBody ? BodyFormat::Html : BodyFormat::Plain, OpError::none()};
}

Result<QString> MaildirItem::HTMLBody() const {
    if (OpError error = ensureParsed()) return {{}, error};
    return {parsed_->bodyText(true), OpError::none()};
}

OpError MaildirItem::SetHTMLBody(const QString& html) {
    if (OpError error = ensureParsed()) return error;
    parsed_->setBody(true, html);
    dirty_ = true;
    return OpError::none();
}

Result<QString> MaildirItem::RTFBody() const {
    return {QString(), OpError::none()};
}

OpError MaildirItem::SetRTFBody(const QString&) {
    return OpError::make(ErrNo::Failed, QStringLiteral("A Maildir mail has no rich-text body"));
}

Result<QString> MaildirItem::Body() const {
    if (OpError error = ensureParsed()) return {{}, error};
    return {parsed_->bodyText(false), OpError::none()};
}

OpError MaildirItem::SetBody(const QString& text) {
    if (OpError error = ensureParsed()) return error;
    parsed_->setBody(false, text);
    dirty_ = true;
    return OpError::none();
}

Result<int> MaildirItem::InternetCodepage() const {
    return {kUtf8CodePage, OpError::none()};
}

OpError MaildirItem::Save() {
    if (!dirty_ || !parsed_) return OpError::none();
    MaildirShared& shared = *store_->shared;
    const std::shared_ptr<ParsedMail> mail = parsed_;
    const Result<QString> saved = ReplaceMailFile(
        folderDir(), file_.subdir, file_.name, file_.identity,
        [&](int fd) { return mail->writeTo(fd); }, shared.ownWrites);
    if (!saved.ok()) {
        WriteLog(QStringLiteral("! Maildir: the mail stays as it was: ") + saved.error.description);
        return saved.error;
    }
    const QString oldUnique = MaildirUnique(file_.name);
    const QString newUnique = MaildirUnique(saved.value);
    shared.cache.forget(subdirPath(), file_.name);
    const MailFileEntry old = file_;
    file_.name = saved.value;
    IdentityOfPath(path(), file_.identity);
    shared.noteRenamed(folderDir(), old, file_);
    shared.noteSaved(oldUnique, newUnique,
                     MailLocation{store_->root, folderId_, file_.subdir, file_.name, {}, {}});
    seenMoves_ = shared.moves;
    cached_.reset();
    dirty_ = false;
    return OpError::none();
}

OpError MaildirItem::Display() {
    // The handler gets a copy named as a mail file, so that it is found by the name and can
    // never change the store's file.
    const QString dir = QDir::tempPath() + QStringLiteral("/stowaway-view");
    if (!QDir().mkpath(dir))
        return OpError::make(ErrNo::IoError, QStringLiteral("Cannot make the folder ") + dir);
    QString name = MaildirUnique(file_.name);
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    const QString copy = dir + QLatin1Char('/') + name + QStringLiteral(".eml");
    QFile::remove(copy);
    if (!QFile::copy(path(), copy))
        return OpError::make(ErrNo::IoError, QStringLiteral("Cannot copy the mail to ") + copy);
    if (!ui().openWithShell(copy))
        return OpError::make(ErrNo::Failed,
                             QStringLiteral("No program of the desktop opens mail files"));
    return OpError::none();
}

Result<int> MaildirItem::AttachmentCount() const {
    const Result<MailStructurePtr> s = structure();
    return {s.ok() ? int(s.value->attachments.size()) : 0, s.error};
}

Result<AttachmentPtr> MaildirItem::AttachmentAt(int index) const {
    const Result<MailStructurePtr> s = structure();
    if (!s.ok()) return {nullptr, s.error};
    if (index < 1 || index > int(keys_.size()))
        return {nullptr,
                OpError::make(ErrNo::Failed, QStringLiteral("No attachment number %1").arg(index))};
    auto self = std::const_pointer_cast<MaildirItem>(shared_from_this());
    return {std::make_shared<MaildirAttachment>(self, keys_[size_t(index - 1)]), OpError::none()};
}

Result<int> MaildirItem::indexOfKey(int key) const {
    const Result<MailStructurePtr> s = structure();
    if (!s.ok()) return {-1, s.error};
    const auto found = std::find(keys_.begin(), keys_.end(), key);
    if (found == keys_.end()) return {-1, NoSuchAttachment()};
    return {int(found - keys_.begin()), OpError::none()};
}

Result<AttachmentInfo> MaildirItem::attachmentInfo(int key) const {
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return {{}, index.error};
    return {structure().value->attachments[size_t(index.value)], OpError::none()};
}

Result<qint64> MaildirItem::attachmentSize(int key) const {
    if (const auto known = sizes_.find(key); known != sizes_.end())
        return {known->second, OpError::none()};
    const Result<int> known = indexOfKey(key);
    if (!known.ok()) return {0, known.error};
    // The store keeps the sizes by place in the file, which the keys are while none of the
    // attachments before the last was deleted; a second look at a folder decodes nothing.
    const bool inFileOrder = keys_.back() == int(keys_.size()) - 1;
    if (inFileOrder) {
        const std::vector<qint64>& cached = cacheEntry().attachmentSizes;
        if (size_t(key) < cached.size() && cached[size_t(key)] >= 0) {
            sizes_[key] = cached[size_t(key)];
            return {cached[size_t(key)], OpError::none()};
        }
    }
    if (OpError error = ensureParsed()) return {0, error};
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return {0, index.error};
    const qint64 size = parsed_->attachmentSize(index.value);
    sizes_[key] = size;
    if (inFileOrder) {
        std::vector<qint64>& cached = cacheEntry().attachmentSizes;
        if (cached.size() != keys_.size()) cached.assign(keys_.size(), -1);
        cached[size_t(key)] = size;
    }
    return {size, OpError::none()};
}

OpError MaildirItem::saveAttachment(int key, const QString& target) {
    const Result<AttachmentInfo> info = attachmentInfo(key);
    if (!info.ok()) return info.error;
    if (OpError error = ensureParsed()) return error;
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return index.error;
    const std::shared_ptr<ParsedMail> mail = parsed_;
    return WriteFileInFolder(target, info.value.fileName,
                             [&](int fd) { return mail->writeAttachment(index.value, fd); });
}

OpError MaildirItem::deleteAttachment(int key) {
    if (OpError error = ensureParsed()) return error;
    const Result<int> index = indexOfKey(key);
    if (!index.ok()) return index.error;
    if (OpError error = parsed_->deleteAttachment(index.value)) return error;
    keys_.erase(keys_.begin() + index.value);
    dirty_ = true;
    return OpError::none();
}

void MaildirItem::NoteDone() {
    if (dirty_) return; // the version on disk is not the one looked at
    if (const auto index = store_->shared->index(folderDir()))
        index->markDone(file_.subdir, file_.name, file_.identity);
}
