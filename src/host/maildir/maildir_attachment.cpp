#include "host/maildir/maildir_attachment.h"

#include "host/maildir/maildir_item.h"

MaildirAttachment::MaildirAttachment(std::shared_ptr<MaildirItem> item, int key)
    : item_(std::move(item)), key_(key) {}

Result<QString> MaildirAttachment::FileName() const {
    const Result<AttachmentInfo> info = item_->attachmentInfo(key_);
    return {info.value.fileName, info.error};
}

Result<int> MaildirAttachment::Type() const {
    const Result<AttachmentInfo> info = item_->attachmentInfo(key_);
    return {info.value.type, info.error};
}

Result<bool> MaildirAttachment::Hidden() const {
    return {false, OpError::none()};
}

Result<QString> MaildirAttachment::ContentId() const {
    const Result<AttachmentInfo> info = item_->attachmentInfo(key_);
    return {info.value.contentId, info.error};
}

Result<qint64> MaildirAttachment::Size() const {
    return item_->attachmentSize(key_);
}

OpError MaildirAttachment::SaveAsFile(const QString& path) {
    return item_->saveAttachment(key_, path);
}

OpError MaildirAttachment::Delete() {
    return item_->deleteAttachment(key_);
}
