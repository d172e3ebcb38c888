#pragma once
// The file names the store itself produced lately, so a folder watcher can tell the store's own
// writes from new mail and raise no new-mail event for them.
#include <QSet>
#include <QString>

#include <deque>
#include <functional>

class OwnWrites {
  public:
    using Listener = std::function<void(const QString& path)>;

    // Notes a path the store created, renamed or replaced.
    void record(const QString& path);
    // Whether the store itself produced this path lately.
    bool contains(const QString& path) const { return paths_.contains(path); }
    // Whether the store itself lately produced a file of this EntryID (a file name's unique
    // part).
    bool containsEntryId(const QString& entryId) const { return entryIds_.contains(entryId); }
    // Called with each recorded path, as it happens.
    void setListener(Listener listener) { listener_ = std::move(listener); }

  private:
    static constexpr size_t kRemembered = 4096;
    QSet<QString> paths_;
    QSet<QString> entryIds_;
    std::deque<QString> order_;
    Listener listener_;
};
