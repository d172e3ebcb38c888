#include "host/maildir/maildir_store.h"

#include "host/mime/parsed_mail.h"

const MailLocation* MaildirShared::find(const QString& entryId) const {
    QString id = entryId;
    // Follow the saves; the bound only guards against a cycle.
    for (int step = 0; step < 1000; ++step) {
        const auto next = successors.constFind(id);
        if (next == successors.constEnd()) break;
        id = *next;
    }
    const auto found = locations.constFind(id);
    return found == locations.constEnd() ? nullptr : &*found;
}

void MaildirShared::noteLocation(const QString& entryId, const MailLocation& location) {
    auto found = locations.find(entryId);
    if (found == locations.end()) {
        locations.insert(entryId, location);
    } else if (!found->samePlace(location)) {
        *found = location;
        ++moves;
    } else if (!location.listing.expired()) {
        found->listed = location.listed;
        found->listing = location.listing;
    }
}

void MaildirShared::noteSaved(const QString& oldId, const QString& newId,
                              const MailLocation& location) {
    if (newId != oldId) {
        locations.remove(oldId);
        successors.insert(oldId, newId);
    }
    locations.insert(newId, location);
    ++moves;
}

std::shared_ptr<ParsedMail> LastParsed::take(const QString& wanted, const FileIdentity& identity) {
    std::shared_ptr<ParsedMail> taken = std::move(mail);
    const bool same = taken && path == wanted && taken->identity().sameFile(identity);
    path.clear();
    return same ? taken : nullptr;
}

std::shared_ptr<FolderIndex> MaildirShared::index(const QString& folderDir) const {
    const auto found = indexes.constFind(folderDir);
    return found == indexes.constEnd() ? nullptr : found->lock();
}

void MaildirShared::noteRenamed(const QString& folderDir, const MailFileEntry& before,
                                const MailFileEntry& after) {
    const std::shared_ptr<FolderIndex> folder = index(folderDir);
    if (!folder) return;
    folder->refresh(before.subdir, before.name);
    folder->refresh(after.subdir, after.name);
}
