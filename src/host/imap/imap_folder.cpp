#include "host/imap/imap_folder.h"

#include "host/imap/imap_item.h"

ImapFolder::ImapFolder(ImapStorePtr store, ImapMailbox mailbox)
    : store_(std::move(store)), mailbox_(std::move(mailbox)) {}

Result<QString> ImapFolder::Name() const {
    if (isTop()) return {store_->account().displayName(), OpError::none()};
    if (mailbox_.delimiter.isNull()) return {mailbox_.name, OpError::none()};
    return {mailbox_.name.section(mailbox_.delimiter, -1), OpError::none()};
}

Result<QString> ImapFolder::EntryID() const {
    return {mailbox_.name, OpError::none()};
}

Result<QString> ImapFolder::StoreID() const {
    return {store_->account().storeId(), OpError::none()};
}

Result<MailFolderPtr> ImapFolder::Parent() const {
    if (isTop()) return {nullptr, OpError::none()};
    const qsizetype cut =
        mailbox_.delimiter.isNull() ? -1 : mailbox_.name.lastIndexOf(mailbox_.delimiter);
    if (cut > 0) {
        const Result<ImapMailbox> parent = store_->mailboxByName(mailbox_.name.left(cut));
        if (parent.ok())
            return {std::make_shared<ImapFolder>(store_, parent.value), OpError::none()};
    }
    return {std::make_shared<ImapFolder>(store_, ImapMailbox{}), OpError::none()};
}

Result<std::vector<MailItemPtr>> ImapFolder::Items() const {
    return itemsFrom(1);
}

Result<std::vector<MailItemPtr>> ImapFolder::ItemsNotDone() const {
    return itemsFrom(1, true);
}

Result<std::vector<MailItemPtr>> ImapFolder::itemsFrom(quint64 firstUid, bool leaveOutDone) const {
    std::vector<MailItemPtr> items;
    if (isTop() || !mailbox_.selectable()) return {items, OpError::none()};
    UidFetchJob fetch(QByteArray::number(firstUid) + ":*", "FLAGS");
    if (OpError e = store_->runIn(mailbox_.rawName, fetch)) return {{}, e};
    const quint64 validity = store_->select(mailbox_.rawName).value.uidValidity;
    items.reserve(fetch.mails.size());
    ImapSummaryCache& done = store_->summaries();
    if (leaveOutDone && firstUid == 1) {
        std::unordered_set<quint64> present;
        for (const auto& entry : fetch.mails)
            present.insert(entry.first);
        done.prune(mailbox_.rawName, validity, present);
    }
    for (auto& [uid, mail] : fetch.mails) {
        if (uid < firstUid) continue; // "n:*" names the last mail even below n
        if (leaveOutDone && done.isDone(mailbox_.rawName, validity, uid, mail.flags)) continue;
        items.push_back(
            std::make_shared<ImapItem>(store_, mailbox_, ImapMailId{validity, uid}, mail.flags));
    }
    return {items, OpError::none()};
}

Result<int> ImapFolder::ItemCount() const {
    const Result<std::vector<MailItemPtr>> items = Items();
    return {int(items.value.size()), items.error};
}

Result<std::vector<MailFolderPtr>> ImapFolder::Folders() const {
    const Result<std::vector<ImapMailbox>> boxes = store_->mailboxes();
    if (!boxes.ok()) return {{}, boxes.error};
    std::vector<MailFolderPtr> folders;
    for (const ImapMailbox& box : boxes.value) {
        if (box.flags.contains("\\NONEXISTENT")) continue;
        bool child = false;
        if (isTop()) {
            child = box.delimiter.isNull() || !box.name.contains(box.delimiter);
        } else if (!box.delimiter.isNull() && box.name.startsWith(mailbox_.name + box.delimiter)) {
            child = !box.name.mid(mailbox_.name.size() + 1).contains(box.delimiter);
        }
        if (child) folders.push_back(std::make_shared<ImapFolder>(store_, box));
    }
    return {folders, OpError::none()};
}
