#pragma once
// The processing driver: walks a folder (or takes one item), qualifies each mail and runs every
// active rule that matches it, in table order.
#include "data/records.h"
#include "host/mail_store.h"

#include <vector>

class StatusSurface;

// The stamp of a mail that is done for good, in its Mileage.
inline constexpr const char* kStowawayStamp = "QWKStowaway";

// Processes `folder`, or, when it is null, the one `item`. `status` (may be null) shows the walk
// on its sub-progress bar. `special` replaces the rule table when its name is set. False when
// there is nothing to do (no rules, neither folder nor item) or the run was aborted.
// The protocol is complete on disk when the call returns. `mailsNotChanged` (may be null) gets
// how many mails the store refused to change.
bool StowawayNow(const MailFolderPtr& folder, const MailItemPtr& item, StatusSurface* status,
                 udtRule& special, int* mailsNotChanged = nullptr);
// The same without a special rule.
bool StowawayNow(const MailFolderPtr& folder, const MailItemPtr& item, StatusSurface* status);

// A line for a surface that lists what a run leaves aside (UserInteraction::passedOver): the
// mail by its subject, the attachment by its name, and why. A PassedOverRecord alive takes it
// as well.
void ReportPassedOver(const MailItem& mail, const QString& attachment, const QString& reason);

// Keeps what the runs pass over while it lives, for a summary after a bulk run, whether or not
// the surface in use lists such lines. The innermost record alive takes the entries.
class PassedOverRecord {
  public:
    struct Entry {
        QString mail;       // its subject
        QString attachment; // empty: the whole mail was passed over
        QString reason;
    };
    PassedOverRecord();
    ~PassedOverRecord();
    PassedOverRecord(const PassedOverRecord&) = delete;
    PassedOverRecord& operator=(const PassedOverRecord&) = delete;
    const std::vector<Entry>& entries() const { return m_entries; }

  private:
    friend void ReportPassedOver(const MailItem&, const QString&, const QString&);
    std::vector<Entry> m_entries;
    PassedOverRecord* m_outer;
};
// Why a mail is passed over for its class (a report, a meeting request), or for having no
// attachments.
QString PassedOverClassReason(int itemClass);
QString NoAttachmentsReason();
