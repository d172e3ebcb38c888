#pragma once
// New-mail events for Maildir folders, from inotify on new/ and cur/. The events name the files
// that appeared, moved or went, so the watcher looks at those alone and keeps the store's index
// of the folder current (folder_index.h); the whole folder is looked at only at the start and
// after the kernel's event queue overflowed. A name whose unique part the folder held before
// (a flag change, a move from new/ to cur/) is no new mail, nor is a name the store itself
// just wrote.
#include "host/maildir/maildir_store.h"
#include "host/new_mail.h"

#include <QObject>
#include <QSet>

#include <deque>
#include <functional>
#include <memory>

class QSocketNotifier;

class MaildirFolderWatch : public QObject, public ItemAddSubscription {
    Q_OBJECT
  public:
    using OwnWriteTest = std::function<bool(const QString& entryId)>;

    // `inotifyFd` watches new/ and cur/ of `folder`'s directory already; the watch owns it.
    MaildirFolderWatch(MailFolderPtr folder, std::shared_ptr<MaildirShared> shared,
                       std::shared_ptr<FolderIndex> index, int inotifyFd, int newWd,
                       NewMailSource::ItemAddHandler handler, OwnWriteTest isOwnWrite);
    ~MaildirFolderWatch() override;

    // The full look: the folder read anew, and what is new since the last look reported.
    void fullLook();
    // Reads the events that wait and reports what they bring.
    void readEvents();

  private:
    // Reports the files of unique parts new to the folder, unless the store wrote them.
    void report(const std::vector<MailFileEntry>& files);
    void deliver();

    MailFolderPtr m_folder;
    std::shared_ptr<MaildirShared> m_shared;
    std::shared_ptr<FolderIndex> m_index;
    int m_fd;
    int m_newWd;
    QSocketNotifier* m_notifier;
    NewMailSource::ItemAddHandler m_handler;
    OwnWriteTest m_isOwnWrite;
    // Unique parts that left the folder in the last batch of events: a rename whose two
    // events came in two reads is no new mail.
    QSet<QString> m_justGone;
    std::deque<MailFileEntry> m_pending; // new mails still to report
    bool m_delivering = false;
};

// Subscribes with MaildirFolderWatch; `isOwnWrite` tells the store's own new names.
Result<std::unique_ptr<ItemAddSubscription>>
WatchMaildirFolder(const MailFolderPtr& folder, const std::shared_ptr<MaildirShared>& shared,
                   NewMailSource::ItemAddHandler handler,
                   MaildirFolderWatch::OwnWriteTest isOwnWrite);
