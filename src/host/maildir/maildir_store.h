#pragma once
// What the folders and mails of one Maildir store share: its root and name, and the session's
// parse cache, own-write list, limits and the index from a mail's id to its file.
#include "host/maildir/folder_index.h"
#include "host/maildir/mail_cache.h"
#include "host/maildir/own_writes.h"
#include "host/mime/mime_prescan.h"
#include "host/mime/posix_files.h"

#include <QHash>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

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

// The identities of the files a folder listing saw, by their row in it; the listing's mail
// objects hold it.
struct MailListing {
    std::vector<FileIdentity> identities;
};

// Where the mails the store has seen are, by EntryID, in a few bytes a mail beside its id: a
// big folder is listed whole, and every mail of it is noted.
class MailLocations {
  public:
    // Where the mail of that id was last seen; the identity of its listing while that lives.
    std::optional<MailLocation> find(const QString& entryId) const;
    // Notes `location`; true when the mail was known elsewhere before. `row` is the mail's row in
    // `listing` (then `location.listed` is not looked at).
    bool note(const QString& entryId, const MailLocation& location,
              const std::shared_ptr<const MailListing>& listing = {}, quint32 row = 0);
    void remove(const QString& entryId) { byId_.remove(entryId); }
    qsizetype size() const { return byId_.size(); }

  private:
    struct Place {
        QString root;
        QString folderId;
        QString subdir;
    };
    struct Stored {
        std::weak_ptr<const MailListing> listing;
        quint32 row = 0;
        quint32 place = 0; // in places_
        quint32 info = 0;  // in infos_: the file name after the EntryID (":2,S")
    };
    quint32 placeOf(const MailLocation& location);
    quint32 infoOf(QStringView info);

    QHash<QString, Stored> byId_;
    std::vector<Place> places_;
    quint32 lastPlace_ = 0;
    std::vector<QString> infos_;
    QHash<QString, quint32> infoIndex_;
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
    MailLocations locations;
    // A Save gives a mail a new EntryID; the old one keeps leading to it (a protocol record
    // made before the save names the old one).
    QHash<QString, QString> successors;
    // Counts the changes to where mails are: a mail object that saw the same count needs no
    // look for a move of its file.
    quint64 moves = 0;
    // The folders a watcher keeps an index of, by directory; the watchers own them.
    QHash<QString, std::weak_ptr<FolderIndex>> indexes;

    // Where the mail of an EntryID (or of one it was saved from) was last seen.
    std::optional<MailLocation> find(const QString& entryId) const;
    void noteLocation(const QString& entryId, const MailLocation& location,
                      const std::shared_ptr<const MailListing>& listing = {}, quint32 row = 0);
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
