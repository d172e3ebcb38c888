#pragma once
// The mail-store seam. The engine sees mail only through these interfaces; host/maildir
// implements them over Maildir folders, the tests over memory. Every operation returns its value
// together with an error, so the engine tests the error exactly where it cares.
#include "common/error.h"

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

class MailFolder;
class MailItem;
class Attachment;
class NewMailSource;
using MailFolderPtr = std::shared_ptr<MailFolder>;
using MailItemPtr = std::shared_ptr<MailItem>;
using AttachmentPtr = std::shared_ptr<Attachment>;

// Item classes.
namespace ItemClass {
constexpr int Mail = 43;
constexpr int Post = 45;
constexpr int Report = 46;
constexpr int MeetingRequest = 53;
} // namespace ItemClass

// Attachment types.
namespace AttachType {
constexpr int ByValue = 1;      // a file
constexpr int EmbeddedItem = 5; // an attached message
} // namespace AttachType

// Body formats.
namespace BodyFormat {
constexpr int Plain = 1;
constexpr int Html = 2;
constexpr int RichText = 3;
} // namespace BodyFormat

struct Recipient {
    QString Name;
    QString Address;
};

class Attachment {
  public:
    virtual ~Attachment() = default;
    virtual Result<QString> FileName() const = 0;
    virtual Result<int> Type() const = 0;
    virtual Result<bool> Hidden() const = 0;
    // The content id without angle brackets; empty for none.
    virtual Result<QString> ContentId() const = 0;
    virtual Result<qint64> Size() const = 0;
    // Writes the decoded content to `path`, replacing what is there. The write is atomic: on an
    // error (a part that cannot be decoded completely among them) `path` holds what it held
    // before, never a partial file; a symbolic link at `path` is replaced, not followed.
    virtual OpError SaveAsFile(const QString& path) = 0;
    // Removes the attachment from its mail (in memory until the mail's Save); the indices of
    // the later attachments shift down.
    virtual OpError Delete() = 0;
};

class MailItem {
  public:
    virtual ~MailItem() = default;
    // Name of the object's type, for the LOG.
    virtual QString TypeName() const = 0;
    virtual Result<int> Class() const = 0;
    virtual Result<QString> EntryID() const = 0;
    virtual Result<MailFolderPtr> Parent() const = 0;
    virtual Result<QString> StoreID() const = 0;
    virtual Result<QString> Subject() const = 0;
    virtual OpError SetSubject(const QString& subject) = 0;
    virtual Result<bool> UnRead() const = 0;
    virtual OpError SetUnRead(bool unread) = 0;
    virtual Result<QString> SenderName() const = 0;
    virtual Result<QString> SenderEmailAddress() const = 0;
    virtual Result<std::vector<Recipient>> Recipients() const = 0;
    virtual Result<double> ReceivedTime() const = 0; // days since 1899, local time
    virtual Result<bool> HidePaperClip() const = 0;
    virtual Result<QString> Mileage() const = 0;
    virtual OpError SetMileage(const QString& mileage) = 0;
    virtual Result<int> BodyFormat() const = 0;
    virtual Result<QString> HTMLBody() const = 0;
    virtual OpError SetHTMLBody(const QString& html) = 0;
    virtual Result<QString> RTFBody() const = 0;
    virtual OpError SetRTFBody(const QString& rtf) = 0;
    virtual Result<QString> Body() const = 0;
    virtual OpError SetBody(const QString& text) = 0;
    virtual Result<int> InternetCodepage() const = 0;
    // The code page the next body write is meant for (28591 before every body the engine
    // writes). A store that keeps every body in UTF-8 may ignore it.
    virtual OpError SetInternetCodepage(int) { return {}; }
    // Writes the changed mail to the store.
    virtual OpError Save() = 0;
    // Shows the mail with the desktop's handler for mail files (message/rfc822).
    virtual OpError Display() {
        return OpError::make(ErrNo::Failed, QStringLiteral("This store cannot show a mail"));
    }
    virtual Result<int> AttachmentCount() const = 0;
    // 1-based.
    virtual Result<AttachmentPtr> AttachmentAt(int index) const = 0;
    // The driver's skip test passed over this mail (read, stamped or without attachments): as
    // long as the message stays as it is, its folder's ItemsNotDone may leave it out.
    virtual void NoteDone() {}
};

class MailFolder {
  public:
    virtual ~MailFolder() = default;
    virtual Result<QString> Name() const = 0;
    virtual Result<QString> EntryID() const = 0;
    virtual Result<QString> StoreID() const = 0;
    // The parent folder; null for a store's top folder.
    virtual Result<MailFolderPtr> Parent() const = 0;
    // The items in the store's order.
    virtual Result<std::vector<MailItemPtr>> Items() const = 0;
    // Items() without those noted done (MailItem::NoteDone) and unchanged since, which the
    // driver's skip test would pass over again. A store that keeps no such notes gives Items().
    virtual Result<std::vector<MailItemPtr>> ItemsNotDone() const { return Items(); }
    virtual Result<int> ItemCount() const = 0;
    virtual Result<std::vector<MailFolderPtr>> Folders() const = 0;
};

class MailSession {
  public:
    virtual ~MailSession() = default;
    // A fresh object over the message as the store holds it. An EntryID that an object handed
    // out earlier reports must keep finding its message after a Save through another object
    // (the engine's folder item and its fetched mail are two objects over one message, and a
    // second rule fetches the mail again by the item's EntryID).
    virtual Result<MailItemPtr> GetMessageFromID(const QString& entryId,
                                                 const QString& storeId) = 0;
    virtual Result<MailItemPtr> GetMessageFromID(const QString& entryId) = 0;
    virtual Result<MailFolderPtr> GetFolderFromID(const QString& entryId,
                                                  const QString& storeId) = 0;
    virtual Result<MailFolderPtr> GetDefaultInbox() = 0;
    // The top folders of every store.
    virtual Result<std::vector<MailFolderPtr>> Stores() = 0;
    // What tells of new mail in this session's folders; null for a store that cannot.
    virtual NewMailSource* newMailSource() { return nullptr; }
};

// The folder's path: its levels from the store's top down, joined by `separator`
// ("Maildir|Inbox").
QString GetFolderPath(const MailFolderPtr& folder, const QString& separator = QStringLiteral("|"));

// The session in use (set at start by the program or the test).
MailSession* gobjRDOSession();
void SetMailSession(MailSession* session);
