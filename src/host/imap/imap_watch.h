#pragma once
// New mail in one mailbox, told by IDLE over a connection of its own. IDLE is renewed before
// the server's 30-minute limit; after a network failure the watch reconnects with a growing
// pause (1 s doubling to 5 min) and then looks at every mail that came meanwhile, so nothing
// delivered while it was away is missed. The store's own appends are not reported.
#include "host/imap/imap_store.h"
#include "host/new_mail.h"

#include <QTimer>

class ImapIdleWatch : public ItemAddSubscription {
  public:
    ImapIdleWatch(ImapStorePtr store, ImapMailbox mailbox, NewMailSource::ItemAddHandler onItemAdd);
    ~ImapIdleWatch() override;
    // Connects and starts watching; mails already there are not reported.
    OpError start();

    // How long IDLE runs before it is renewed, and the longest pause between reconnects.
    static int idleRenewMs;
    static int maxBackoffMs;

  private:
    OpError connectAndExamine();
    void startIdle();
    void onResponse(const ImapResponse& r);
    void onFailure(const OpError& error);
    void endIdle();
    // Reports the mails above the last one seen, then idles again.
    void check();
    void reconnect();

    ImapStorePtr store_;
    ImapMailbox mailbox_;
    NewMailSource::ItemAddHandler onItemAdd_;
    std::unique_ptr<ImapConnection> conn_;
    quint64 uidValidity_ = 0;
    quint64 lastUid_ = 0;
    bool idling_ = false;
    bool doneSent_ = false;
    bool pending_ = false; // new mail was announced
    int backoffMs_ = 1000;
    QTimer renewTimer_;
    QTimer retryTimer_;
    std::shared_ptr<bool> alive_;
};
