#include "host/imap/imap_summary_cache.h"

#include "data/log.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QTimer>

#include <algorithm>

namespace {

constexpr char kMagic[] = "stowaway-imap-done 1";

// The flags as one comparable line: case folded, sorted, \Recent (which only says which session
// saw the mail first) left out.
QByteArray FlagKey(const QSet<QByteArray>& flags) {
    if (flags.size() == 1) { // the common case, a stamp or \Seen alone: no list to sort
        const QByteArray lower = flags.begin()->toLower();
        return lower == "\\recent" ? QByteArray() : lower;
    }
    QList<QByteArray> list;
    list.reserve(flags.size());
    for (const QByteArray& f : flags) {
        const QByteArray lower = f.toLower();
        if (lower != "\\recent") list << lower;
    }
    std::sort(list.begin(), list.end());
    return list.join(' ');
}

} // namespace

ImapSummaryCache::ImapSummaryCache(QString dir)
    : dir_(std::move(dir)), alive_(std::make_shared<bool>(true)) {}

ImapSummaryCache::~ImapSummaryCache() {
    *alive_ = false;
    save();
}

QString ImapSummaryCache::pathOf(const QByteArray& rawName) const {
    return dir_ + QLatin1Char('/') +
           QString::fromLatin1(
               QCryptographicHash::hash(rawName, QCryptographicHash::Sha1).toHex().left(16));
}

void ImapSummaryCache::load(const QByteArray& rawName, Box& box) const {
    QFile file(pathOf(rawName));
    if (!file.exists()) return;
    const auto damaged = [&](const char* why) {
        WriteLog(QStringLiteral("! IMAP: the cache %1 is damaged (%2); it is built anew")
                     .arg(file.fileName(), QLatin1String(why)));
        box.uidValidity = box.modSeq = 0;
        box.done.clear();
        box.stamped.clear();
        box.dirty = true;
    };
    if (!file.open(QIODevice::ReadOnly)) return damaged("unreadable");
    const QList<QByteArray> lines = file.readAll().split('\n');
    // The magic line, the mailbox, its UIDVALIDITY and mod-sequence (left out by older
    // versions: none), then "UID flags..." lines and "+UID" for the stamps kept here, and an
    // end line with their count, so a cut-off file is told from a short one.
    if (lines.size() < 5 || lines[0] != kMagic) return damaged("not a cache file");
    if (QByteArray::fromBase64(lines[1]) != rawName) return damaged("another mailbox");
    bool ok = false;
    const QList<QByteArray> validity = lines[2].split(' ');
    box.uidValidity = validity[0].toULongLong(&ok);
    if (!ok || validity.size() > 2) return damaged("no UIDVALIDITY");
    if (validity.size() == 2) box.modSeq = validity[1].toULongLong(&ok);
    if (!ok) return damaged("a bad mod-sequence");
    const qsizetype count = lines.size() - 5; // the end line and the empty rest after it
    if (lines[lines.size() - 2] != "end " + QByteArray::number(count) || !lines.last().isEmpty())
        return damaged("cut off");
    for (qsizetype i = 3; i < 3 + count; ++i) {
        const QByteArray& line = lines[i];
        if (line.startsWith('+')) {
            const quint64 uid = line.mid(1).toULongLong(&ok);
            if (!ok || uid == 0) return damaged("a bad line");
            box.stamped.insert(uid);
            continue;
        }
        const qsizetype space = line.indexOf(' ');
        const quint64 uid = line.left(space < 0 ? line.size() : space).toULongLong(&ok);
        if (!ok || uid == 0) return damaged("a bad line");
        box.done[uid] = space < 0 ? QByteArray() : line.mid(space + 1);
    }
}

ImapSummaryCache::Box& ImapSummaryCache::box(const QByteArray& rawName, quint64 uidValidity) {
    auto [at, added] = boxes_.try_emplace(rawName);
    Box& b = at->second;
    if (added) load(rawName, b);
    if (b.uidValidity != uidValidity) {
        // A recreated mailbox: its UIDs name other mails now.
        b.done.clear();
        b.stamped.clear();
        b.uidValidity = uidValidity;
        b.modSeq = 0;
        b.dirty = true;
        b.pruned = false;
    }
    return b;
}

bool ImapSummaryCache::isDone(const QByteArray& rawName, quint64 uidValidity, quint64 uid,
                              const QSet<QByteArray>& flags) {
    const Box& b = box(rawName, uidValidity);
    const auto found = b.done.find(uid);
    return found != b.done.end() && found->second == FlagKey(flags);
}

void ImapSummaryCache::markDone(const QByteArray& rawName, quint64 uidValidity, quint64 uid,
                                const QSet<QByteArray>& flags) {
    Box& b = box(rawName, uidValidity);
    const QByteArray key = FlagKey(flags);
    const auto [at, added] = b.done.try_emplace(uid, key);
    if (!added && at->second == key) return;
    at->second = key;
    b.dirty = true;
    saveSoon();
}

bool ImapSummaryCache::isStamped(const QByteArray& rawName, quint64 uidValidity, quint64 uid) {
    return box(rawName, uidValidity).stamped.count(uid) != 0;
}

void ImapSummaryCache::setStamped(const QByteArray& rawName, quint64 uidValidity, quint64 uid,
                                  bool stamped) {
    Box& b = box(rawName, uidValidity);
    if (stamped ? !b.stamped.insert(uid).second : b.stamped.erase(uid) == 0) return;
    b.dirty = true;
    save();
}

void ImapSummaryCache::prune(const QByteArray& rawName, quint64 uidValidity,
                             const std::unordered_set<quint64>& present) {
    Box& b = box(rawName, uidValidity);
    if (b.pruned) return;
    b.pruned = true;
    for (auto it = b.done.begin(); it != b.done.end();) {
        if (present.count(it->first)) {
            ++it;
        } else {
            it = b.done.erase(it);
            b.dirty = true;
        }
    }
    for (auto it = b.stamped.begin(); it != b.stamped.end();) {
        if (present.count(*it)) {
            ++it;
        } else {
            it = b.stamped.erase(it);
            b.dirty = true;
        }
    }
    if (b.dirty) saveSoon();
}

quint64 ImapSummaryCache::modSeq(const QByteArray& rawName, quint64 uidValidity) {
    return box(rawName, uidValidity).modSeq;
}

void ImapSummaryCache::setModSeq(const QByteArray& rawName, quint64 uidValidity, quint64 modSeq) {
    Box& b = box(rawName, uidValidity);
    if (b.modSeq == modSeq) return;
    b.modSeq = modSeq;
    b.dirty = true;
    saveSoon();
}

void ImapSummaryCache::saveSoon() {
    if (saveScheduled_) return;
    saveScheduled_ = true;
    // Many notes in a walk make one write.
    QTimer::singleShot(2000, [this, alive = alive_] {
        if (*alive) save();
    });
}

void ImapSummaryCache::save() {
    saveScheduled_ = false;
    for (auto& [rawName, b] : boxes_) {
        if (!b.dirty) continue;
        QByteArray text = QByteArray(kMagic) + '\n' + rawName.toBase64() + '\n' +
                          QByteArray::number(b.uidValidity) +
                          (b.modSeq ? ' ' + QByteArray::number(b.modSeq) : QByteArray()) + '\n';
        std::vector<quint64> uids;
        uids.reserve(b.done.size());
        for (const auto& [uid, flags] : b.done)
            uids.push_back(uid);
        std::sort(uids.begin(), uids.end());
        for (const quint64 uid : uids) {
            const QByteArray& flags = b.done[uid];
            text += QByteArray::number(uid) + (flags.isEmpty() ? "" : " " + flags) + '\n';
        }
        for (const quint64 uid : b.stamped)
            text += '+' + QByteArray::number(uid) + '\n';
        text += "end " + QByteArray::number(qsizetype(uids.size() + b.stamped.size())) + '\n';
        QDir().mkpath(dir_);
        QSaveFile file(pathOf(rawName));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) < 0 || !file.commit()) {
            WriteLog(QStringLiteral("! IMAP: cannot write the cache ") + file.fileName());
            continue;
        }
        b.dirty = false;
    }
}
