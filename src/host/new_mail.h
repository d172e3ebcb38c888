#pragma once
// The store's new-mail signal: a subscription per watched folder that reports each item added
// to it. The store's own writes are not reported.
#include "host/mail_store.h"

#include <functional>
#include <memory>

class ItemAddSubscription {
  public:
    virtual ~ItemAddSubscription() = default;
};

class NewMailSource {
  public:
    using ItemAddHandler = std::function<void(const MailItemPtr& item)>;
    virtual ~NewMailSource() = default;
    // Reports items added to `folder` until the subscription is destroyed.
    virtual Result<std::unique_ptr<ItemAddSubscription>>
    SubscribeItemAdd(const MailFolderPtr& folder, ItemAddHandler onItemAdd) = 0;
};
