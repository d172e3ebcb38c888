#pragma once
// The state one IMAP account shares among its session, folders, mails and watchers: the
// connection the mails are read and written over, the mailbox selected on it, and which mails
// were replaced by whom.
#include "host/imap/imap_account.h"
#include "host/imap/imap_jobs.h"
#include "host/imap/imap_summary_cache.h"
#include "host/mime/mail_summary.h"

#include <deque>
#include <map>
#include <memory>
#include <set>

// The keyword that stamps a mail as done where the mailbox takes keywords.
inline constexpr char kStampKeyword[] = "QWKStowaway";

// A mail is its mailbox, UIDVALIDITY and UID together: UIDVALIDITY is unique only within one
// mailbox (servers that take it from the clock give two mailboxes made in one second the same).
struct ImapMailId {
    QByteArray mailbox; // the raw name; empty only in an id written before mailboxes were in it
    quint64 uidValidity = 0;
    quint64 uid = 0;
    // "mailbox/UIDVALIDITY/UID", the mailbox percent-encoded where it is not plain text.
    QString entryId() const;
    // Also the old "UIDVALIDITY/UID", which leaves the mailbox empty.
    static bool parse(const QString& entryId, ImapMailId& id);
    bool operator==(const ImapMailId& o) const {
        return uid == o.uid && uidValidity == o.uidValidity && mailbox == o.mailbox;
    }
    bool operator<(const ImapMailId& o) const {
        if (mailbox != o.mailbox) return mailbox < o.mailbox;
        return uidValidity != o.uidValidity ? uidValidity < o.uidValidity : uid < o.uid;
    }
};

class ImapStore {
  public:
    ImapStore(ImapAccount account, QByteArray secret, ImapLimits limits = {});

    const ImapAccount& account() const { return account_; }
    // A new connection, logged in.
    Result<std::unique_ptr<ImapConnection>> openConnection() const;
    // The shared connection, opened (again) when needed.
    Result<ImapConnection*> connection();
    // Selects a mailbox on the shared connection (or keeps it selected): read-only (EXAMINE,
    // which leaves even the server's \Recent alone) unless `write`, or unless a rewrite that an
    // earlier run left half done there is to be finished first.
    Result<ImapMailboxState> select(const QByteArray& rawName, bool write = false);
    // Runs a job on the shared connection with `rawName` selected. One retry on a fresh
    // connection when the old one had dropped before the command was sent.
    OpError runIn(const QByteArray& rawName, ImapJob& job, bool write = false);
    // The same in the mailbox of a mail, refused when that mailbox was recreated since: its
    // UIDs name other mails then.
    OpError runFor(const ImapMailId& id, ImapJob& job, bool write = false);

    Result<std::vector<ImapMailbox>> mailboxes(bool refresh = false);
    Result<ImapMailbox> mailboxByName(const QString& name);
    // The mailbox of a mail id; for an id without one, the only mailbox with its UIDVALIDITY
    // (by STATUS), never a guess among several.
    Result<ImapMailbox> mailboxOf(const ImapMailId& id);

    // Follows the replacements made by rewrites.
    ImapMailId current(ImapMailId id) const;
    void noteReplaced(const ImapMailId& old, const ImapMailId& replacement);
    // Keeps the stamp of a mail in the cache where the server keeps none; the LOG says so once
    // per mailbox.
    void noteStamp(const ImapMailId& id);
    // Mails this program appended, which watchers do not report.
    bool isOwnAppend(const ImapMailId& id) const { return ownAppends_.count(id) != 0; }

    // Header summaries kept per mail.
    std::map<ImapMailId, MailHeadersPtr> headers;
    // The mails fetched last: a walk looks at a mail through more than one object (the
    // new-mail event's, the listing's, the one fetched by id), and a mail's bytes never change
    // under its UID. A few mails, a few MB at most.
    struct FetchedMail {
        ImapMailId id;
        QByteArray bytes;
        QDateTime internalDate;
    };
    const FetchedMail* recentlyFetched(const ImapMailId& id) const;
    const FetchedMail& noteFetched(FetchedMail mail);
    // The mails the driver passed over for good, kept across runs.
    ImapSummaryCache& summaries() { return *summaries_; }
    // The mails of a mailbox the last walk gave out and that were not noted done then: where
    // the mailbox keeps mod-sequences, the next walk asks for the mails changed since and for
    // these alone. Known only after a full listing on the current connection.
    struct Listing {
        quint64 uidValidity = 0;
        std::set<quint64> open;
    };
    std::map<QByteArray, Listing> listings;
    // The folder where rewrites note their steps, so a run after a crash completes them.
    QString journalDir() const;

  private:
    // This account's folder in the cache folder.
    QString cacheDir() const;
    bool hasJournalFor(const QByteArray& rawName) const;
    OpError recover(const QByteArray& rawName, const ImapMailboxState& state);

    ImapAccount account_;
    QByteArray secret_;
    ImapLimits limits_;
    std::unique_ptr<ImapConnection> conn_;
    QByteArray selected_;
    bool selectedWritable_ = false;
    ImapMailboxState selectedState_;
    std::vector<ImapMailbox> mailboxes_;
    bool listed_ = false;
    std::map<ImapMailId, ImapMailId> replaced_;
    std::set<QByteArray> recovered_;
    std::set<QByteArray> stampsNotedIn_;
    std::unique_ptr<ImapSummaryCache> summaries_;
    std::deque<FetchedMail> fetched_;

    friend class ImapRewrite;

  public:
    std::set<ImapMailId> ownAppends_;
};

using ImapStorePtr = std::shared_ptr<ImapStore>;

// Logs in on an open connection with the account's secret.
OpError ImapLogin(ImapConnection& conn, const ImapAccount& account, const QByteArray& secret);
