#pragma once
// Which mails of a mailbox the driver passed over for good, kept on disk per account, mailbox
// and UIDVALIDITY, and which it processed where the server keeps no stamp (no keywords, the
// rewrite refused). A mail's content never changes under its UID, so only its flags can make it
// worth a look again: a walk of a big mailbox costs one FETCH of FLAGS, not every mail's body.
// Where the server offers CONDSTORE, the mailbox's mod-sequence up to which the notes are
// current is kept beside them. A changed UIDVALIDITY drops a mailbox's notes; a damaged file is
// ignored (with a LOG line) and written anew.
#include <QByteArray>
#include <QSet>
#include <QString>

#include <map>
#include <memory>
#include <set>
#include <unordered_map>
#include <unordered_set>

class ImapSummaryCache {
  public:
    explicit ImapSummaryCache(QString dir);
    ~ImapSummaryCache();
    ImapSummaryCache(const ImapSummaryCache&) = delete;
    ImapSummaryCache& operator=(const ImapSummaryCache&) = delete;

    // Whether the mail was noted done with these flags.
    bool isDone(const QByteArray& rawName, quint64 uidValidity, quint64 uid,
                const QSet<QByteArray>& flags);
    void markDone(const QByteArray& rawName, quint64 uidValidity, quint64 uid,
                  const QSet<QByteArray>& flags);
    // The stamp of a mail the server would not keep.
    bool isStamped(const QByteArray& rawName, quint64 uidValidity, quint64 uid);
    // Written at once: a run that ends before the next save would process the mail again.
    void setStamped(const QByteArray& rawName, quint64 uidValidity, quint64 uid, bool stamped);
    // Forgets the mails no longer in the mailbox, once per mailbox and instance: UIDs are never
    // given again, so notes of expunged mails cost only room until then.
    void prune(const QByteArray& rawName, quint64 uidValidity,
               const std::unordered_set<quint64>& present);
    // The mod-sequence the notes were last brought up to; 0 for none.
    quint64 modSeq(const QByteArray& rawName, quint64 uidValidity);
    void setModSeq(const QByteArray& rawName, quint64 uidValidity, quint64 modSeq);
    // Writes the mailboxes whose notes changed (also done shortly after a change, and at the end).
    void save();
    QString pathOf(const QByteArray& rawName) const;

  private:
    struct Box {
        quint64 uidValidity = 0;
        quint64 modSeq = 0;
        std::unordered_map<quint64, QByteArray> done; // UID -> its flags when noted
        std::set<quint64> stamped;
        bool dirty = false;
        bool pruned = false;
    };
    Box& box(const QByteArray& rawName, quint64 uidValidity);
    void load(const QByteArray& rawName, Box& box) const;
    void saveSoon();

    QString dir_;
    std::map<QByteArray, Box> boxes_;
    bool saveScheduled_ = false;
    std::shared_ptr<bool> alive_;
};
