#include "host/maildir/maildir_store.h"

const MailLocation* MaildirShared::find(const QString& entryId) const {
    QString id = entryId;
    // Follow the saves; the bound only guards against a cycle.
    for (int step = 0; step < 1000; ++step) {
        const auto next = successors.constFind(id);
        if (next == successors.constEnd()) break;
        id = *next;
    }
    const auto found = locations.constFind(id);
    return found == locations.constEnd() ? nullptr : &*found;
}
