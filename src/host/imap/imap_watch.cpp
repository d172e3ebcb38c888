#include "host/imap/imap_watch.h"

#include "data/log.h"
#include "data/settings.h"
#include "host/imap/imap_item.h"

#include <algorithm>

// 80 s of IDLE and 30 s for the answer to DONE: a silent drop is seen within 2 minutes.
int ImapMailboxWatch::idleRenewMs = 80 * 1000;
int ImapMailboxWatch::answerMs = 30 * 1000;
int ImapMailboxWatch::maxBackoffMs = 5 * 60 * 1000;

namespace {

bool IsInbox(const ImapMailbox& mailbox) {
    return mailbox.rawName.compare("INBOX", Qt::CaseInsensitive) == 0;
}

// A whole-number setting, kept within its bounds whatever the file says.
int BoundedSetting(const char* key, int fallback, int min, int max) {
    const long long value = GetNumberSetting(QLatin1String(key), QString::number(fallback));
    return int(std::clamp<long long>(value, min, max));
}

int PollMs() {
    return BoundedSetting("ImapPollSeconds", 60, 1, 3600) * 1000;
}

} // namespace

ImapMailboxWatch::ImapMailboxWatch(std::shared_ptr<ImapWatchPool> pool, ImapMailbox mailbox,
                                   NewMailSource::ItemAddHandler onItemAdd)
    : pool_(std::move(pool)), store_(pool_->store()), mailbox_(std::move(mailbox)),
      onItemAdd_(std::move(onItemAdd)), alive_(std::make_shared<bool>(true)) {
    renewTimer_.setSingleShot(true);
    retryTimer_.setSingleShot(true);
    answerTimer_.setSingleShot(true);
    QObject::connect(&renewTimer_, &QTimer::timeout, [this] { endIdle(); });
    QObject::connect(&retryTimer_, &QTimer::timeout, [this] { reconnect(); });
    QObject::connect(&answerTimer_, &QTimer::timeout, [this] {
        onFailure(ImapError(store_->account().endpoint,
                            QStringLiteral("no answer to %1 within %2 s")
                                .arg(QLatin1String(doneSent_ ? "DONE" : "IDLE"))
                                .arg(answerMs / 1000)));
    });
}

ImapMailboxWatch::~ImapMailboxWatch() {
    *alive_ = false;
    if (conn_) conn_->close();
    pool_->leave(this);
}

void ImapMailboxWatch::noteState(quint64 uidValidity, quint64 uidNext) {
    if (uidValidity_ == uidValidity) return;
    // A new or recreated mailbox: only what comes from now on is new.
    uidValidity_ = uidValidity;
    lastUid_ = uidNext ? uidNext - 1 : 0;
}

OpError ImapMailboxWatch::connectAndExamine() {
    Result<std::unique_ptr<ImapConnection>> opened = store_->openConnection();
    if (!opened.ok()) return opened.error;
    conn_ = std::move(opened.value);
    SelectJob examine(mailbox_.rawName, true);
    if (OpError e = conn_->run(examine)) {
        conn_.reset();
        return e;
    }
    noteState(examine.state.uidValidity, examine.state.uidNext);
    return OpError::none();
}

OpError ImapMailboxWatch::startIdle() {
    polled_ = false;
    if (OpError e = connectAndExamine()) return e;
    idle();
    return OpError::none();
}

OpError ImapMailboxWatch::startPolled() {
    polled_ = true;
    const Result<ImapConnection*> conn = store_->connection();
    if (!conn.ok()) return conn.error;
    StatusJob status(mailbox_.rawName);
    if (OpError e = conn.value->run(status)) return e;
    noteState(status.uidValidity, status.uidNext);
    return OpError::none();
}

void ImapMailboxWatch::becomePolled() {
    closeConnection();
    retryTimer_.stop();
    polled_ = true;
}

bool ImapMailboxWatch::poll() {
    const Result<ImapConnection*> conn = store_->connection();
    StatusJob status(mailbox_.rawName);
    const OpError e = conn.ok() ? conn.value->run(status) : conn.error;
    if (e) {
        WriteLog(QStringLiteral("! IMAP: looking at %1 failed (%2); next look in %3 s")
                     .arg(mailbox_.name, e.description)
                     .arg(PollMs() / 1000));
        return conn.ok() && conn.value->isOpen();
    }
    const quint64 before = uidValidity_;
    noteState(status.uidValidity, status.uidNext);
    if (before != uidValidity_ || !status.uidNext || status.uidNext - 1 > lastUid_) check();
    return true;
}

void ImapMailboxWatch::idle() {
    if (!conn_) return;
    idling_ = doneSent_ = pending_ = false;
    // Before the command: an answer already buffered is read at once.
    answerTimer_.start(answerMs);
    renewTimer_.start(idleRenewMs);
    IdleJob idle;
    const OpError e = conn_->startAsync(
        idle, [this](const ImapResponse& r) { onResponse(r); },
        [this, alive = alive_](const OpError& error) {
            if (*alive) onFailure(error);
        });
    if (e) onFailure(e);
}

void ImapMailboxWatch::onResponse(const ImapResponse& r) {
    switch (r.type) {
    case ImapResponse::Type::Continuation:
        idling_ = true;
        answerTimer_.stop();
        if (pending_) endIdle();
        return;
    case ImapResponse::Type::Untagged:
        if (r.data.size() == 2 && r.data[1].isAtom("EXISTS")) {
            pending_ = true;
            if (idling_) endIdle();
        } else if (r.status == "BYE") {
            onFailure(ImapError(store_->account().endpoint,
                                QStringLiteral("the server ended IDLE: ") + r.text));
        }
        return;
    case ImapResponse::Type::Tagged:
        conn_->stopAsync();
        renewTimer_.stop();
        answerTimer_.stop();
        if (r.status != "OK") {
            onFailure(ImapError(
                store_->account().endpoint,
                QStringLiteral("IDLE refused: %1 %2").arg(QLatin1String(r.status), r.text)));
            return;
        }
        // Leave the socket's signal before the handlers run.
        QTimer::singleShot(0, [this, alive = alive_] {
            if (*alive) check();
        });
        return;
    }
}

void ImapMailboxWatch::endIdle() {
    if (!conn_) return;
    if (doneSent_ || !idling_) {
        pending_ = true;
        return;
    }
    doneSent_ = true;
    if (OpError e = conn_->sendLine("DONE")) {
        onFailure(e);
        return;
    }
    answerTimer_.start(answerMs);
}

void ImapMailboxWatch::check() {
    if (!polled_ && !conn_) return;
    UidFetchJob fetch(QByteArray::number(lastUid_ + 1) + ":*", "FLAGS");
    // Polled, the mailbox is selected on the shared connection as any walk selects it.
    const OpError e = polled_ ? store_->runIn(mailbox_.rawName, fetch) : conn_->run(fetch);
    if (e) {
        if (polled_)
            WriteLog(QStringLiteral("! IMAP: looking at %1 failed (%2); next look in %3 s")
                         .arg(mailbox_.name, e.description)
                         .arg(PollMs() / 1000));
        else
            onFailure(e);
        return;
    }
    std::vector<MailItemPtr> fresh;
    for (auto& [uid, mail] : fetch.mails) {
        if (uid <= lastUid_) continue;
        lastUid_ = uid;
        const ImapMailId id{mailbox_.rawName, uidValidity_, uid};
        if (store_->isOwnAppend(id)) continue;
        fresh.push_back(std::make_shared<ImapItem>(store_, mailbox_, id, mail.flags));
    }
    backoffMs_ = 1000;
    const std::shared_ptr<bool> alive = alive_;
    for (const MailItemPtr& item : fresh) {
        onItemAdd_(item);
        if (!*alive) return; // the handler ended the subscription
    }
    if (!polled_) idle();
}

void ImapMailboxWatch::closeConnection() {
    renewTimer_.stop();
    answerTimer_.stop();
    if (!conn_) return;
    // Maybe called from inside the connection's own signal: it goes once that has returned.
    std::shared_ptr<ImapConnection> dying(conn_.release());
    dying->stopAsync();
    QTimer::singleShot(0, [dying] { dying->close(); });
}

void ImapMailboxWatch::onFailure(const OpError& error) {
    closeConnection();
    WriteLog(QStringLiteral("! IMAP: watching %1 stopped (%2); next try in %3 s")
                 .arg(mailbox_.name, error.description)
                 .arg(backoffMs_ / 1000.0));
    retryTimer_.start(backoffMs_);
    backoffMs_ = std::min(backoffMs_ * 2, maxBackoffMs);
}

void ImapMailboxWatch::reconnect() {
    if (OpError e = connectAndExamine()) {
        onFailure(e);
        return;
    }
    WriteLog(QStringLiteral("IMAP: watching %1 again").arg(mailbox_.name));
    check(); // whatever came while the connection was down
}

ImapWatchPool::ImapWatchPool(ImapStorePtr store) : store_(std::move(store)) {
    QObject::connect(&pollTimer_, &QTimer::timeout, [this] { pollAll(); });
}

int ImapWatchPool::idleSlots() {
    const Result<ImapConnection*> conn = store_->connection();
    if (!conn.ok()) return 0;
    if (!conn.value->hasCapability("IDLE")) {
        if (!toldNoIdle_)
            WriteLog(QStringLiteral("! IMAP: %1 has no IDLE; the watched mailboxes are looked at "
                                    "in turn")
                         .arg(store_->account().endpoint.host));
        toldNoIdle_ = true;
        return 0;
    }
    return BoundedSetting("ImapConnections", 5, 1, 50) - 1;
}

int ImapWatchPool::idleCount() const {
    return int(std::count_if(watches_.begin(), watches_.end(),
                             [](const ImapMailboxWatch* w) { return !w->polled(); }));
}

Result<std::unique_ptr<ItemAddSubscription>>
ImapWatchPool::subscribe(const ImapMailbox& mailbox, NewMailSource::ItemAddHandler onItemAdd) {
    auto watch =
        std::make_unique<ImapMailboxWatch>(shared_from_this(), mailbox, std::move(onItemAdd));
    const int idleMax = idleSlots();
    if (IsInbox(mailbox) && idleMax > 0 && idleCount() >= idleMax) {
        // The inbox comes first: the last other mailbox to get a connection gives it up.
        const auto other = std::find_if(watches_.rbegin(), watches_.rend(),
                                        [](const ImapMailboxWatch* w) { return !w->polled(); });
        (*other)->becomePolled();
        startPolling();
        WriteLog(QStringLiteral("IMAP: %1 is looked at every %2 s from now on")
                     .arg((*other)->mailbox().name)
                     .arg(PollMs() / 1000));
    }
    const bool idles = idleCount() < idleMax;
    OpError error = idles ? watch->startIdle() : OpError::none();
    if (error)
        WriteLog(QStringLiteral("! IMAP: no connection of its own for %1 (%2)")
                     .arg(mailbox.name, error.description));
    if (!idles || error) {
        if ((error = watch->startPolled())) return {nullptr, error};
        WriteLog(QStringLiteral("IMAP: %1 is looked at every %2 s")
                     .arg(mailbox.name)
                     .arg(PollMs() / 1000));
    }
    watches_.push_back(watch.get());
    if (watch->polled()) startPolling();
    return {std::move(watch), OpError::none()};
}

void ImapWatchPool::leave(ImapMailboxWatch* watch) {
    std::erase(watches_, watch);
    if (std::none_of(watches_.begin(), watches_.end(),
                     [](const ImapMailboxWatch* w) { return w->polled(); }))
        pollTimer_.stop();
}

void ImapWatchPool::startPolling() {
    if (!pollTimer_.isActive()) pollTimer_.start(PollMs());
}

void ImapWatchPool::pollAll() {
    if (polling_) return; // a handler's own wait came back here
    const std::shared_ptr<ImapWatchPool> self = shared_from_this();
    polling_ = true;
    // A handler may end subscriptions: each watch is looked up again before its turn.
    const std::vector<ImapMailboxWatch*> turn = watches_;
    for (ImapMailboxWatch* watch : turn)
        if (std::find(watches_.begin(), watches_.end(), watch) != watches_.end() &&
            watch->polled() && !watch->poll())
            break; // the connection failed: the others wait for the next turn
    polling_ = false;
}
