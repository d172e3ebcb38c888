// The input as one mail file, read as the engine reads it, then changed as a rule changes it:
// one attachment deleted, subject, stamp and both bodies written, saved. The saved file must
// parse again and keep everything it was not asked to drop.
#include "fuzz_sandbox.h"
#include "mail_walk.h"

#include "host/mime/parsed_mail.h"

#include <QDir>
#include <QFile>

namespace {

const QString kStamp = QStringLiteral("QWKStowaway");
const QString kPlain = QStringLiteral("Saved: Bericht \u00fcber \u20ac.pdf");
const QString kHtml = QStringLiteral("<p>Saved: <a href=\"file:///tmp/x%20y.pdf\">x y.pdf</a></p>");

// GMime writes text with the system's line ends, and a part it read without a line end before
// the next boundary may come back with one.
QByteArray LocalLineEnds(QByteArray text) {
    text.replace("\r\n", "\n");
    while (text.endsWith('\n'))
        text.chop(1);
    return text;
}

QString& SavedMailPath() {
    static QString path;
    return path;
}

// Shows the saved mail with a failure.
void PrintSavedMail() {
    QFile file(SavedMailPath());
    if (file.open(QIODevice::ReadOnly))
        std::fprintf(stderr, "--- the saved mail:\n%s\n---\n", file.read(4000).constData());
}

QString OnlyMailFile() {
    QStringList files;
    for (const char* sub : {"cur", "new"}) {
        const QDir dir(Sandbox::maildir() + QLatin1Char('/') + QLatin1String(sub));
        for (const QString& name : dir.entryList(QDir::Files | QDir::Hidden | QDir::System))
            files << dir.filePath(name);
    }
    FUZZ_CHECK(files.size() == 1, "%d mail files after the save, not 1", int(files.size()));
    return files.front();
}

void RewriteAndCheck(WalkedMail& walked, const uint8_t* data, size_t size) {
    MailItem& mail = *walked.item;
    const int itemClass = mail.Class().value;
    std::vector<SavedAttachment> kept = walked.attachments;
    if (!kept.empty()) {
        // Which one goes depends on the input, so every position gets its turn.
        const int index = 1 + int(data[size - 1] % kept.size());
        const Result<AttachmentPtr> attachment = mail.AttachmentAt(index);
        FUZZ_CHECK(attachment.ok(), "attachment %d: %s", index,
                   qPrintable(attachment.error.description));
        const OpError deleted = attachment.value->Delete();
        FUZZ_CHECK(!deleted, "delete of attachment %d: %s", index, qPrintable(deleted.description));
        kept.erase(kept.begin() + (index - 1));
        FUZZ_CHECK(mail.AttachmentCount().value == int(kept.size()),
                   "%d attachments after the delete, not %d", mail.AttachmentCount().value,
                   int(kept.size()));
    }
    const QString subject = QStringLiteral("[SW] ") + mail.Subject().value;
    FUZZ_CHECK(!mail.SetSubject(subject), "subject refused");
    FUZZ_CHECK(!mail.SetMileage(kStamp), "stamp refused");
    FUZZ_CHECK(!mail.SetHTMLBody(kHtml), "HTML body refused");
    FUZZ_CHECK(!mail.SetBody(kPlain), "plain body refused");
    const OpError saved = mail.Save();
    FUZZ_CHECK(!saved, "save: %s", qPrintable(saved.description));

    const QString path = OnlyMailFile();
    SavedMailPath() = path;
    SetFailureContext(PrintSavedMail);
    // A new body may wrap the old one in up to two new multiparts; a mail at the nesting limit
    // is then beyond it, which the store refuses to read (the file itself is whole).
    MailLimits room;
    room.maxDepth += 2;
    const auto parsed = ParsedMail::LoadFile(path, nullptr, room);
    FUZZ_CHECK(parsed.ok(), "the saved mail does not parse: %s",
               qPrintable(parsed.error.description));

    // What a later run sees: a fresh session over the saved file.
    MaildirSession again({{Sandbox::maildir(), {}}}, room);
    const Result<MailItemPtr> reread = again.GetMessageFromID(mail.EntryID().value);
    FUZZ_CHECK(reread.ok(), "the saved mail cannot be fetched: %s",
               qPrintable(reread.error.description));
    const MailItem& copy = *reread.value;
    FUZZ_CHECK(copy.Mileage().value == kStamp, "stamp reads back as \"%s\"",
               qPrintable(copy.Mileage().value));
    FUZZ_CHECK(copy.Body().value.contains(kPlain), "plain body lost: \"%s\"",
               qPrintable(copy.Body().value.left(200)));
    FUZZ_CHECK(copy.HTMLBody().value.contains(kHtml), "HTML body lost: \"%s\"",
               qPrintable(copy.HTMLBody().value.left(200)));
    FUZZ_CHECK(copy.Class().value == itemClass, "class %d after the save, %d before",
               copy.Class().value, itemClass);
    const int count = copy.AttachmentCount().value;
    FUZZ_CHECK(count == int(kept.size()), "%d attachments after the save, not %d", count,
               int(kept.size()));
    for (int i = 1; i <= count; ++i) {
        const SavedAttachment& before = kept[size_t(i - 1)];
        const AttachmentPtr after = copy.AttachmentAt(i).value;
        FUZZ_CHECK(after->Type().value == before.type, "attachment %d (\"%s\") changed its type", i,
                   qPrintable(before.name));
        // An attached message is written anew by GMime, which does not keep a broken header
        // block byte for byte; a file's content is carried over, only its line ends may become
        // the system's.
        if (before.type != AttachType::ByValue || !before.saved) continue;
        Sandbox::empty(Sandbox::target());
        const SavedAttachment again = SaveAttachment(*after);
        FUZZ_CHECK(again.saved, "attachment %d (\"%s\") cannot be saved after the save", i,
                   qPrintable(before.name));
        FUZZ_CHECK(LocalLineEnds(again.content) == LocalLineEnds(before.content),
                   "attachment %d (\"%s\") changed in the save: %lld bytes, %lld before", i,
                   qPrintable(before.name), static_cast<long long>(again.content.size()),
                   static_cast<long long>(before.content.size()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    Sandbox::reset();
    const QStringList before = Sandbox::listAll();
    const QString entryId = DeliverMail(data, size);
    {
        MaildirSession session({{Sandbox::maildir(), {}}});
        WalkedMail walked = WalkMail(session, entryId);
        // The engine changes mails and posts only, never reports or meeting requests.
        const int itemClass = walked.item ? walked.item->Class().value : 0;
        if (itemClass == ItemClass::Mail || itemClass == ItemClass::Post)
            RewriteAndCheck(walked, data, size);
        SetFailureContext(nullptr);
    }
    CheckNoStrayWrites(before);
    return 0;
}
