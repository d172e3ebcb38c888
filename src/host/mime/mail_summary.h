#pragma once
// What the store keeps of a parsed mail, so that listing a folder again does not parse again:
// the header fields (cheap, from the header block alone) and the attachment list (from the
// whole MIME tree).
#include "host/mail_store.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <vector>

struct MailHeaders {
    QString subject;
    QString senderName;
    QString senderAddress;
    std::vector<Recipient> recipients; // To:, then Cc:
    bool hasReceivedTime = false;
    qint64 receivedTime = 0; // seconds since 1970, UTC: newest Received:, else Date:
    QString mileage;
    bool isPost = false;  // Newsgroups: and no To:
    QByteArray topType;   // "multipart/mixed", lower case
    QByteArray topMethod; // the method parameter of a top-level text/calendar
};

struct AttachmentInfo {
    QString fileName; // decoded; made up where the part has none
    int type = AttachType::ByValue;
    QString contentId; // without angle brackets; empty unless the HTML body shows the part
};

struct MailStructure {
    int itemClass = ItemClass::Mail;
    bool hasHtmlBody = false;
    std::vector<AttachmentInfo> attachments;
};

using MailHeadersPtr = std::shared_ptr<const MailHeaders>;
using MailStructurePtr = std::shared_ptr<const MailStructure>;
