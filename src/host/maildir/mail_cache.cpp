#include "host/maildir/mail_cache.h"

std::shared_ptr<CachedMail> MailCache::entry(const QString& dir, const QString& name,
                                             const FileIdentity& identity) {
    std::shared_ptr<CachedMail>& cached = dirs_[dir][name];
    if (!cached || !cached->identity.sameFile(identity)) {
        cached = std::make_shared<CachedMail>();
        cached->identity = identity;
    }
    return cached;
}

void MailCache::prune(const QString& dir, const QSet<QString>& names) {
    const auto found = dirs_.find(dir);
    if (found == dirs_.end()) return;
    found->removeIf([&](const auto& it) { return !names.contains(it.key()); });
}

void MailCache::forget(const QString& dir, const QString& name) {
    const auto found = dirs_.find(dir);
    if (found != dirs_.end()) found->remove(name);
}

qsizetype MailCache::size() const {
    qsizetype total = 0;
    for (const auto& dir : dirs_)
        total += dir.size();
    return total;
}

void MailCache::rename(const QString& dir, const QString& name, const QString& newDir,
                       const QString& newName) {
    const auto found = dirs_.find(dir);
    if (found == dirs_.end()) return;
    const auto entry = found->find(name);
    if (entry == found->end()) return;
    std::shared_ptr<CachedMail> moved = *entry;
    found->erase(entry);
    dirs_[newDir][newName] = std::move(moved);
}
