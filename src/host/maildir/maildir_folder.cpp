#include "host/maildir/maildir_folder.h"

#include "host/maildir/mail_files.h"
#include "host/maildir/maildir_item.h"
#include "host/maildir/maildir_layout.h"
#include "host/maildir/maildir_names.h"

MaildirFolder::MaildirFolder(MaildirStorePtr store, QString id)
    : store_(std::move(store)), id_(std::move(id)) {}

Result<QString> MaildirFolder::Name() const {
    return {id_ == FolderIds::Top ? store_->name : FolderLevelName(id_), OpError::none()};
}

Result<QString> MaildirFolder::EntryID() const {
    return {id_, OpError::none()};
}

Result<QString> MaildirFolder::StoreID() const {
    return {store_->root, OpError::none()};
}

Result<MailFolderPtr> MaildirFolder::Parent() const {
    if (id_ == FolderIds::Top) return {nullptr, OpError::none()};
    return {std::make_shared<MaildirFolder>(store_, ParentFolderId(id_)), OpError::none()};
}

QString MaildirFolder::directory() const {
    return FolderDirectory(store_->root, id_);
}

OpError MaildirFolder::check(bool& hasMaildir) const {
    if (!FolderExists(store_->root, id_, &hasMaildir))
        return OpError::make(ErrNo::NotFound,
                             QStringLiteral("The mail folder is not there: ") + directory());
    if (id_ == FolderIds::Top) hasMaildir = false;
    return OpError::none();
}

std::vector<MailItemPtr> MaildirFolder::makeItems(std::vector<MailFileEntry>& files) const {
    const QString dir = directory();
    MaildirShared& shared = *store_->shared;
    // Held by every mail object of this listing; the locations see when all are gone.
    auto listing = std::make_shared<MailListing>();
    listing->identities.reserve(files.size());
    for (const MailFileEntry& file : files)
        listing->identities.push_back(file.identity);
    std::vector<MailItemPtr> items;
    items.reserve(files.size());
    for (quint32 row = 0; row < files.size(); ++row) {
        MailFileEntry& file = files[row];
        shared.noteLocation(MaildirUnique(file.name),
                            MailLocation{store_->root, id_, file.subdir, file.name, {}, {}},
                            listing, row);
        items.push_back(std::make_shared<MaildirItem>(store_, id_, std::move(file), dir, listing));
    }
    return items;
}

MailItemPtr MaildirFolder::itemOf(MailFileEntry file) const {
    std::vector<MailFileEntry> files{std::move(file)};
    return makeItems(files).front();
}

Result<std::vector<MailItemPtr>> MaildirFolder::Items() const {
    bool hasMaildir = false;
    if (OpError error = check(hasMaildir)) return {{}, error};
    if (!hasMaildir) return {{}, OpError::none()};
    const QString dir = directory();
    // A watched folder is known without a look at the disk.
    if (const auto index = store_->shared->index(dir)) {
        std::vector<MailFileEntry> files = index->entries(false);
        return {makeItems(files), OpError::none()};
    }
    Result<std::vector<MailFileEntry>> listed = ListMailFiles(dir);
    if (!listed.ok()) return {{}, listed.error};
    QSet<QString> inCur;
    QSet<QString> inNew;
    for (const MailFileEntry& file : listed.value)
        (file.subdir == QLatin1String("cur") ? inCur : inNew).insert(file.name);
    MaildirShared& shared = *store_->shared;
    shared.cache.prune(dir + QStringLiteral("/cur"), inCur);
    shared.cache.prune(dir + QStringLiteral("/new"), inNew);
    return {makeItems(listed.value), OpError::none()};
}

Result<std::vector<MailItemPtr>> MaildirFolder::ItemsNotDone() const {
    const auto index = store_->shared->index(directory());
    if (!index) return Items();
    bool hasMaildir = false;
    if (OpError error = check(hasMaildir)) return {{}, error};
    std::vector<MailFileEntry> files = index->entries(true);
    return {makeItems(files), OpError::none()};
}

Result<int> MaildirFolder::ItemCount() const {
    bool hasMaildir = false;
    if (OpError error = check(hasMaildir)) return {0, error};
    if (!hasMaildir) return {0, OpError::none()};
    if (const auto index = store_->shared->index(directory())) return {int(index->size()), {}};
    const Result<std::vector<MailFileEntry>> listed = ListMailFiles(directory());
    return {int(listed.value.size()), listed.error};
}

Result<std::vector<MailFolderPtr>> MaildirFolder::Folders() const {
    bool hasMaildir = false;
    if (OpError error = check(hasMaildir)) return {{}, error};
    std::vector<MailFolderPtr> folders;
    for (const FolderEntry& child : ChildFolders(store_->root, id_))
        folders.push_back(std::make_shared<MaildirFolder>(store_, child.id));
    return {folders, OpError::none()};
}
