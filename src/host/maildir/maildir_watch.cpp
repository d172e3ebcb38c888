#include "host/maildir/maildir_watch.h"

#include <QDir>
#include <QFileInfo>
#include <QFileSystemWatcher>

QString MaildirFolderDirectory(const MailFolderPtr& folder) {
    const QString root = folder->StoreID().value;
    const QString id = folder->EntryID().value;
    return id.isEmpty() || id == QLatin1String(".") ? root : root + QLatin1Char('/') + id;
}

MaildirFolderWatch::MaildirFolderWatch(MailFolderPtr folder, QString directory,
                                       NewMailSource::ItemAddHandler handler, OwnWriteTest isOwnWrite)
    : m_folder(std::move(folder)), m_handler(std::move(handler)), m_isOwnWrite(std::move(isOwnWrite)) {
    auto* watcher = new QFileSystemWatcher(this);
    watcher->addPaths({directory + QStringLiteral("/new"), directory + QStringLiteral("/cur")});
    connect(watcher, &QFileSystemWatcher::directoryChanged, this, [this] { scan(); });
    m_known = currentIds(nullptr);
}

QSet<QString> MaildirFolderWatch::currentIds(std::vector<MailItemPtr>* items) const {
    QSet<QString> ids;
    Result<std::vector<MailItemPtr>> all = m_folder->Items();
    for (const MailItemPtr& item : all.value) {
        const QString id = item->EntryID().value;
        ids.insert(id);
        if (items && !m_known.contains(id))
            items->push_back(item);
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
        std::vector<MailItemPtr> added;
        m_known = currentIds(&added);
        for (const MailItemPtr& item : added) {
            if (m_isOwnWrite && m_isOwnWrite(item->EntryID().value))
                continue;
            m_handler(item);
        }
    } while (m_rescan);
    m_scanning = false;
}

Result<std::unique_ptr<ItemAddSubscription>>
WatchMaildirFolder(const MailFolderPtr& folder, NewMailSource::ItemAddHandler handler,
                   MaildirFolderWatch::OwnWriteTest isOwnWrite) {
    const QString dir = MaildirFolderDirectory(folder);
    if (!QFileInfo(dir + QStringLiteral("/new")).isDir())
        return {nullptr, OpError::make(ErrNo::NotFound,
                                       QStringLiteral("Not a Maildir folder: ") + dir)};
    std::unique_ptr<ItemAddSubscription> watch =
        std::make_unique<MaildirFolderWatch>(folder, dir, std::move(handler), std::move(isOwnWrite));
    return {std::move(watch), OpError::none()};
}
