#pragma once
// The working state of one StowawayNow call, of one mail in it, and of one rule on that mail.
// Nothing of it outlives the call.
#include "data/records.h"
#include "host/mail_store.h"

#include <QSet>
#include <QString>
#include <QStringList>
#include <cstdint>

class StatusSurface;

struct RunState {
    bool specialRule = false;
    bool abortRun = false;
    bool singleItem = false;
    QString folderName;
    int32_t mailsDone = 0;
    int32_t filesSaved = 0;
    int32_t filesDeleted = 0;    // over the whole call, never reset per mail
    int32_t mailsNotChanged = 0; // the store refused their changes; their files stay in them
    int32_t itemsSeen = 0;
    int32_t itemsTotal = 0;
    StatusSurface* status = nullptr;
    // One record for the call, filled again for each attachment: fields a case does not write
    // keep the value of the attachment before.
    udtProtoEntry proto;
    // The last body built in this call: a body without its closing mark gets it in front of the
    // block (see annotation.cpp).
    QString lastNewBody;
};

struct MailState {
    MailItemPtr item; // as the folder gave it
    MailItemPtr mail; // fetched through the session
    bool mailChanged = false;
    bool saveFailed = false;
    int16_t attCount = 0;      // read once, before the rule loop
    QSet<int> passedOverShown; // attachments already listed as passed over
    QString senderName;
    QString senderAddress;
    QString recipientName;
    QString recipientAddress;
};

struct RuleRun {
    udtRule rule; // a copy: nothing the driver does writes back to the table
    QString name;
    bool delAttach = false;
    QString baseFolder;
    QString targetFolder;
    QStringList savedList;    // "name in the mail|full path"
    QString deletedNames;     // "name; name; "
    int32_t filesDeleted = 0; // from this mail by this rule, until the mail is saved
};
