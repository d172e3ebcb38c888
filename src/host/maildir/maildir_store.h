#pragma once
// What the folders and mails of one Maildir store share: its root and name, and the session's
// parse cache, own-write list, limits and the index from a mail's id to its file.
#include "host/maildir/folder_index.h"
#include "host/maildir/mail_cache.h"
#include "host/mime/mime_prescan.h"
#include "host/maildir/own_writes.h"
#include "host/mime/posix_files.h"

#include <QHash>
#include <QString>

#include <memory>

struct MailLocation {
    QString root; // the store
    QString folderId;
    QString subdir; // "cur" or "new"
    QString name;
    // What a folder listing saw of the file, and that listing: the mail objects it made hold it.
    FileIdentity listed;
    std::weak_ptr<const void> listing;

    bool samePlace(const MailLocation& o) const {
        return name == o.name && subdir == o.subdir && folderId == o.folderId && root == o.root;
    }
    // The identity the listing saw, while any mail object of that listing is still held: a walk
    // fetches each mail it listed, and a second stat of the same file would cost as much as the
    // listing itself. Once the walk lets go of its listing, a fetch looks at the file again.
    const FileIdentity* listedIdentity() const { return listing.expired() ? nullptr : &listed; }
};

class ParsedMail;

// The mail parsed last for its attachment list, kept for the object that asks for it next: the
// driver looks at a mail's attachments and then fetches the mail to work on it.
struct LastParsed {
    QString path;
    std::shared_ptr<ParsedMail> mail;

    // The kept mail if it is the one of `path` and `identity`; the slot is empty afterwards.
    std::shared_ptr<ParsedMail> take(const QString& path, const FileIdentity& identity);
};

struct MaildirShared {
    MailCache cache;
    LastParsed lastParsed;
    OwnWrites ownWrites;
    MailLimits limits;
    QHash<QString, MailLocation> locations; // by EntryID
    // A Save gives a mail a new EntryID; the old one keeps leading to it.
    QHash<QString, QString> successors;
    // Counts the changes to where mails are: a mail object that saw the same count needs no
    // look for a move of its file.
    quint64 moves = 0;
    // The folders a watcher keeps an index of, by directory; the watchers own them.
    QHash<QString, std::weak_ptr<FolderIndex>> indexes;

    // Where the mail of an EntryID (or of one it was saved from) was last seen.
    const MailLocation* find(const QString& entryId) const;
    void noteLocation(const QString& entryId, const MailLocation& location);
    void noteSaved(const QString& oldId, const QString& newId, const MailLocation& location);
    // The index a watcher keeps of the folder at `folderDir`; null when none is watching.
    std::shared_ptr<FolderIndex> index(const QString& folderDir) const;
    // The store renamed or replaced a file of a folder: its index learns at once, before the
    // watcher's events come.
    void noteRenamed(const QString& folderDir, const MailFileEntry& before,
                     const MailFileEntry& after);
};

struct MaildirStore {
    QString root; // absolute, without a trailing "/": the StoreID
    QString name; // the name of the store's top level
    std::shared_ptr<MaildirShared> shared;
};
using MaildirStorePtr = std::shared_ptr<const MaildirStore>;
