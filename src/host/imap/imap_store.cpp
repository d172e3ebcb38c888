#include "host/imap/imap_store.h"

#include "data/log.h"
#include "host/imap/imap_namespace.h"
#include "host/imap/imap_rewrite.h"

#include <QCryptographicHash>
#include <QDir>
#include <QStandardPaths>

namespace {
// Kept as they are in an id besides letters and digits: what mailbox names hold in plain text.
const QByteArray kPlainInId = "-._~!$&'()*+,;=:@/[]^{}|`<> ";
} // namespace

QString ImapMailId::entryId() const {
    return QString::fromLatin1(mailbox.toPercentEncoding(kPlainInId)) + QLatin1Char('/') +
           QString::number(uidValidity) + QLatin1Char('/') + QString::number(uid);
}

bool ImapMailId::parse(const QString& entryId, ImapMailId& id) {
    // From the right: the mailbox's name may hold slashes itself.
    const qsizetype last = entryId.lastIndexOf(QLatin1Char('/'));
    if (last <= 0) return false;
    const qsizetype before = entryId.lastIndexOf(QLatin1Char('/'), last - 1);
    bool ok1 = false, ok2 = false;
    id.uidValidity = entryId.mid(before + 1, last - before - 1).toULongLong(&ok1);
    id.uid = entryId.mid(last + 1).toULongLong(&ok2);
    id.mailbox = before < 0 ? QByteArray()
                            : QByteArray::fromPercentEncoding(entryId.left(before).toLatin1());
    return ok1 && ok2 && id.uidValidity && id.uid && (before < 0 || !id.mailbox.isEmpty());
}

OpError ImapLogin(ImapConnection& conn, const ImapAccount& account, const QByteArray& secret) {
    if (conn.preAuthenticated()) return OpError::none(); // the server knows the user already
    const QByteArray user = account.user.toUtf8();
    OpError error;
    if (account.xoauth2) {
        if (!conn.hasCapability("AUTH=XOAUTH2"))
            return ImapError(
                account.endpoint,
                QStringLiteral("the server does not take OAuth2 tokens (AUTH=XOAUTH2)"));
        AuthenticateJob job(AuthenticateJob::Mechanism::XOAuth2, user, secret,
                            conn.hasCapability("SASL-IR"));
        error = conn.run(job);
    } else if (conn.hasCapability("AUTH=PLAIN")) {
        AuthenticateJob job(AuthenticateJob::Mechanism::Plain, user, secret,
                            conn.hasCapability("SASL-IR"));
        error = conn.run(job);
    } else if (!conn.hasCapability("LOGINDISABLED")) {
        LoginJob job(user, secret);
        error = conn.run(job);
    } else {
        return ImapError(account.endpoint,
                         QStringLiteral("the server offers no way to log in with a password"));
    }
    if (error)
        return ImapError(
            account.endpoint,
            QStringLiteral("login as %1 refused: %2").arg(account.user, error.description));
    // The capabilities after login may differ; ask if the answer did not list them.
    if (!conn.hasCapability("IMAP4REV1")) {
        class Caps : public ImapJob {
          public:
            std::vector<ImapArg> command() const override { return {{"CAPABILITY"}}; }
            QByteArray name() const override { return "CAPABILITY"; }
        } caps;
        return conn.run(caps);
    }
    return OpError::none();
}

ImapStore::ImapStore(ImapAccount account, QByteArray secret, ImapLimits limits)
    : account_(std::move(account)), secret_(std::move(secret)), limits_(limits),
      summaries_(std::make_unique<ImapSummaryCache>(cacheDir() + QStringLiteral("/done"))) {}

Result<std::unique_ptr<ImapConnection>> ImapStore::openConnection() const {
    auto conn = std::make_unique<ImapConnection>(account_.endpoint, limits_);
    if (OpError e = conn->open()) return {nullptr, e};
    if (OpError e = ImapLogin(*conn, account_, secret_)) return {nullptr, e};
    return {std::move(conn), OpError::none()};
}

Result<ImapConnection*> ImapStore::connection() {
    if (conn_ && conn_->isOpen()) return {conn_.get(), OpError::none()};
    selected_.clear();
    listings.clear(); // what changed while away is not known: the next walk lists all
    Result<std::unique_ptr<ImapConnection>> opened = openConnection();
    if (!opened.ok()) return {nullptr, opened.error};
    conn_ = std::move(opened.value);
    return {conn_.get(), OpError::none()};
}

Result<ImapMailboxState> ImapStore::select(const QByteArray& rawName, bool write) {
    const Result<ImapConnection*> conn = connection();
    if (!conn.ok()) return {{}, conn.error};
    if (selected_ == rawName && !rawName.isEmpty() && (selectedWritable_ || !write))
        return {selectedState_, OpError::none()};
    const bool recover = !recovered_.count(rawName) && hasJournalFor(rawName);
    SelectJob job(rawName, !(write || recover), conn.value->hasCapability("CONDSTORE"));
    selected_.clear();
    if (OpError e = conn.value->run(job)) return {{}, e};
    selected_ = rawName;
    selectedWritable_ = write || recover;
    selectedState_ = job.state;
    if (recover) {
        recovered_.insert(rawName);
        if (OpError e = this->recover(rawName, job.state))
            WriteLog(QStringLiteral("! IMAP: an unfinished rewrite in %1 stays as it is: %2")
                         .arg(DecodeMailboxName(rawName), e.description));
    }
    return {selectedState_, OpError::none()};
}

OpError ImapStore::runIn(const QByteArray& rawName, ImapJob& job, bool write) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        const bool wasOpen = conn_ && conn_->isOpen();
        const Result<ImapMailboxState> state = select(rawName, write);
        if (!state.ok()) {
            if (wasOpen && attempt == 0 && !(conn_ && conn_->isOpen())) continue;
            return state.error;
        }
        return conn_->run(job);
    }
    return ImapError(account_.endpoint, QStringLiteral("not connected"));
}

OpError ImapStore::runFor(const ImapMailId& id, ImapJob& job, bool write) {
    if (id.mailbox.isEmpty())
        return OpError::make(ErrNo::NotFound,
                             QStringLiteral("No mailbox in the mail id ") + id.entryId());
    Result<ImapMailboxState> state = select(id.mailbox, write);
    if (!state.ok()) state = select(id.mailbox, write); // on a fresh connection
    if (!state.ok()) return state.error;
    if (state.value.uidValidity != id.uidValidity)
        return OpError::make(ErrNo::NotFound,
                             QStringLiteral("The mail %1 is no longer on the server: %2 was "
                                            "made anew")
                                 .arg(id.entryId(), DecodeMailboxName(id.mailbox)));
    return runIn(id.mailbox, job, write);
}

Result<std::vector<ImapMailbox>> ImapStore::mailboxes(bool refresh) {
    if (listed_ && !refresh) return {mailboxes_, OpError::none()};
    const Result<ImapConnection*> conn = connection();
    if (!conn.ok()) return {{}, conn.error};
    Result<std::vector<ImapMailbox>> listed = ListPersonalMailboxes(*conn.value);
    if (!listed.ok()) return {{}, listed.error};
    mailboxes_ = std::move(listed.value);
    listed_ = true;
    return {mailboxes_, OpError::none()};
}

Result<ImapMailbox> ImapStore::mailboxByName(const QString& name) {
    const Result<std::vector<ImapMailbox>> boxes = mailboxes();
    if (!boxes.ok()) return {{}, boxes.error};
    for (const ImapMailbox& box : boxes.value)
        if (box.name == name) return {box, OpError::none()};
    return {{},
            OpError::make(ErrNo::NotFound,
                          QStringLiteral("No mailbox %1 on %2").arg(name, account_.displayName()))};
}

Result<ImapMailbox> ImapStore::mailboxOf(const ImapMailId& id) {
    const Result<std::vector<ImapMailbox>> boxes = mailboxes();
    if (!boxes.ok()) return {{}, boxes.error};
    if (!id.mailbox.isEmpty()) {
        for (const ImapMailbox& box : boxes.value)
            if (box.rawName == id.mailbox) return {box, OpError::none()};
        // Not listed (yet): the mailbox named in the id and no other.
        ImapMailbox box;
        box.rawName = id.mailbox;
        box.name = DecodeMailboxName(id.mailbox);
        return {box, OpError::none()};
    }
    const Result<ImapConnection*> conn = connection();
    if (!conn.ok()) return {{}, conn.error};
    std::vector<ImapMailbox> matching;
    for (const ImapMailbox& box : boxes.value) {
        if (!box.selectable()) continue;
        StatusJob status(box.rawName);
        if (!conn.value->run(status) && status.uidValidity == id.uidValidity)
            matching.push_back(box);
    }
    if (matching.size() == 1) return {matching.front(), OpError::none()};
    const QString account = account_.displayName(), validity = QString::number(id.uidValidity);
    const QString why =
        matching.empty()
            ? QStringLiteral("No mailbox on %1 has UIDVALIDITY %2").arg(account, validity)
            : QStringLiteral("Several mailboxes on %1 have UIDVALIDITY %2; the mail %3 is not "
                             "told among them")
                  .arg(account, validity, id.entryId());
    return {{}, OpError::make(ErrNo::NotFound, why)};
}

ImapMailId ImapStore::current(ImapMailId id) const {
    for (int hops = 0; hops < 1000; ++hops) {
        const auto next = replaced_.find(id);
        if (next == replaced_.end()) break;
        id = next->second;
    }
    return id;
}

void ImapStore::noteReplaced(const ImapMailId& old, const ImapMailId& replacement) {
    replaced_[old] = replacement;
    headers.erase(old);
}

void ImapStore::noteStamp(const ImapMailId& id) {
    summaries_->setStamped(id.mailbox, id.uidValidity, id.uid, true);
    if (stampsNotedIn_.insert(id.mailbox).second)
        WriteLog(QStringLiteral("! IMAP: %1 on %2 takes neither keywords nor changed mails; which "
                                "mails there are done is kept on this computer only")
                     .arg(DecodeMailboxName(id.mailbox), account_.displayName()));
}

const ImapStore::FetchedMail* ImapStore::recentlyFetched(const ImapMailId& id) const {
    for (const FetchedMail& mail : fetched_)
        if (mail.id == id) return &mail;
    return nullptr;
}

const ImapStore::FetchedMail& ImapStore::noteFetched(FetchedMail mail) {
    constexpr size_t kMails = 8;
    constexpr qsizetype kBytes = 32 * 1024 * 1024;
    qsizetype total = mail.bytes.size();
    for (const FetchedMail& kept : fetched_)
        total += kept.bytes.size();
    while (!fetched_.empty() && (fetched_.size() >= kMails || total > kBytes)) {
        total -= fetched_.front().bytes.size();
        fetched_.pop_front();
    }
    fetched_.push_back(std::move(mail));
    return fetched_.back();
}

QString ImapStore::cacheDir() const {
    // By user and host alone: what is kept there checks the mailbox's UIDVALIDITY itself.
    const QByteArray key =
        QCryptographicHash::hash(account_.displayName().toUtf8(), QCryptographicHash::Sha1)
            .toHex()
            .left(16);
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
           QStringLiteral("/Quillworks/Stowaway/imap/") + QString::fromLatin1(key);
}

QString ImapStore::journalDir() const {
    return cacheDir() + QStringLiteral("/rewrites");
}

bool ImapStore::hasJournalFor(const QByteArray& rawName) const {
    const QDir dir(journalDir());
    return dir.exists() && !dir.entryList(QDir::Files).isEmpty() && !rawName.isEmpty();
}

OpError ImapStore::recover(const QByteArray& rawName, const ImapMailboxState& state) {
    return ImapRewrite::Recover(*this, *conn_, rawName, state);
}
