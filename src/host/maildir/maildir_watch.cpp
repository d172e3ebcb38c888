#include "host/maildir/maildir_watch.h"

#include "host/maildir/maildir_names.h"
#include "host/mime/posix_files.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

#include <dirent.h>

namespace {

// The shortest time between two scans of one folder, so a run that saves mail after mail in
// a large folder does not list the folder after every save.
constexpr qint64 kScanPauseMs = 1000;

// The entry ids of the names in new/ and cur/: one directory read, no look at each file.
QSet<QString> NamedIds(const QString& directory) {
    QSet<QString> ids;
    for (const char* sub : {"/new", "/cur"}) {
        DIR* dir = ::opendir(EncodePath(directory + QLatin1String(sub)).constData());
        if (!dir) continue;
        while (const dirent* e = ::readdir(dir))
            if (e->d_name[0] != '.') ids.insert(MaildirUnique(QFile::decodeName(e->d_name)));
        ::closedir(dir);
    }
    return ids;
}

} // namespace

QString MaildirFolderDirectory(const MailFolderPtr& folder) {
    const QString root = folder->StoreID().value;
    const QString id = folder->EntryID().value;
    return id.isEmpty() || id == QLatin1String(".") ? root : root + QLatin1Char('/') + id;
}

MaildirFolderWatch::MaildirFolderWatch(MailFolderPtr folder, QString directory,
                                       NewMailSource::ItemAddHandler handler,
                                       OwnWriteTest isOwnWrite)
    : m_folder(std::move(folder)), m_directory(std::move(directory)), m_handler(std::move(handler)),
      m_isOwnWrite(std::move(isOwnWrite)) {
    auto* watcher = new QFileSystemWatcher(this);
    watcher->addPaths({m_directory + QStringLiteral("/new"), m_directory + QStringLiteral("/cur")});
    connect(watcher, &QFileSystemWatcher::directoryChanged, this, [this] { onDirectoryChanged(); });
    m_known = currentIds(nullptr) + NamedIds(m_directory);
    m_sinceScan.start();
}

void MaildirFolderWatch::onDirectoryChanged() {
    if (m_scanPending) return;
    const qint64 wait = kScanPauseMs - m_sinceScan.elapsed();
    if (wait <= 0) {
        scan();
        return;
    }
    m_scanPending = true;
    QTimer::singleShot(wait, this, [this] {
        m_scanPending = false;
        scan();
    });
}

QSet<QString> MaildirFolderWatch::currentIds(std::vector<MailItemPtr>* items) const {
    QSet<QString> ids;
    Result<std::vector<MailItemPtr>> all = m_folder->Items();
    for (const MailItemPtr& item : all.value) {
        const QString id = item->EntryID().value;
        ids.insert(id);
        if (items && !m_known.contains(id)) items->push_back(item);
    }
    return ids;
}

void MaildirFolderWatch::scan() {
    // A scan can be entered again through events pumped by the handler: note it and look once
    // more when the outer scan is done.
    if (m_scanning) {
        m_rescan = true;
        return;
    }
    m_scanning = true;
    do {
        m_rescan = false;
        // Names only first: renames and the store's own saves bring no id that is not known.
        const QSet<QString> named = NamedIds(m_directory);
        bool unknown = false;
        for (const QString& id : named)
            if (!m_known.contains(id) && !(m_isOwnWrite && m_isOwnWrite(id))) {
                unknown = true;
                break;
            }
        if (!unknown) {
            m_known = named;
            continue;
        }
        std::vector<MailItemPtr> added;
        m_known = currentIds(&added) + named;
        for (const MailItemPtr& item : added) {
            if (m_isOwnWrite && m_isOwnWrite(item->EntryID().value)) continue;
            m_handler(item);
        }
    } while (m_rescan);
    m_scanning = false;
    m_sinceScan.restart();
}

Result<std::unique_ptr<ItemAddSubscription>>
WatchMaildirFolder(const MailFolderPtr& folder, NewMailSource::ItemAddHandler handler,
                   MaildirFolderWatch::OwnWriteTest isOwnWrite) {
    const QString dir = MaildirFolderDirectory(folder);
    if (!QFileInfo(dir + QStringLiteral("/new")).isDir())
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("Not a Maildir folder: ") + dir)};
    std::unique_ptr<ItemAddSubscription> watch = std::make_unique<MaildirFolderWatch>(
        folder, dir, std::move(handler), std::move(isOwnWrite));
    return {std::move(watch), OpError::none()};
}
