#include "host/maildir/own_writes.h"

#include "host/maildir/maildir_names.h"

namespace {
QString EntryIdOf(const QString& path) {
    return MaildirUnique(path.mid(path.lastIndexOf(QLatin1Char('/')) + 1));
}
} // namespace

void OwnWrites::record(const QString& path) {
    if (!paths_.contains(path)) {
        paths_.insert(path);
        entryIds_.insert(EntryIdOf(path));
        order_.push_back(path);
        if (order_.size() > kRemembered) {
            paths_.remove(order_.front());
            entryIds_.remove(EntryIdOf(order_.front()));
            order_.pop_front();
        }
    }
    if (listener_) listener_(path);
}
