#pragma once
// One small job per IMAP command the store uses; each knows its command line and what it keeps
// of the answers.
#include "host/imap/imap_connection.h"

#include <QDateTime>

#include <map>

// A string argument: quoted where it can be, else a literal.
ImapArg ImapString(const QByteArray& text);

class LoginJob : public ImapJob {
  public:
    LoginJob(QByteArray user, QByteArray password)
        : user_(std::move(user)), pass_(std::move(password)) {}
    std::vector<ImapArg> command() const override;
    QByteArray name() const override { return "LOGIN"; }

  private:
    QByteArray user_, pass_;
};

// AUTHENTICATE PLAIN or XOAUTH2, with the initial response on the command line where the server
// takes it (SASL-IR), else after the first continuation.
class AuthenticateJob : public ImapJob {
  public:
    enum class Mechanism { Plain, XOAuth2 };
    AuthenticateJob(Mechanism mechanism, const QByteArray& user, const QByteArray& secret,
                    bool saslIr);
    std::vector<ImapArg> command() const override;
    bool continuation(const ImapResponse& r, QByteArray* reply) override;
    QByteArray name() const override;

  private:
    Mechanism mechanism_;
    QByteArray initial_; // base64
    bool saslIr_;
    bool sent_ = false;
};

struct ImapMailbox {
    QString name;           // decoded
    QByteArray rawName;     // as the server names it
    QChar delimiter;        // null for a flat namespace
    QSet<QByteArray> flags; // upper case: \NOSELECT, \HASCHILDREN ...
    bool selectable() const {
        return !flags.contains("\\NOSELECT") && !flags.contains("\\NONEXISTENT");
    }
};

class ListJob : public ImapJob {
  public:
    explicit ListJob(QByteArray pattern = "*") : pattern_(std::move(pattern)) {}
    std::vector<ImapArg> command() const override;
    // An entry that cannot be read is passed over with a LOG line.
    void untagged(const ImapResponse& r) override;
    QByteArray name() const override { return "LIST"; }
    std::vector<ImapMailbox> mailboxes;

  private:
    QByteArray pattern_;
};

struct ImapMailboxState {
    quint64 uidValidity = 0;
    quint64 uidNext = 0;
    quint64 exists = 0;
    QSet<QByteArray> permanentFlags; // as sent: "\\Seen", "\\*", keywords
    bool readOnly = false;
    // CONDSTORE: asked for at the select, and whether the mailbox keeps mod-sequences.
    bool condStore = false;
    bool noModSeq = false;
    quint64 highestModSeq = 0;
    bool keywordsAllowed() const { return permanentFlags.contains("\\*"); }
};

// SELECT, or EXAMINE when `readOnly`; with CONDSTORE enabled by it when `condStore`.
class SelectJob : public ImapJob {
  public:
    SelectJob(QByteArray rawName, bool readOnly, bool condStore = false)
        : raw_(std::move(rawName)), examine_(readOnly) {
        state.condStore = condStore;
    }
    std::vector<ImapArg> command() const override;
    void untagged(const ImapResponse& r) override;
    OpError completed(const ImapResponse& tagged) override;
    QByteArray name() const override { return examine_ ? "EXAMINE" : "SELECT"; }
    ImapMailboxState state;

  private:
    QByteArray raw_;
    bool examine_;
};

struct FetchedMail {
    quint64 uid = 0;
    QSet<QByteArray> flags;
    bool hasFlags = false;
    QDateTime internalDate;
    qint64 size = -1;
    quint64 modSeq = 0; // MODSEQ, sent once CONDSTORE is enabled
    QByteArray body;    // BODY[]
    QByteArray header;  // BODY[HEADER]
    bool hasBody = false;
    bool hasHeader = false;
};

// UID FETCH of the items named ("FLAGS", "BODY.PEEK[]", "BODY.PEEK[HEADER]", "INTERNALDATE",
// "RFC822.SIZE", "MODSEQ"), keyed by UID; with `changedSince`, only of the mails whose
// mod-sequence is above it (CONDSTORE). Flag changes the server sends unasked come in as they
// are; an answer that cannot be read is passed over with a LOG line.
class UidFetchJob : public ImapJob {
  public:
    UidFetchJob(QByteArray uidSet, QByteArray items, quint64 changedSince = 0)
        : set_(std::move(uidSet)), items_(std::move(items)), changedSince_(changedSince) {}
    std::vector<ImapArg> command() const override;
    void untagged(const ImapResponse& r) override;
    OpError completed(const ImapResponse& tagged) override;
    QByteArray name() const override { return "UID FETCH"; }
    std::map<quint64, FetchedMail> mails;

  private:
    QByteArray set_, items_;
    quint64 changedSince_;
    int withoutUid_ = 0;
};

// UID STORE "+FLAGS.SILENT" or "-FLAGS.SILENT" of flags and keywords.
class UidStoreJob : public ImapJob {
  public:
    UidStoreJob(QByteArray uidSet, bool add, QList<QByteArray> flags)
        : set_(std::move(uidSet)), add_(add), flags_(std::move(flags)) {}
    std::vector<ImapArg> command() const override;
    QByteArray name() const override { return "UID STORE"; }

  private:
    QByteArray set_;
    bool add_;
    QList<QByteArray> flags_;
};

class AppendJob : public ImapJob {
  public:
    AppendJob(QByteArray rawMailbox, QList<QByteArray> flags, QDateTime internalDate,
              QByteArray mail)
        : raw_(std::move(rawMailbox)), flags_(std::move(flags)), date_(std::move(internalDate)),
          mail_(std::move(mail)) {}
    std::vector<ImapArg> command() const override;
    OpError completed(const ImapResponse& tagged) override;
    QByteArray name() const override { return "APPEND"; }
    // From APPENDUID; 0 when the server did not say.
    quint64 uidValidity = 0;
    quint64 uid = 0;

  private:
    QByteArray raw_;
    QList<QByteArray> flags_;
    QDateTime date_;
    QByteArray mail_;
};

class UidExpungeJob : public ImapJob {
  public:
    explicit UidExpungeJob(QByteArray uidSet) : set_(std::move(uidSet)) {}
    std::vector<ImapArg> command() const override { return {{"UID EXPUNGE " + set_}}; }
    QByteArray name() const override { return "UID EXPUNGE"; }

  private:
    QByteArray set_;
};

// STATUS name (UIDVALIDITY UIDNEXT).
class StatusJob : public ImapJob {
  public:
    explicit StatusJob(QByteArray rawName) : raw_(std::move(rawName)) {}
    std::vector<ImapArg> command() const override;
    void untagged(const ImapResponse& r) override;
    QByteArray name() const override { return "STATUS"; }
    quint64 uidValidity = 0;
    quint64 uidNext = 0;

  private:
    QByteArray raw_;
};

// UID SEARCH with the criteria as given; the UIDs found, from SEARCH or (IMAP4rev2) ESEARCH.
class UidSearchJob : public ImapJob {
  public:
    explicit UidSearchJob(std::vector<ImapArg> criteria) : criteria_(std::move(criteria)) {}
    std::vector<ImapArg> command() const override;
    void untagged(const ImapResponse& r) override;
    QByteArray name() const override { return "UID SEARCH"; }
    std::vector<quint64> uids;

  private:
    std::vector<ImapArg> criteria_;
};

class NoopJob : public ImapJob {
  public:
    std::vector<ImapArg> command() const override { return {{"NOOP"}}; }
    void untagged(const ImapResponse& r) override;
    QByteArray name() const override { return "NOOP"; }
    quint64 exists = 0;
    bool sawExists = false;
};

// IDLE runs asynchronously (ImapConnection::startAsync) until "DONE".
class IdleJob : public ImapJob {
  public:
    std::vector<ImapArg> command() const override { return {{"IDLE"}}; }
    QByteArray name() const override { return "IDLE"; }
};

class LogoutJob : public ImapJob {
  public:
    std::vector<ImapArg> command() const override { return {{"LOGOUT"}}; }
    QByteArray name() const override { return "LOGOUT"; }
};

// "17-Jul-1996 02:44:25 -0700" and back.
QByteArray FormatInternalDate(const QDateTime& date);
QDateTime ParseInternalDate(const QByteArray& text);

// A namespace of NAMESPACE (RFC 2342): its prefix as the server names it, and its delimiter.
struct ImapNamespace {
    QByteArray prefix;
    QChar delimiter; // null for a flat namespace
};

// NAMESPACE: the personal namespaces, and those of other users and the shared ones together.
class NamespaceJob : public ImapJob {
  public:
    std::vector<ImapArg> command() const override { return {{"NAMESPACE"}}; }
    void untagged(const ImapResponse& r) override;
    QByteArray name() const override { return "NAMESPACE"; }
    std::vector<ImapNamespace> personal, others;
    bool answered = false;
};
