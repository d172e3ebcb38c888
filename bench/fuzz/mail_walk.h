#pragma once
// What the engine does with a mail, short of the rules: list it, read every property it reads,
// fetch it, and save every attachment into the sandbox's target folder.
#include "host/mail_store.h"
#include "host/maildir/maildir_session.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <vector>

struct SavedAttachment {
    QString name;
    qint64 size = 0;
    int type = AttachType::ByValue;
    bool saved = false;
    QByteArray content; // as saved
};

struct WalkedMail {
    QString entryId;
    MailItemPtr item; // the fetched mail; null when the store refused it
    std::vector<SavedAttachment> attachments;
};

// Writes the bytes as one unread mail in cur/ of the sandbox's Maildir; returns its unique name.
QString DeliverMail(const uint8_t* data, size_t size);
// Lists the Inbox (which must hold exactly the one delivered mail), reads it and its
// attachments. The target folder is emptied first.
WalkedMail WalkMail(MaildirSession& session, const QString& entryId);
// Reads the attachment's properties and saves it into the target folder as the engine would;
// the saved file must be whole and as large as the attachment says.
SavedAttachment SaveAttachment(Attachment& attachment);
// Nothing but the Maildir, the target folder and the LOG changed under the sandbox.
void CheckNoStrayWrites(const QStringList& before);
