// What a mail shows of itself: headers, class, times, flags, bodies.
#include "common/dates.h"
#include "host/maildir/maildir_names.h"
#include "support/maildir_fixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <utime.h>

using namespace Qt::StringLiterals;

TEST_F(MaildirTest, HeaderPropertiesOfASampleMail) {
    SampleMail mail;
    mail.fromName = u"Jörg Müller"_s;
    mail.fromAddress = u"joerg@example.de"_s;
    mail.to = {{u"Anna"_s, u"anna@example.org"_s}, {QString(), u"bob@example.org"_s}};
    mail.cc = {{u"Carl"_s, u"carl@example.org"_s}};
    mail.subject = u"Grüße aus Köln – Überblick"_s;
    mail.mileage = u"QWKStowaway"_s;
    deliver(mail);

    const MailItemPtr item = onlyMail();
    ASSERT_TRUE(item);
    EXPECT_EQ(S(item->Subject().value), S(mail.subject));
    EXPECT_EQ(S(item->SenderName().value), "Jörg Müller");
    EXPECT_EQ(S(item->SenderEmailAddress().value), "joerg@example.de");
    const auto recipients = item->Recipients().value;
    ASSERT_EQ(recipients.size(), 3u);
    EXPECT_EQ(S(recipients[0].Name + "/" + recipients[0].Address), "Anna/anna@example.org");
    EXPECT_EQ(S(recipients[1].Name + "/" + recipients[1].Address),
              "bob@example.org/bob@example.org");
    EXPECT_EQ(S(recipients[2].Name), "Carl");
    EXPECT_EQ(S(item->Mileage().value), "QWKStowaway");
    EXPECT_FALSE(item->HidePaperClip().value);
    EXPECT_EQ(item->Class().value, ItemClass::Mail);
    EXPECT_EQ(S(item->StoreID().value), S(root));
    EXPECT_EQ(S(item->TypeName()), "MaildirMessage");
    // No rich text in a MIME mail.
    EXPECT_EQ(S(item->RTFBody().value), "");
    EXPECT_TRUE(item->SetRTFBody(u"{\\rtf1}"_s));
}

TEST_F(MaildirTest, ReceivedTimeIsTheNewestReceivedThenDateThenTheFileTime) {
    const QString top = "Received: from b by c; Tue, 04 Mar 2025 10:15:30 +0000\n"
                        "Received: from a by b; Tue, 04 Mar 2025 10:15:10 +0000\n";
    const QString head = "From: a@example.org\nSubject: t\n";
    struct Case {
        QString headers;
        QDateTime expected; // invalid: the file's time
    } cases[] = {
        {top + head + "Date: Mon, 03 Mar 2025 09:00:00 +0000\n",
         QDateTime(QDate(2025, 3, 4), QTime(10, 15, 30), Qt::UTC)},
        {"Received: by x; not a date\n" + head + "Date: Mon, 03 Mar 2025 09:00:00 +0100\n",
         QDateTime(QDate(2025, 3, 3), QTime(8, 0), Qt::UTC)},
        {head, QDateTime()},
    };
    const QDateTime fileTime(QDate(2024, 12, 24), QTime(18, 0), Qt::UTC);
    for (const Case& c : cases) {
        const QString path = deliverRaw((c.headers + "\nbody\n").toUtf8());
        utimbuf times{fileTime.toSecsSinceEpoch(), fileTime.toSecsSinceEpoch()};
        utime(QFile::encodeName(path).constData(), &times);
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item);
        const QDateTime expected = c.expected.isValid() ? c.expected : fileTime;
        EXPECT_DOUBLE_EQ(item->ReceivedTime().value, DateToOle(expected.toLocalTime()))
            << S(c.headers);
        QFile::remove(path);
    }
}

TEST_F(MaildirTest, ClassesOfMailsPostsReportsAndMeetingRequests) {
    struct Case {
        const char* file;
        int itemClass;
    } cases[] = {
        {"news-post.eml", ItemClass::Post},
        {"delivery-report.eml", ItemClass::Report},
        {"meeting-request.eml", ItemClass::MeetingRequest},
        {"chunked-base64-attachment.eml", ItemClass::Mail},
    };
    for (const Case& c : cases) {
        const QString path = deliverDataFile(QString::fromLatin1(c.file));
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item) << c.file;
        EXPECT_EQ(item->Class().value, c.itemClass) << c.file;
        if (c.itemClass == ItemClass::MeetingRequest) {
            // Its calendar is the body, not an attachment.
            EXPECT_EQ(item->AttachmentCount().value, 0);
            EXPECT_EQ(S(item->Body().value), "Planning meeting on Monday.");
        }
        QFile::remove(path);
    }
    // A calendar that is the whole mail.
    deliverRaw("From: a@b\nContent-Type: text/calendar; method=REQUEST\n\nBEGIN:VCALENDAR\n");
    EXPECT_EQ(onlyMail()->Class().value, ItemClass::MeetingRequest);
}

TEST_F(MaildirTest, UnReadIsTheMissingSeenFlagAndSettingItRenames) {
    const QString path = deliver(SampleMail{}, {}, {false, true}); // in new/
    MailItemPtr item = onlyMail();
    ASSERT_TRUE(item);
    const QString id = item->EntryID().value;
    EXPECT_TRUE(item->UnRead().value);
    ASSERT_FALSE(item->SetUnRead(false));
    EXPECT_FALSE(item->UnRead().value);
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_TRUE(QFileInfo::exists(root + u"/cur/"_s + id + u":2,S"_s));
    EXPECT_EQ(S(item->EntryID().value), S(id)); // flags are not part of the id
    EXPECT_TRUE(session().ownWrites().containsEntryId(id));

    ASSERT_FALSE(item->SetUnRead(true));
    EXPECT_TRUE(QFileInfo::exists(root + u"/cur/"_s + id + u":2,"_s));
    EXPECT_TRUE(onlyMail()->UnRead().value);
}

TEST_F(MaildirTest, BodyTextInALegacyCharsetAndUnlabelled8Bit) {
    deliverRaw("From: a@b\nSubject: =?iso-8859-1?q?Gr=FC=DFe?=\nMIME-Version: 1.0\n"
               "Content-Type: text/plain; charset=iso-8859-1\nContent-Transfer-Encoding: 8bit\n\n"
               "Gr\xfc\xdf"
               "e\n");
    MailItemPtr item = onlyMail();
    EXPECT_EQ(S(item->Subject().value), "Grüße");
    EXPECT_EQ(S(item->Body().value), "Grüße\n");
}

// A file is the mail that was parsed while its device, inode, size and modification time (to
// the nanosecond) stay the same, however long after the listing it is looked at.
TEST_F(MaildirTest, AMailRewrittenInPlaceIsReadAgainOnlyWhenItsTimeMoved) {
    for (int i = 0; i < 4; ++i)
        deliver(SampleMail{});
    for (const MailItemPtr& item : inbox()->Items().value)
        item->AttachmentCount();
    EXPECT_EQ(session().cachedMails(), 4);

    // Same size, other bytes, written in place; both times set back exactly.
    const auto files = QDir(root + u"/cur"_s).entryInfoList(QDir::Files, QDir::Name);
    ASSERT_EQ(files.size(), 4);
    std::vector<timespec> mtimes;
    for (const QFileInfo& f : files) {
        const QByteArray path = QFile::encodeName(f.filePath());
        struct stat st {};
        ASSERT_EQ(::stat(path.constData(), &st), 0);
        QByteArray text = readFile(f.filePath());
        text.replace("Subject: Sample mail", "Subject: Sample MAIL");
        QFile out(f.filePath());
        ASSERT_TRUE(out.open(QIODevice::ReadWrite));
        out.write(text);
        out.close();
        const timespec times[2] = {st.st_atim, st.st_mtim};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.constData(), times, 0), 0);
        mtimes.push_back(st.st_mtim);
    }
    const auto idOf = [&](int i) { return ParseMaildirFileName(files[i].fileName()).unique; };
    const auto subjectOf = [&](int i) {
        const auto fetched = session().GetMessageFromID(idOf(i), root);
        return fetched.ok() ? S(fetched.value->Subject().value) : "(not found)";
    };
    const auto moveTime = [&](int i) {
        timespec later = mtimes[size_t(i)];
        later.tv_nsec = (later.tv_nsec + 1) % 1000000000; // one nanosecond apart
        const timespec times[2] = {later, later};
        ASSERT_EQ(
            ::utimensat(AT_FDCWD, QFile::encodeName(files[i].filePath()).constData(), times, 0), 0);
    };
    for (const MailItemPtr& item : inbox()->Items().value)
        EXPECT_EQ(S(item->Subject().value), "Sample mail");
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(subjectOf(i), "Sample mail") << i;

    // A time one nanosecond off: read again by a listing, and by a fetch on its own.
    moveTime(0);
    for (const MailItemPtr& item : inbox()->Items().value)
        EXPECT_EQ(S(item->Subject().value),
                  item->EntryID().value == idOf(0) ? "Sample MAIL" : "Sample mail");
    moveTime(1);
    EXPECT_EQ(subjectOf(1), "Sample MAIL");

    // While a walk holds its listing, a fetch shows the mail as listed; afterwards as it is.
    {
        const auto walk = inbox()->Items().value;
        moveTime(2);
        EXPECT_EQ(subjectOf(2), "Sample mail");
    }
    EXPECT_EQ(subjectOf(2), "Sample MAIL");
    EXPECT_EQ(subjectOf(3), "Sample mail");

    // The entries of mails that left the folder go.
    for (int i = 1; i < files.size(); ++i)
        QFile::remove(files[i].filePath());
    inbox()->Items();
    EXPECT_EQ(session().cachedMails(), 1);
}
