#include "host/imap/imap_watch.h"

#include "data/log.h"
#include "host/imap/imap_item.h"

int ImapIdleWatch::idleRenewMs = 25 * 60 * 1000;
int ImapIdleWatch::maxBackoffMs = 5 * 60 * 1000;

ImapIdleWatch::ImapIdleWatch(ImapStorePtr store, ImapMailbox mailbox,
                             NewMailSource::ItemAddHandler onItemAdd)
    : store_(std::move(store)), mailbox_(std::move(mailbox)), onItemAdd_(std::move(onItemAdd)),
      alive_(std::make_shared<bool>(true)) {
    renewTimer_.setSingleShot(true);
    retryTimer_.setSingleShot(true);
    QObject::connect(&renewTimer_, &QTimer::timeout, [this] { endIdle(); });
    QObject::connect(&retryTimer_, &QTimer::timeout, [this] { reconnect(); });
}

ImapIdleWatch::~ImapIdleWatch() {
    *alive_ = false;
    if (conn_) conn_->close();
}

OpError ImapIdleWatch::connectAndExamine() {
    Result<std::unique_ptr<ImapConnection>> opened = store_->openConnection();
    if (!opened.ok()) return opened.error;
    conn_ = std::move(opened.value);
    SelectJob examine(mailbox_.rawName, true);
    if (OpError e = conn_->run(examine)) {
        conn_.reset();
        return e;
    }
    if (uidValidity_ != examine.state.uidValidity) {
        // A new or recreated mailbox: only what comes from now on is new.
        uidValidity_ = examine.state.uidValidity;
        lastUid_ = examine.state.uidNext ? examine.state.uidNext - 1 : 0;
    }
    return OpError::none();
}

OpError ImapIdleWatch::start() {
    if (OpError e = connectAndExamine()) return e;
    if (!conn_->hasCapability("IDLE"))
        WriteLog(QStringLiteral("! IMAP: %1 has no IDLE; new mail in %2 is looked for every minute")
                     .arg(store_->account().endpoint.host, mailbox_.name));
    startIdle();
    return OpError::none();
}

void ImapIdleWatch::startIdle() {
    if (!conn_) return;
    idling_ = doneSent_ = pending_ = false;
    if (!conn_->hasCapability("IDLE")) {
        renewTimer_.start(60 * 1000); // polled: the timer's end looks for new mail
        return;
    }
    IdleJob idle;
    const OpError e = conn_->startAsync(
        idle, [this](const ImapResponse& r) { onResponse(r); },
        [this, alive = alive_](const OpError& error) {
            if (*alive) onFailure(error);
        });
    if (e) {
        onFailure(e);
        return;
    }
    renewTimer_.start(idleRenewMs);
}

void ImapIdleWatch::onResponse(const ImapResponse& r) {
    switch (r.type) {
    case ImapResponse::Type::Continuation:
        idling_ = true;
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

void ImapIdleWatch::endIdle() {
    if (!conn_) return;
    if (!conn_->hasCapability("IDLE")) {
        check();
        return;
    }
    if (doneSent_ || !idling_) {
        pending_ = true;
        return;
    }
    doneSent_ = true;
    if (OpError e = conn_->sendLine("DONE")) onFailure(e);
}

void ImapIdleWatch::check() {
    if (!conn_) return;
    UidFetchJob fetch(QByteArray::number(lastUid_ + 1) + ":*", "FLAGS");
    if (OpError e = conn_->run(fetch)) {
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
    startIdle();
}

void ImapIdleWatch::onFailure(const OpError& error) {
    renewTimer_.stop();
    if (conn_) {
        // Called from inside the connection's own signal: it goes once that has returned.
        std::shared_ptr<ImapConnection> dying(conn_.release());
        dying->stopAsync();
        QTimer::singleShot(0, [dying] { dying->close(); });
    }
    WriteLog(QStringLiteral("! IMAP: watching %1 stopped (%2); next try in %3 s")
                 .arg(mailbox_.name, error.description)
                 .arg(backoffMs_ / 1000.0));
    retryTimer_.start(backoffMs_);
    backoffMs_ = std::min(backoffMs_ * 2, maxBackoffMs);
}

void ImapIdleWatch::reconnect() {
    if (OpError e = connectAndExamine()) {
        onFailure(e);
        return;
    }
    WriteLog(QStringLiteral("IMAP: watching %1 again").arg(mailbox_.name));
    check(); // whatever came while the connection was down
}
