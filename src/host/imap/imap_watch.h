#pragma once
// New mail in the watched mailboxes of one account, within a budget of connections (the setting
// ImapConnections, the store's shared connection counted): the inbox and as many other
// mailboxes as fit IDLE on a connection of their own; the others are looked at in turn on the
// shared connection every ImapPollSeconds, as all are where the server has no IDLE.
// IDLE has deadlines: the server's "+" and its answer to DONE within 30 s, and IDLE is renewed
// often enough that a connection dropped without a word is noticed within 2 minutes. After a
// failure the watch reconnects with a growing pause (1 s doubling to 5 min) and then looks at
// every mail that came meanwhile, so nothing delivered while it was away is missed. The store's
// own appends are not reported.
#include "host/imap/imap_store.h"
#include "host/new_mail.h"

#include <QTimer>

class ImapWatchPool;

class ImapMailboxWatch : public ItemAddSubscription {
  public:
    ImapMailboxWatch(std::shared_ptr<ImapWatchPool> pool, ImapMailbox mailbox,
                     NewMailSource::ItemAddHandler onItemAdd);
    ~ImapMailboxWatch() override;
    const ImapMailbox& mailbox() const { return mailbox_; }
    bool polled() const { return polled_; }
    // Starts watching, by IDLE on a connection of its own or looked at in turn; mails already
    // there are not reported.
    OpError startIdle();
    OpError startPolled();
    // Gives up the connection of its own: from now on looked at in turn.
    void becomePolled();
    // One look on the shared connection: the mails above the last one seen are reported.
    // False when the connection failed.
    bool poll();

    // How long IDLE runs before it is renewed, how long the server may take to answer IDLE and
    // DONE, and the longest pause between reconnects.
    static int idleRenewMs;
    static int answerMs;
    static int maxBackoffMs;

  private:
    OpError connectAndExamine();
    void noteState(quint64 uidValidity, quint64 uidNext);
    void idle();
    void onResponse(const ImapResponse& r);
    void onFailure(const OpError& error);
    void endIdle();
    void closeConnection();
    // Reports the mails above the last one seen, then idles again where it idles.
    void check();
    void reconnect();

    std::shared_ptr<ImapWatchPool> pool_;
    ImapStorePtr store_;
    ImapMailbox mailbox_;
    NewMailSource::ItemAddHandler onItemAdd_;
    std::unique_ptr<ImapConnection> conn_;
    bool polled_ = false;
    quint64 uidValidity_ = 0;
    quint64 lastUid_ = 0;
    bool idling_ = false;
    bool doneSent_ = false;
    bool pending_ = false; // new mail was announced
    int backoffMs_ = 1000;
    QTimer renewTimer_;
    QTimer retryTimer_;
    QTimer answerTimer_; // the deadline for "+" or for the answer to DONE
    std::shared_ptr<bool> alive_;
};

// The watches of one account and its connection budget.
class ImapWatchPool : public std::enable_shared_from_this<ImapWatchPool> {
  public:
    explicit ImapWatchPool(ImapStorePtr store);
    Result<std::unique_ptr<ItemAddSubscription>> subscribe(const ImapMailbox& mailbox,
                                                           NewMailSource::ItemAddHandler onItemAdd);
    const ImapStorePtr& store() const { return store_; }

  private:
    friend class ImapMailboxWatch;
    // The IDLE connections the budget leaves beside the shared one.
    int idleSlots();
    int idleCount() const;
    void leave(ImapMailboxWatch* watch);
    void startPolling();
    void pollAll();

    ImapStorePtr store_;
    std::vector<ImapMailboxWatch*> watches_;
    QTimer pollTimer_;
    bool polling_ = false;
    bool toldNoIdle_ = false;
};
