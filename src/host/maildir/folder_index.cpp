#include "host/maildir/folder_index.h"

#include "host/maildir/maildir_names.h"

#include <sys/stat.h>

namespace {
bool Before(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}
bool Same(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}
} // namespace

bool FolderIndex::Key::operator<(const Key& o) const {
    if (!Same(mtime, o.mtime)) return Before(mtime, o.mtime);
    if (name != o.name) return name < o.name;
    return inNew < o.inNew;
}

FolderIndex::FolderIndex(QString folderDir) : dir_(std::move(folderDir)) {}

QString FolderIndex::slot(bool inNew, const QString& name) {
    return (inNew ? QLatin1Char('n') : QLatin1Char('c')) + name;
}

void FolderIndex::insert(const MailFileEntry& entry, bool done) {
    const bool inNew = entry.subdir == QLatin1String("new");
    const Key key{entry.identity.mtime, entry.name, inNew};
    files_[key] = File{entry.identity, done};
    if (!done) notDone_.insert(key);
    bySlot_.insert(slot(inNew, entry.name), key);
    ++ids_[MaildirUnique(entry.name)];
}

void FolderIndex::erase(std::map<Key, File>::iterator at) {
    const Key key = at->first;
    notDone_.erase(key);
    bySlot_.remove(slot(key.inNew, key.name));
    const QString id = MaildirUnique(key.name);
    if (auto count = ids_.find(id); count != ids_.end() && --*count <= 0) ids_.erase(count);
    files_.erase(at);
}

Result<std::vector<MailFileEntry>> FolderIndex::reload() {
    Result<std::vector<MailFileEntry>> listed = ListMailFiles(dir_);
    if (!listed.ok()) return {{}, listed.error};
    std::map<Key, File> before = std::move(files_);
    const QHash<QString, int> idsBefore = std::move(ids_);
    files_.clear();
    notDone_.clear();
    bySlot_.clear();
    ids_.clear();
    std::vector<MailFileEntry> added;
    for (const MailFileEntry& entry : listed.value) {
        const auto was = before.find(
            Key{entry.identity.mtime, entry.name, entry.subdir == QLatin1String("new")});
        insert(entry, was != before.end() && was->second.done &&
                          was->second.identity.sameFile(entry.identity));
        if (!idsBefore.contains(MaildirUnique(entry.name))) added.push_back(entry);
    }
    return {added, OpError::none()};
}

FolderIndex::Change FolderIndex::refresh(const QString& subdir, const QString& name) {
    const bool inNew = subdir == QLatin1String("new");
    MailFileEntry now{subdir, name, {}};
    const QString path = dir_ + QLatin1Char('/') + subdir + QLatin1Char('/') + name;
    const bool there = IdentityOfPath(path, now.identity) && S_ISREG(now.identity.mode);
    const auto known = bySlot_.constFind(slot(inNew, name));
    if (known == bySlot_.constEnd()) {
        if (!there) return Change::None;
        insert(now, false);
        return Change::Added;
    }
    const auto at = files_.find(*known);
    if (!there) {
        erase(at);
        return Change::Removed;
    }
    if (at->second.identity.sameFile(now.identity)) return Change::None;
    erase(at);
    insert(now, false);
    return Change::Changed;
}

void FolderIndex::markDone(const QString& subdir, const QString& name,
                           const FileIdentity& identity) {
    const auto known = bySlot_.constFind(slot(subdir == QLatin1String("new"), name));
    if (known == bySlot_.constEnd()) return;
    const auto at = files_.find(*known);
    if (at == files_.end() || !at->second.identity.sameFile(identity)) return;
    at->second.done = true;
    notDone_.erase(at->first);
}

bool FolderIndex::find(const QString& subdir, const QString& name, MailFileEntry& entry) const {
    const auto known = bySlot_.constFind(slot(subdir == QLatin1String("new"), name));
    if (known == bySlot_.constEnd()) return false;
    entry = MailFileEntry{subdir, name, files_.at(*known).identity};
    return true;
}

std::vector<MailFileEntry> FolderIndex::entries(bool leaveOutDone) const {
    std::vector<MailFileEntry> out;
    auto add = [&](const Key& key, const File& file) {
        out.push_back(MailFileEntry{key.inNew ? QStringLiteral("new") : QStringLiteral("cur"),
                                    key.name, file.identity});
    };
    if (leaveOutDone) {
        out.reserve(notDone_.size());
        for (const Key& key : notDone_)
            add(key, files_.at(key));
    } else {
        out.reserve(files_.size());
        for (const auto& [key, file] : files_)
            add(key, file);
    }
    return out;
}
