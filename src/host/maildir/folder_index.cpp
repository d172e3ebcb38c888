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

const FolderIndex::Files::iterator* FolderIndex::known(const QString& subdir,
                                                       const QString& name) const {
    const QHash<QString, Files::iterator>& byName = byName_[subdir == QLatin1String("new")];
    const auto found = byName.constFind(name);
    return found == byName.constEnd() ? nullptr : &*found;
}

void FolderIndex::insert(const MailFileEntry& entry, bool done) {
    const bool inNew = entry.subdir == QLatin1String("new");
    const auto file = files_
                          .insert_or_assign(Key{entry.identity.mtime, entry.name, inNew},
                                            File{entry.identity, done})
                          .first;
    if (!done) notDone_.insert(file);
    byName_[inNew].insert(file->first.name, file);
    ++ids_[MaildirUnique(entry.name)];
}

void FolderIndex::erase(Files::iterator at) {
    const Key& key = at->first;
    notDone_.erase(at);
    byName_[key.inNew].remove(key.name);
    const QString id = MaildirUnique(key.name);
    if (auto count = ids_.find(id); count != ids_.end() && --*count <= 0) ids_.erase(count);
    files_.erase(at);
}

Result<std::vector<MailFileEntry>> FolderIndex::reload() {
    Result<std::vector<MailFileEntry>> listed = ListMailFiles(dir_);
    if (!listed.ok()) return {{}, listed.error};
    notDone_.clear();
    byName_[0].clear();
    byName_[1].clear();
    Files before = std::move(files_);
    const QHash<QString, int> idsBefore = std::move(ids_);
    files_.clear();
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
    MailFileEntry now{subdir, name, {}};
    const QString path = dir_ + QLatin1Char('/') + subdir + QLatin1Char('/') + name;
    const bool there = IdentityOfPath(path, now.identity) && S_ISREG(now.identity.mode);
    const Files::iterator* file = known(subdir, name);
    if (!file) {
        if (!there) return Change::None;
        insert(now, false);
        return Change::Added;
    }
    const Files::iterator at = *file;
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
    const Files::iterator* file = known(subdir, name);
    if (!file || !(*file)->second.identity.sameFile(identity)) return;
    (*file)->second.done = true;
    notDone_.erase(*file);
}

bool FolderIndex::find(const QString& subdir, const QString& name, MailFileEntry& entry) const {
    const Files::iterator* file = known(subdir, name);
    if (!file) return false;
    entry = MailFileEntry{subdir, name, (*file)->second.identity};
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
        for (const Files::iterator& file : notDone_)
            add(file->first, file->second);
    } else {
        out.reserve(files_.size());
        for (const auto& [key, file] : files_)
            add(key, file);
    }
    return out;
}
