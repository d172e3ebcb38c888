#pragma once
// Does a mail meet a rule's criteria? Also hands back the sender's and first recipient's names
// and addresses, on which the later steps rest.
#include "data/records.h"
#include "host/mail_store.h"

#include <QString>

// Fetches the item's mail anew from the session. The four outputs are set before the criteria
// are tested, whatever the result; a mail that cannot be fetched leaves them as they were.
bool MatchesRule(const MailItemPtr& item, const udtRule& rule, QString& senderName,
                 QString& senderAddress, QString& recipientName, QString& recipientAddress);

// The attachments that are never saved: hidden ones, any that is not a file by value, pictures
// used inside the body (with a content id), and cards (extension "VCF").
bool IsPassedOverAttachment(bool hidden, int type, const QString& contentId,
                            const QString& extensionUpper);
