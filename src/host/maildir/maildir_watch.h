#pragma once
// New-mail events for Maildir folders: inotify on new/ and cur/ through QFileSystemWatcher.
// A folder's items are compared by entry id with the last look, so a flag change or a move
// from new/ to cur/ is no new mail, and names that the store itself just wrote are ignored.
// The store's own saves change the folder too: a look at the names alone tells those apart
// cheaply, and changes that come in a burst are looked at once a second at most.
#include "host/new_mail.h"

#include <QElapsedTimer>
#include <QObject>
#include <QSet>
#include <functional>

class MaildirFolderWatch : public QObject, public ItemAddSubscription {
    Q_OBJECT
  public:
    using OwnWriteTest = std::function<bool(const QString& entryId)>;

    MaildirFolderWatch(MailFolderPtr folder, QString directory,
                       NewMailSource::ItemAddHandler handler, OwnWriteTest isOwnWrite);

    // Looks at the folder now and reports what is new since the last look.
    void scan();

  private:
    QSet<QString> currentIds(std::vector<MailItemPtr>* items) const;
    // Scans now, or once the pause after the last scan is over.
    void onDirectoryChanged();

    MailFolderPtr m_folder;
    QString m_directory;
    QElapsedTimer m_sinceScan;
    bool m_scanPending = false;
    NewMailSource::ItemAddHandler m_handler;
    OwnWriteTest m_isOwnWrite;
    QSet<QString> m_known;
    bool m_scanning = false;
    bool m_rescan = false;
};

// The directory of a Maildir folder from its store id (the root) and entry id.
QString MaildirFolderDirectory(const MailFolderPtr& folder);

// Subscribes with MaildirFolderWatch; `isOwnWrite` tells the store's own new names.
Result<std::unique_ptr<ItemAddSubscription>>
WatchMaildirFolder(const MailFolderPtr& folder, NewMailSource::ItemAddHandler handler,
                   MaildirFolderWatch::OwnWriteTest isOwnWrite);
