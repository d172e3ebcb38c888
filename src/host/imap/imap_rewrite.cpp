#include "host/imap/imap_rewrite.h"

#include "data/log.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <csignal>

namespace {

struct JournalEntry {
    QByteArray mailbox;
    quint64 uidValidity = 0;
    quint64 oldUid = 0;
    quint64 uidNextBefore = 0;
    QByteArray messageId;
    quint64 newUid = 0;
};

QString EntryPath(const ImapStore& store, quint64 validity, quint64 uid) {
    return store.journalDir() + QStringLiteral("/%1-%2").arg(validity).arg(uid);
}

OpError WriteEntry(const QString& path, const JournalEntry& e) {
    QDir().mkpath(QFileInfo(path).path());
    QJsonObject o;
    o[QStringLiteral("mailbox")] = QString::fromLatin1(e.mailbox.toBase64());
    o[QStringLiteral("uidValidity")] = QString::number(e.uidValidity);
    o[QStringLiteral("oldUid")] = QString::number(e.oldUid);
    o[QStringLiteral("uidNextBefore")] = QString::number(e.uidNextBefore);
    o[QStringLiteral("messageId")] = QString::fromLatin1(e.messageId.toBase64());
    o[QStringLiteral("newUid")] = QString::number(e.newUid);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(o).toJson()) < 0 ||
        !file.commit())
        return OpError::make(ErrNo::IoError,
                             QStringLiteral("Cannot write the rewrite journal ") + path);
    return OpError::none();
}

bool ReadEntry(const QString& path, JournalEntry& e) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QJsonObject o = QJsonDocument::fromJson(file.readAll()).object();
    e.mailbox = QByteArray::fromBase64(o[QStringLiteral("mailbox")].toString().toLatin1());
    e.uidValidity = o[QStringLiteral("uidValidity")].toString().toULongLong();
    e.oldUid = o[QStringLiteral("oldUid")].toString().toULongLong();
    e.uidNextBefore = o[QStringLiteral("uidNextBefore")].toString().toULongLong();
    e.messageId = QByteArray::fromBase64(o[QStringLiteral("messageId")].toString().toLatin1());
    e.newUid = o[QStringLiteral("newUid")].toString().toULongLong();
    return e.uidValidity && e.oldUid && !e.mailbox.isEmpty();
}

// For the crash tests: STOWAWAY_IMAP_KILL_AT names a step of the rewrite at which the process
// kills itself, as a power cut or the OOM killer would.
void KillPoint(const char* step) {
    static const QByteArray killAt = qgetenv("STOWAWAY_IMAP_KILL_AT");
    if (!killAt.isEmpty() && killAt == step) ::raise(SIGKILL);
}

// Removes the old mail by its UID alone.
OpError ExpungeOld(ImapConnection& conn, quint64 uid) {
    const QByteArray set = QByteArray::number(uid);
    UidStoreJob mark(set, true, {"\\Deleted"});
    if (OpError e = conn.run(mark)) return e;
    KillPoint("stored");
    UidExpungeJob expunge(set);
    if (OpError e = conn.run(expunge)) return e;
    KillPoint("expunged");
    return OpError::none();
}

} // namespace

Result<ImapMailId> ImapRewrite::Replace(ImapStore& store, const QByteArray& rawName,
                                        const ImapMailId& old, const QByteArray& mail,
                                        const QList<QByteArray>& flags,
                                        const QDateTime& internalDate,
                                        const QByteArray& messageId) {
    const Result<ImapMailboxState> state = store.select(rawName, true);
    if (!state.ok()) return {{}, state.error};
    ImapConnection& conn = *store.conn_;
    if (!conn.hasCapability("UIDPLUS"))
        return {{},
                ImapError(store.account().endpoint,
                          QStringLiteral(
                              "the server lacks UIDPLUS, so a mail cannot be replaced "
                              "without the risk of removing others; the mail stays as it is"))};
    if (state.value.uidValidity != old.uidValidity)
        return {{},
                ImapError(store.account().endpoint,
                          QStringLiteral("the mailbox was recreated meanwhile"))};

    JournalEntry entry{rawName, old.uidValidity, old.uid, state.value.uidNext, messageId, 0};
    const QString path = EntryPath(store, old.uidValidity, old.uid);
    if (OpError e = WriteEntry(path, entry)) return {{}, e};
    KillPoint("journaled");

    AppendJob append(rawName, flags, internalDate, mail);
    const OpError appended = conn.run(append);
    KillPoint("appended");
    if (OpError e = appended) {
        // Refused by the server: nothing was stored. A dropped connection leaves the journal
        // for the next selection to look whether the new mail landed.
        if (conn.isOpen())
            QFile::remove(path);
        else
            store.recovered_.erase(rawName);
        return {{}, e};
    }
    if (append.uid == 0 || append.uidValidity != old.uidValidity) {
        store.recovered_.erase(rawName);
        return {{},
                ImapError(store.account().endpoint,
                          QStringLiteral("APPEND gave no usable APPENDUID; the old mail is kept "
                                         "until the next run finds the new one"))};
    }
    const ImapMailId fresh{append.uidValidity, append.uid};
    store.ownAppends_.insert(fresh);
    entry.newUid = append.uid;
    if (OpError e = WriteEntry(path, entry)) {
        store.recovered_.erase(rawName);
        return {fresh, e};
    }
    KillPoint("noted");
    if (OpError e = ExpungeOld(conn, old.uid)) {
        store.recovered_.erase(rawName);
        store.noteReplaced(old, fresh);
        return {fresh, e};
    }
    QFile::remove(path);
    store.noteReplaced(old, fresh);
    return {fresh, OpError::none()};
}

OpError ImapRewrite::Recover(ImapStore& store, ImapConnection& conn, const QByteArray& rawName,
                             const ImapMailboxState& state) {
    const QDir dir(store.journalDir());
    if (!dir.exists()) return OpError::none();
    for (const QString& name : dir.entryList(QDir::Files)) {
        const QString path = dir.filePath(name);
        JournalEntry e;
        if (!ReadEntry(path, e)) {
            WriteLog(QStringLiteral("! IMAP: a damaged rewrite journal is removed: ") + path);
            QFile::remove(path);
            continue;
        }
        if (e.mailbox != rawName) continue;
        if (e.uidValidity != state.uidValidity) {
            WriteLog(
                QStringLiteral("! IMAP: %1 was recreated; an unfinished rewrite there is dropped")
                    .arg(DecodeMailboxName(rawName)));
            QFile::remove(path);
            continue;
        }
        if (e.newUid == 0) {
            if (e.messageId.isEmpty()) {
                WriteLog(QStringLiteral("! IMAP: an interrupted rewrite in %1 of a mail without "
                                        "Message-ID cannot be checked; UID %2 is kept")
                             .arg(DecodeMailboxName(rawName))
                             .arg(e.oldUid));
                QFile::remove(path);
                continue;
            }
            UidSearchJob search(
                {{"UID " + QByteArray::number(e.uidNextBefore) + ":* HEADER Message-ID "},
                 ImapString(e.messageId)});
            if (OpError err = conn.run(search)) return err;
            for (const quint64 uid : search.uids)
                if (uid >= e.uidNextBefore && uid != e.oldUid) e.newUid = std::max(e.newUid, uid);
            if (e.newUid == 0) { // the new mail never landed: the old one is the only copy
                QFile::remove(path);
                continue;
            }
        }
        if (OpError err = ExpungeOld(conn, e.oldUid)) return err;
        store.noteReplaced({e.uidValidity, e.oldUid}, {e.uidValidity, e.newUid});
        WriteLog(
            QStringLiteral("IMAP: finished an interrupted rewrite in %1: UID %2 replaced by %3")
                .arg(DecodeMailboxName(rawName))
                .arg(e.oldUid)
                .arg(e.newUid));
        QFile::remove(path);
    }
    return OpError::none();
}
