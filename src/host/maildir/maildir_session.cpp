#include "host/maildir/maildir_session.h"

#include "host/mime/deferred_sync.h"

#include "data/log.h"
#include "host/maildir/mail_files.h"
#include "host/maildir/maildir_folder.h"
#include "host/maildir/maildir_item.h"
#include "host/maildir/maildir_layout.h"
#include "host/maildir/maildir_names.h"
#include "host/maildir/maildir_watch.h"

#include <QDir>
#include <QFileInfo>

namespace {

QString CleanRoot(const QString& root) {
    return QDir::cleanPath(QFileInfo(root).absoluteFilePath());
}

OpError NoSuchMail(const QString& entryId) {
    return OpError::make(ErrNo::NotFound,
                         QStringLiteral("No mail with the id \"%1\"").arg(entryId));
}

} // namespace

MaildirSession::~MaildirSession() {
    SyncDeferred();
}

MaildirSession::MaildirSession(const std::vector<StoreSpec>& stores, const MailLimits& limits)
    : shared_(std::make_shared<MaildirShared>()) {
    shared_->limits = limits;
    for (const StoreSpec& spec : stores) {
        auto store = std::make_shared<MaildirStore>();
        store->root = CleanRoot(spec.root);
        store->name = spec.name.isEmpty() ? QFileInfo(store->root).fileName() : spec.name;
        if (store->name.isEmpty()) store->name = QStringLiteral("Maildir");
        store->shared = shared_;
        stores_.push_back(store);
        for (const FolderEntry& folder : AllMailFolders(store->root)) {
            const QString dir = FolderDirectory(store->root, folder.id);
            if (const int removed = RemoveStaleTempFiles(dir))
                WriteLog(QStringLiteral("Maildir: removed %1 stale temporary file(s) in %2/tmp")
                             .arg(removed)
                             .arg(dir));
        }
    }
}

MaildirStorePtr MaildirSession::findStore(const QString& storeId) const {
    // The StoreID as the store itself gives it, the usual case, needs no cleaning.
    for (const MaildirStorePtr& store : stores_)
        if (store->root == storeId) return store;
    const QString root = CleanRoot(storeId.trimmed());
    for (const MaildirStorePtr& store : stores_)
        if (store->root == root) return store;
    return nullptr;
}

Result<MailItemPtr> MaildirSession::itemAt(const MaildirStorePtr& store,
                                           const MailLocation& location,
                                           const FileIdentity& identity) {
    MailFileEntry file{location.subdir, location.name, identity};
    auto item = std::make_shared<MaildirItem>(store, location.folderId, file);
    // A mail the store cannot read whole is refused here, with the reason.
    if (OpError error = item->checkReadable(true)) return {nullptr, error};
    return {item, OpError::none()};
}

void MaildirSession::indexStore(const MaildirStorePtr& store) {
    for (const FolderEntry& folder : AllMailFolders(store->root)) {
        for (const MailFileEntry& file :
             ListMailFiles(FolderDirectory(store->root, folder.id)).value)
            shared_->noteLocation(
                MaildirUnique(file.name),
                MailLocation{store->root, folder.id, file.subdir, file.name, {}, {}});
    }
}

Result<MailItemPtr> MaildirSession::lookUp(const QString& entryId,
                                           const std::vector<MaildirStorePtr>& stores) {
    const QString id = entryId.trimmed();
    if (id.isEmpty() || id.contains(QLatin1Char('/'))) return {nullptr, NoSuchMail(id)};
    for (int attempt = 0; attempt < 2; ++attempt) {
        // Not seen yet, or moved since: look through the stores once.
        if (attempt == 1)
            for (const MaildirStorePtr& store : stores)
                indexStore(store);
        const std::optional<MailLocation> found = shared_->find(id);
        if (!found) continue;
        const MailLocation& location = *found;
        for (const MaildirStorePtr& store : stores) {
            if (store->root != location.root) continue;
            // A file gone since the listing fails here and is looked for below.
            if (const FileIdentity* listed = location.listedIdentity()) {
                Result<MailItemPtr> item = itemAt(store, location, *listed);
                if (item.ok()) return item;
            }
            const QString path = FolderDirectory(store->root, location.folderId) +
                                 QLatin1Char('/') + location.subdir + QLatin1Char('/') +
                                 location.name;
            FileIdentity identity;
            if (IdentityOfPath(path, identity)) return itemAt(store, location, identity);
        }
    }
    return findRenamed(id, stores);
}

Result<MailItemPtr> MaildirSession::findRenamed(const QString& entryId,
                                                const std::vector<MaildirStorePtr>& stores) {
    // The name the store last knew (after its own saves), and the folder it was in first.
    const std::optional<MailLocation> last = shared_->find(entryId);
    const QString lastId = last ? MaildirUnique(last->name) : entryId;
    const QString stem = UniqueStem(lastId);
    for (const MaildirStorePtr& store : stores) {
        std::vector<QString> folders;
        if (last && last->root == store->root) folders.push_back(last->folderId);
        for (const FolderEntry& folder : AllMailFolders(store->root))
            if (folders.empty() || folder.id != folders.front()) folders.push_back(folder.id);
        for (const QString& folderId : folders) {
            for (const MailFileEntry& file :
                 ListMailFiles(FolderDirectory(store->root, folderId)).value) {
                if (UniqueStem(MaildirUnique(file.name)) != stem) continue;
                const QString id = MaildirUnique(file.name);
                const MailLocation location{store->root, folderId, file.subdir, file.name, {}, {}};
                shared_->noteLocation(id, location);
                // The old id keeps leading here, as after the store's own saves.
                if (id != lastId) shared_->successors.insert(lastId, id);
                return itemAt(store, location, file.identity);
            }
        }
    }
    return {nullptr, NoSuchMail(entryId)};
}

Result<MailItemPtr> MaildirSession::GetMessageFromID(const QString& entryId,
                                                     const QString& storeId) {
    const MaildirStorePtr store = findStore(storeId);
    if (!store)
        return {nullptr, OpError::make(ErrNo::NotFound,
                                       QStringLiteral("No such Maildir store: ") + storeId)};
    return lookUp(entryId, {store});
}

Result<MailItemPtr> MaildirSession::GetMessageFromID(const QString& entryId) {
    return lookUp(entryId, stores_);
}

Result<MailFolderPtr> MaildirSession::GetFolderFromID(const QString& entryId,
                                                      const QString& storeId) {
    const MaildirStorePtr store = findStore(storeId);
    if (!store)
        return {nullptr, OpError::make(ErrNo::NotFound,
                                       QStringLiteral("No such Maildir store: ") + storeId)};
    const QString id = entryId.trimmed();
    if (!FolderExists(store->root, id))
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("No such mail folder: ") + id)};
    return {std::make_shared<MaildirFolder>(store, id), OpError::none()};
}

Result<MailFolderPtr> MaildirSession::GetDefaultInbox() {
    if (stores_.empty())
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("No Maildir store is open"))};
    const MaildirStorePtr& store = stores_.front();
    return {std::make_shared<MaildirFolder>(store, DefaultInboxId(store->root)), OpError::none()};
}

Result<std::vector<MailFolderPtr>> MaildirSession::Stores() {
    std::vector<MailFolderPtr> tops;
    for (const MaildirStorePtr& store : stores_)
        tops.push_back(std::make_shared<MaildirFolder>(store, FolderIds::Top));
    return {tops, OpError::none()};
}

Result<std::unique_ptr<ItemAddSubscription>>
MaildirSession::SubscribeItemAdd(const MailFolderPtr& folder, ItemAddHandler onItemAdd) {
    std::weak_ptr<MaildirShared> shared = shared_;
    return WatchMaildirFolder(folder, shared_, std::move(onItemAdd),
                              [shared](const QString& entryId) {
                                  const auto alive = shared.lock();
                                  return alive && alive->ownWrites.containsEntryId(entryId);
                              });
}

void MaildirSession::setOwnWriteListener(OwnWrites::Listener listener) {
    shared_->ownWrites.setListener(std::move(listener));
}
