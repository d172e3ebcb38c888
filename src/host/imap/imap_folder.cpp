#include "host/imap/imap_folder.h"

#include "host/imap/imap_item.h"

namespace {

// "1:3,7" for 1, 2, 3 and 7.
QByteArray UidSet(const std::set<quint64>& uids) {
    QByteArray set;
    for (auto it = uids.begin(); it != uids.end();) {
        const quint64 first = *it;
        quint64 last = first;
        while (++it != uids.end() && *it == last + 1)
            ++last;
        if (!set.isEmpty()) set += ',';
        set += QByteArray::number(first);
        if (last != first) set += ':' + QByteArray::number(last);
    }
    return set;
}

} // namespace

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
    if (isTop() || !mailbox_.selectable()) return {{}, OpError::none()};
    const Result<ImapMailboxState> state = store_->select(mailbox_.rawName);
    if (!state.ok()) return {{}, state.error};
    const QByteArray& raw = mailbox_.rawName;
    const quint64 validity = state.value.uidValidity;
    const bool modSeqs = state.value.condStore && !state.value.noModSeq;
    ImapSummaryCache& done = store_->summaries();
    const auto listed = store_->listings.find(raw);
    const bool known = listed != store_->listings.end() && listed->second.uidValidity == validity;
    const quint64 since = modSeqs && known ? done.modSeq(raw, validity) : 0;
    std::set<quint64> open = since ? listed->second.open : std::set<quint64>();
    // Since the last walk: the mails new or with other flags; the rest keep their notes' state.
    UidFetchJob fetch("1:*", modSeqs ? "FLAGS MODSEQ" : "FLAGS", since);
    if (OpError e = store_->runIn(raw, fetch)) return {{}, e};
    quint64 modSeq = since;
    for (const auto& [uid, mail] : fetch.mails)
        modSeq = std::max(modSeq, mail.modSeq);
    std::map<quint64, FetchedMail>& mails = fetch.mails;
    if (since) {
        // The mails left open by the last walk, unchanged since or gone.
        for (const auto& entry : mails)
            open.erase(entry.first);
        if (!open.empty()) {
            UidFetchJob again(UidSet(open), "FLAGS");
            if (OpError e = store_->runIn(raw, again)) return {{}, e};
            mails.merge(again.mails);
        }
    } else {
        std::unordered_set<quint64> present;
        for (const auto& entry : mails)
            present.insert(entry.first);
        done.prune(raw, validity, present);
    }
    std::vector<MailItemPtr> items;
    open.clear();
    for (const auto& [uid, mail] : mails) {
        if (done.isDone(raw, validity, uid, mail.flags)) continue;
        open.insert(uid);
        items.push_back(std::make_shared<ImapItem>(store_, mailbox_, ImapMailId{raw, validity, uid},
                                                   mail.flags));
    }
    if (modSeq) {
        done.setModSeq(raw, validity, modSeq);
        store_->listings[raw] = {validity, std::move(open)};
    } else {
        store_->listings.erase(raw);
    }
    return {items, OpError::none()};
}

Result<std::vector<MailItemPtr>> ImapFolder::itemsFrom(quint64 firstUid) const {
    std::vector<MailItemPtr> items;
    if (isTop() || !mailbox_.selectable()) return {items, OpError::none()};
    UidFetchJob fetch(QByteArray::number(firstUid) + ":*", "FLAGS");
    if (OpError e = store_->runIn(mailbox_.rawName, fetch)) return {{}, e};
    const QByteArray& raw = mailbox_.rawName;
    const quint64 validity = store_->select(raw).value.uidValidity;
    items.reserve(fetch.mails.size());
    for (auto& [uid, mail] : fetch.mails) {
        if (uid < firstUid) continue; // "n:*" names the last mail even below n
        items.push_back(std::make_shared<ImapItem>(store_, mailbox_, ImapMailId{raw, validity, uid},
                                                   mail.flags));
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
