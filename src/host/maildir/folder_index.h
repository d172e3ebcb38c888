#pragma once
// What a watched Maildir folder holds, kept current by the watcher's inotify events instead of
// a listing at every walk: its mail files in listing order, and which of them the driver passed
// over for good. A file counts as unchanged while its name is: a mail program renames a mail to
// change its flags and never rewrites a delivered file in place. A program that does rewrite one
// in place is noticed at the next full look (the watcher's start, an event queue overflow).
#include "host/maildir/mail_files.h"

#include <QHash>
#include <QString>

#include <map>
#include <set>
#include <vector>

class FolderIndex {
  public:
    explicit FolderIndex(QString folderDir);

    const QString& folderDir() const { return dir_; }

    // The full look: lists the folder and stats every file. Done marks stay with the files that
    // are unchanged. Returns the files whose unique part (EntryID) was not there before.
    Result<std::vector<MailFileEntry>> reload();

    enum class Change { None, Added, Changed, Removed };
    // Looks at one name of cur/ or new/ alone (one stat), after an event about it.
    Change refresh(const QString& subdir, const QString& name);

    // Notes that the driver passed over this file for good.
    void markDone(const QString& subdir, const QString& name, const FileIdentity& identity);

    // The files in listing order: every one, or those not marked done.
    std::vector<MailFileEntry> entries(bool leaveOutDone) const;
    bool containsId(const QString& entryId) const { return ids_.contains(entryId); }
    // The file of that name, if the folder has it.
    bool find(const QString& subdir, const QString& name, MailFileEntry& entry) const;
    size_t size() const { return files_.size(); }

  private:
    // The listing's order: delivery time, name, then folder.
    struct Key {
        timespec mtime;
        QString name;
        bool inNew;
        bool operator<(const Key& o) const;
    };
    struct File {
        FileIdentity identity;
        bool done = false;
    };
    using Files = std::map<Key, File>;
    struct InOrder {
        bool operator()(Files::iterator a, Files::iterator b) const { return a->first < b->first; }
    };
    void insert(const MailFileEntry& entry, bool done);
    void erase(Files::iterator at);
    // The file of that name in cur/ or new/; null if there is none.
    const Files::iterator* known(const QString& subdir, const QString& name) const;

    QString dir_;
    Files files_;
    // What points into files_ shares the names held there: a big folder costs little beyond them.
    std::set<Files::iterator, InOrder> notDone_;
    QHash<QString, Files::iterator> byName_[2]; // in cur/, in new/
    QHash<QString, int> ids_;                   // files per unique part
};
