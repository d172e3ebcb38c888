#include "host/maildir/maildir_store.h"

#include "host/mime/parsed_mail.h"

std::optional<MailLocation> MailLocations::find(const QString& entryId) const {
    const auto found = byId_.constFind(entryId);
    if (found == byId_.constEnd()) return std::nullopt;
    const Place& place = places_[found->place];
    MailLocation location{
        place.root, place.folderId, place.subdir, entryId + infos_[found->info], {}, {}};
    if (const std::shared_ptr<const MailListing> listing = found->listing.lock()) {
        location.listed = listing->identities[found->row];
        location.listing = listing;
    }
    return location;
}

bool MailLocations::note(const QString& entryId, const MailLocation& location,
                         const std::shared_ptr<const MailListing>& listing, quint32 row) {
    // A file name is its EntryID and the info after it.
    const QStringView info =
        QStringView(location.name)
            .sliced(location.name.startsWith(entryId) ? entryId.size() : location.name.size());
    Stored stored{listing, row, placeOf(location), infoOf(info)};
    auto found = byId_.find(entryId);
    if (found == byId_.end()) {
        byId_.insert(entryId, stored);
        return false;
    }
    const bool moved = found->place != stored.place || found->info != stored.info;
    if (moved || listing) *found = stored;
    return moved;
}

quint32 MailLocations::placeOf(const MailLocation& location) {
    // Mails come folder by folder: the place of the last one is tried first.
    const auto same = [&](const Place& p) {
        return p.subdir == location.subdir && p.folderId == location.folderId &&
               p.root == location.root;
    };
    if (lastPlace_ < places_.size() && same(places_[lastPlace_])) return lastPlace_;
    for (quint32 i = 0; i < places_.size(); ++i)
        if (same(places_[i])) return lastPlace_ = i;
    places_.push_back({location.root, location.folderId, location.subdir});
    return lastPlace_ = quint32(places_.size() - 1);
}

quint32 MailLocations::infoOf(QStringView info) {
    const QString key = info.toString();
    const auto found = infoIndex_.constFind(key);
    if (found != infoIndex_.constEnd()) return *found;
    infos_.push_back(key);
    infoIndex_.insert(key, quint32(infos_.size() - 1));
    return quint32(infos_.size() - 1);
}

std::optional<MailLocation> MaildirShared::find(const QString& entryId) const {
    QString id = entryId;
    // Follow the saves; the bound only guards against a cycle.
    for (int step = 0; step < 1000; ++step) {
        const auto next = successors.constFind(id);
        if (next == successors.constEnd()) break;
        id = *next;
    }
    return locations.find(id);
}

void MaildirShared::noteLocation(const QString& entryId, const MailLocation& location,
                                 const std::shared_ptr<const MailListing>& listing, quint32 row) {
    if (locations.note(entryId, location, listing, row)) ++moves;
}

void MaildirShared::noteSaved(const QString& oldId, const QString& newId,
                              const MailLocation& location) {
    if (newId != oldId) {
        locations.remove(oldId);
        successors.insert(oldId, newId);
    }
    locations.note(newId, location);
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
