#include "host/imap/imap_rewrite.h"

#include "data/log.h"

#include <QCryptographicHash>
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

QString EntryPath(const ImapStore& store, const ImapMailId& id) {
    const QByteArray box =
        QCryptographicHash::hash(id.mailbox, QCryptographicHash::Sha1).toHex().left(16);
    return store.journalDir() + QStringLiteral("/%1-%2-%3")
                                    .arg(QString::fromLatin1(box))
                                    .arg(id.uidValidity)
                                    .arg(id.uid);
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

// UID MOVE (or UID COPY) of one mail, with where it went from COPYUID.
class UidCopyJob : public ImapJob {
  public:
    UidCopyJob(QByteArray uidSet, QByteArray target, bool move)
        : set_(std::move(uidSet)), target_(std::move(target)), move_(move) {}
    std::vector<ImapArg> command() const override {
        return {{name() + ' ' + set_ + ' '}, ImapString(target_)};
    }
    void untagged(const ImapResponse& r) override { noteCopyUid(r); } // MOVE says it before
    OpError completed(const ImapResponse& tagged) override {
        noteCopyUid(tagged);
        return ImapJob::completed(tagged);
    }
    QByteArray name() const override { return move_ ? "UID MOVE" : "UID COPY"; }
    quint64 uidValidity = 0;
    quint64 uid = 0;

  private:
    void noteCopyUid(const ImapResponse& r) {
        if (r.code != "COPYUID" || r.codeArgs.size() != 3 ||
            r.codeArgs[2].kind != ImapValue::Kind::Number)
            return;
        uidValidity = r.codeArgs[0].number;
        uid = r.codeArgs[2].number;
    }
    QByteArray set_, target_;
    bool move_;
};

// The \Trash mailbox (RFC 6154); empty when the server names none.
QByteArray TrashMailbox(ImapStore& store) {
    const Result<std::vector<ImapMailbox>> boxes = store.mailboxes();
    for (const ImapMailbox& box : boxes.value)
        if (box.flags.contains("\\TRASH")) return box.rawName;
    return {};
}

// Removes a mail the Trash holds, by its UID alone, over a connection of its own: the shared one
// stays in the mailbox of the rewrite.
OpError RemoveFromTrash(ImapStore& store, const QByteArray& trash, const UidCopyJob& copied) {
    if (copied.uid == 0)
        return OpError::make(ErrNo::Failed, QStringLiteral("the server did not say where in %1 "
                                                           "the old mail went; it stays there")
                                                .arg(DecodeMailboxName(trash)));
    const Result<std::unique_ptr<ImapConnection>> conn = store.openConnection();
    if (!conn.ok()) return conn.error;
    SelectJob select(trash, false);
    if (OpError e = conn.value->run(select)) return e;
    if (select.state.uidValidity != copied.uidValidity)
        return OpError::make(
            ErrNo::Failed,
            QStringLiteral("%1 was made anew meanwhile").arg(DecodeMailboxName(trash)));
    const QByteArray set = QByteArray::number(copied.uid);
    UidStoreJob mark(set, true, {"\\Deleted"});
    if (OpError e = conn.value->run(mark)) return e;
    UidExpungeJob expunge(set);
    return conn.value->run(expunge);
}

// Removes the old mail by its UID alone. Where an expunge only takes a label away (Gmail), the
// mail would stay in All Mail: it goes to the Trash first and is removed there.
OpError ExpungeOld(ImapStore& store, ImapConnection& conn, const QByteArray& rawName, quint64 uid) {
    const QByteArray set = QByteArray::number(uid);
    const QByteArray trash = conn.hasCapability("X-GM-EXT-1") ? TrashMailbox(store) : QByteArray();
    const bool viaTrash = !trash.isEmpty() && trash != rawName;
    if (conn.hasCapability("X-GM-EXT-1") && !viaTrash)
        WriteLog(QStringLiteral("! IMAP: the server names no Trash; the old mail may stay in "
                                "All Mail"));
    UidCopyJob copy(set, trash, conn.hasCapability("MOVE"));
    if (viaTrash) {
        if (OpError e = conn.run(copy)) return e;
    }
    if (!viaTrash || !conn.hasCapability("MOVE")) {
        UidStoreJob mark(set, true, {"\\Deleted"});
        if (OpError e = conn.run(mark)) return e;
        KillPoint("stored");
        UidExpungeJob expunge(set);
        if (OpError e = conn.run(expunge)) return e;
    }
    KillPoint("expunged");
    if (viaTrash)
        if (OpError e = RemoveFromTrash(store, trash, copy))
            WriteLog(QStringLiteral("! IMAP: the old mail stays in %1: %2")
                         .arg(DecodeMailboxName(trash), e.description));
    return OpError::none();
}

} // namespace

Result<ImapMailId> ImapRewrite::Replace(ImapStore& store, const ImapMailId& old,
                                        const QByteArray& mail, const QList<QByteArray>& flags,
                                        const QDateTime& internalDate,
                                        const QByteArray& messageId) {
    const QByteArray& rawName = old.mailbox;
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
    const QString path = EntryPath(store, old);
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
    const ImapMailId fresh{rawName, append.uidValidity, append.uid};
    store.ownAppends_.insert(fresh);
    entry.newUid = append.uid;
    if (OpError e = WriteEntry(path, entry)) {
        store.recovered_.erase(rawName);
        return {fresh, e};
    }
    KillPoint("noted");
    if (OpError e = ExpungeOld(store, conn, rawName, old.uid)) {
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
        if (OpError err = ExpungeOld(store, conn, rawName, e.oldUid)) return err;
        store.noteReplaced({rawName, e.uidValidity, e.oldUid}, {rawName, e.uidValidity, e.newUid});
        WriteLog(
            QStringLiteral("IMAP: finished an interrupted rewrite in %1: UID %2 replaced by %3")
                .arg(DecodeMailboxName(rawName))
                .arg(e.oldUid)
                .arg(e.newUid));
        QFile::remove(path);
    }
    return OpError::none();
}
