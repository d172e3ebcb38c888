#include "mail_walk.h"

#include "common/text.h"
#include "fuzz_sandbox.h"
#include "host/maildir/maildir_names.h"
#include "host/mime/attachment_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

namespace {

// Every property the engine reads of a listed item and of a fetched mail. The values are not
// judged here; reading them must only never go wrong.
void ReadProperties(const MailItem& item) {
    (void)item.TypeName();
    (void)item.Class();
    (void)item.EntryID();
    (void)item.StoreID();
    (void)item.Subject();
    (void)item.UnRead();
    (void)item.SenderName();
    (void)item.SenderEmailAddress();
    (void)item.Recipients();
    (void)item.ReceivedTime();
    (void)item.HidePaperClip();
    (void)item.Mileage();
    (void)item.BodyFormat();
    (void)item.InternetCodepage();
    (void)item.AttachmentCount();
    if (const Result<MailFolderPtr> parent = item.Parent(); parent.ok() && parent.value)
        (void)GetFolderPath(parent.value);
}

void ReadBodies(const MailItem& item) {
    (void)item.HTMLBody();
    (void)item.Body();
    (void)item.RTFBody();
}

} // namespace

SavedAttachment SaveAttachment(Attachment& attachment) {
    SavedAttachment saved;
    saved.type = attachment.Type().value;
    (void)attachment.Hidden();
    (void)attachment.ContentId();
    const Result<QString> name = attachment.FileName();
    const Result<qint64> size = attachment.Size();
    saved.name = name.value;
    saved.size = size.value;
    FUZZ_CHECK(size.value >= 0, "negative size %lld", static_cast<long long>(size.value));

    // The engine's way to a file name: the forbidden characters go, the store does the rest.
    const QString path = Sandbox::target() + QLatin1Char('/') + CleanFileName(name.value);
    const OpError error = attachment.SaveAsFile(path);
    if (error) return saved;
    saved.saved = true;
    // The writer may have made the name fit the disk.
    const QFileInfo written(Sandbox::target() + QLatin1Char('/') +
                            SafeFileName(CleanFileName(name.value), QString()));
    FUZZ_CHECK(written.isFile(), "SaveAsFile reported success, but %s is not there",
               qPrintable(written.filePath()));
    FUZZ_CHECK(!written.isSymLink(), "a link at %s", qPrintable(written.filePath()));
    FUZZ_CHECK(size.ok() && written.size() == size.value,
               "attachment \"%s\": Size() says %lld bytes, the saved file has %lld",
               qPrintable(name.value), static_cast<long long>(size.value),
               static_cast<long long>(written.size()));
    QFile file(written.filePath());
    FUZZ_CHECK(file.open(QIODevice::ReadOnly), "cannot read %s", qPrintable(written.filePath()));
    saved.content = file.readAll();
    return saved;
}

QString DeliverMail(const uint8_t* data, size_t size) {
    const QString unique = NewUniqueName();
    QFile file(Sandbox::maildir() + QStringLiteral("/cur/") + unique + QStringLiteral(":2,"));
    FUZZ_CHECK(file.open(QIODevice::WriteOnly | QIODevice::NewOnly), "cannot write %s",
               qPrintable(file.fileName()));
    file.write(reinterpret_cast<const char*>(data), qint64(size));
    file.close();
    return unique;
}

WalkedMail WalkMail(MaildirSession& session, const QString& entryId) {
    WalkedMail walked;
    walked.entryId = entryId;
    Sandbox::empty(Sandbox::target());

    const Result<MailFolderPtr> inbox = session.GetDefaultInbox();
    FUZZ_CHECK(inbox.ok() && inbox.value, "no inbox: %s", qPrintable(inbox.error.description));
    const Result<std::vector<MailItemPtr>> items = inbox.value->Items();
    FUZZ_CHECK(items.ok() && items.value.size() == 1, "the inbox lists %d mails, not 1: %s",
               int(items.value.size()), qPrintable(items.error.description));
    const MailItemPtr& listed = items.value.front();
    FUZZ_CHECK(listed->EntryID().value == entryId, "listed as \"%s\", delivered as \"%s\"",
               qPrintable(listed->EntryID().value), qPrintable(entryId));
    ReadProperties(*listed);

    const Result<MailItemPtr> fetched = session.GetMessageFromID(entryId, Sandbox::maildir());
    if (!fetched.ok()) {
        // A refused mail must say why.
        FUZZ_CHECK(!fetched.error.description.isEmpty(), "refused without a reason");
        return walked;
    }
    FUZZ_CHECK(fetched.value != nullptr, "fetched a null mail");
    walked.item = fetched.value;
    ReadProperties(*walked.item);
    ReadBodies(*walked.item);

    const Result<int> count = walked.item->AttachmentCount();
    for (int i = 1; i <= count.value; ++i) {
        const Result<AttachmentPtr> attachment = walked.item->AttachmentAt(i);
        FUZZ_CHECK(attachment.ok() && attachment.value, "attachment %d of %d is missing: %s", i,
                   count.value, qPrintable(attachment.error.description));
        walked.attachments.push_back(SaveAttachment(*attachment.value));
    }
    FUZZ_CHECK(!walked.item->AttachmentAt(count.value + 1).ok(), "an attachment past the end");
    return walked;
}

void CheckNoStrayWrites(const QStringList& before) {
    const QSet<QString> known(before.begin(), before.end());
    for (const QString& path : Sandbox::listAll()) {
        if (known.contains(path)) continue;
        // The LOG's data folder is made with the first line written.
        const QString log = QStringLiteral(".local/share/Quillworks/");
        const bool allowed = path.startsWith(QLatin1String("Mail/cur/")) ||
                             path.startsWith(QLatin1String("Mail/new/")) || path.startsWith(log) ||
                             log.startsWith(path + QLatin1Char('/'));
        const bool savedFile = path.startsWith(QLatin1String("Saved/")) &&
                               path.count(QLatin1Char('/')) == 1 &&
                               QFileInfo(Sandbox::root() + QLatin1Char('/') + path).isFile();
        FUZZ_CHECK(allowed || savedFile, "a stray write: %s", qPrintable(path));
        FUZZ_CHECK(!(path.startsWith(QLatin1String("Saved/.stowaway-")) &&
                     path.endsWith(QLatin1String(".part"))),
                   "a temporary file left behind: %s", qPrintable(path));
    }
}
