// The attachments a mail shows: names in every encoding, inline pictures, cards, attached
// messages, parts without a name, and damaged mails kept away from the user.
#include "host/maildir/maildir_names.h"
#include "support/maildir_fixture.h"
#include "support/python_email.h"

using namespace Qt::StringLiterals;

namespace {

struct Shown {
    std::string name;
    int type;
    std::string cid;
    qint64 size;
};

std::vector<Shown> AttachmentsOf(const MailItemPtr& item) {
    std::vector<Shown> shown;
    for (int i = 1; i <= item->AttachmentCount().value; ++i) {
        const AttachmentPtr a = item->AttachmentAt(i).value;
        shown.push_back(
            {S(a->FileName().value), a->Type().value, S(a->ContentId().value), a->Size().value});
        EXPECT_FALSE(a->Hidden().value);
    }
    return shown;
}

} // namespace

// The sample mails are real MIME with each encoding in the raw form its name promises, and the
// store shows their attachments in document order with names, types and sizes.
TEST_F(MaildirTest, AttachmentsInDocumentOrderWithNamesTypesAndSizes) {
    using Enc = SampleAttachment::Encoding;
    using Style = SampleAttachment::NameStyle;
    SampleMail mail;
    mail.htmlBody = u"<p><img src=\"cid:pic1@x\"></p>"_s;
    mail.mileage = u"QWKStowaway"_s;
    const QByteArray pdf(1000, '\x7f');
    mail.attachments.push_back(SampleAttachment::file(u"Übersicht März.pdf"_s, "application/pdf",
                                                      pdf, Enc::Base64, Style::Rfc2231));
    mail.attachments.push_back(SampleAttachment::file(u"Grüße.txt"_s, "text/plain", "qp text äöü\n",
                                                      Enc::QuotedPrintable, Style::Rfc2047));
    SampleAttachment picture =
        SampleAttachment::file(u"pic.png"_s, "image/png", QByteArray(70, 'p'));
    picture.contentId = u"pic1@x"_s;
    mail.attachments.push_back(picture);
    mail.attachments.push_back(SampleAttachment::file(QString(), "image/png", QByteArray(5, 'i')));
    mail.attachments.push_back(SampleAttachment::file(QString(), "image/jpeg", QByteArray(6, 'j')));
    mail.attachments.push_back(SampleAttachment::file(QString(), "application/pdf",
                                                      QByteArray(250, 'd'), Enc::ChunkedBase64));
    mail.attachments.push_back(
        SampleAttachment::file(u"Jörg.vcf"_s, "text/vcard", "BEGIN:VCARD\r\n"));
    SampleMail inner;
    inner.subject = u"Weitergeleitet"_s;
    inner.attachments.push_back(SampleAttachment::file(u"inner.pdf"_s, "application/pdf", pdf));
    mail.attachedMessages.push_back(inner);

    const QByteArray raw = BuildSampleMail(mail);
    for (const QByteArray& form :
         {QByteArray("filename*="), QByteArray("filename=\"=?"),
          QByteArray("Content-Transfer-Encoding: quoted-printable"),
          QByteArray("Content-Id: <pic1@x>"), QByteArray("multipart/related"),
          QByteArray("X-Mileage: QWKStowaway"),
          // Each chunk of 100 bytes ends in padding inside the content.
          QByteArray(100, 'd').toBase64() + "\n" + QByteArray(100, 'd').toBase64()})
        EXPECT_TRUE(raw.contains(form)) << form.constData();

    deliver(mail);
    const MailItemPtr item = onlyMail();
    ASSERT_TRUE(item);
    const std::vector<Shown> shown = AttachmentsOf(item);
    ASSERT_EQ(shown.size(), 8u);
    // The inline picture stays with the HTML body, ahead of the mixed parts.
    const std::vector<std::pair<std::string, int>> expected = {
        {"pic.png", 1},      {"Übersicht März.pdf", 1}, {"Grüße.txt", 1},
        {"image001.png", 1}, {"image002.jpg", 1},       {"ATT00001.pdf", 1},
        {"Jörg.vcf", 1},     {"Weitergeleitet.eml", 5}};
    for (size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(shown[i].name, expected[i].first) << i;
        EXPECT_EQ(shown[i].type, expected[i].second) << i;
    }
    EXPECT_EQ(shown[0].cid, "pic1@x");
    EXPECT_EQ(shown[1].cid, "");
    EXPECT_EQ(shown[0].size, 70);
    EXPECT_EQ(shown[1].size, 1000);
    EXPECT_EQ(shown[2].size, QByteArray("qp text äöü\n").size());
    EXPECT_EQ(shown[5].size, 250);
    EXPECT_GT(shown[7].size, 1000); // the whole attached message
    EXPECT_EQ(item->BodyFormat().value, BodyFormat::Html);
}

TEST_F(MaildirTest, DemoMailsParseElsewhereAsTheStoreShowsThem) {
    const std::vector<SampleMail> mails = DemoSampleMails(QDateTime::currentDateTime());
    ASSERT_FALSE(mails.empty());
    for (const SampleMail& mail : mails) {
        const QString path = deliver(mail, {}, {false, true});
        const QJsonObject parsed = ParseWithPython(path);
        EXPECT_TRUE(parsed[u"defects"_s].toArray().isEmpty()) << S(mail.subject);
        EXPECT_EQ(S(parsed[u"subject"_s].toString()), S(mail.subject));
        QStringList pythonNames;
        for (const QString& part : PartSummary(parsed)) {
            const qsizetype blank = part.indexOf(QLatin1Char(' '));
            // Python walks into attached messages; the store counts them once.
            if (part.startsWith(QLatin1String("message/"))) break;
            if (blank > 0) pythonNames << part.mid(blank + 1);
        }
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item);
        QStringList storeNames;
        for (int i = 1; i <= item->AttachmentCount().value; ++i) {
            const AttachmentPtr a = item->AttachmentAt(i).value;
            if (a->Type().value == AttachType::ByValue &&
                !a->FileName().value.startsWith(QLatin1String("image0")))
                storeNames << a->FileName().value;
        }
        EXPECT_EQ(storeNames, pythonNames) << S(mail.subject);
        QFile::remove(path);
    }
}

// Mails as other mailers write them: a Content-ID is the engine's only where the HTML body
// shows the part. (The files' bytes, against Python's, are rows of the mbsync round trip.)
TEST_F(MaildirTest, AttachmentsOfOtherMailersCarryOnlyTheContentIdsTheBodyUses) {
    struct Case {
        const char* file;
        std::vector<std::pair<std::string, std::string>> shown; // name, content id
    } cases[] = {
        {"unused-content-ids-on-attachments.eml", {{"Bericht.doc", ""}, {"scan.pdf", ""}}},
        {"uuencoded-attachment-with-content-id.eml", {{"data.bin", ""}}},
        {"pictures-the-html-body-shows.eml",
         {{"image001.png", "image001.png@01DB8D9E.12345670"},
          {"image001.gif", "spacer@01DB8D9E.12345670"},
          {"Angebot.pdf", ""},
          {"foto.jpg", "foto.jpg@01DB8D9E.12345670"}}},
    };
    for (const Case& c : cases) {
        const QString path = deliverDataFile(QString::fromLatin1(c.file));
        const MailItemPtr item = onlyMail();
        ASSERT_TRUE(item) << c.file;
        const std::vector<Shown> shown = AttachmentsOf(item);
        ASSERT_EQ(shown.size(), c.shown.size()) << c.file;
        for (size_t i = 0; i < shown.size(); ++i) {
            EXPECT_EQ(shown[i].name, c.shown[i].first) << c.file;
            EXPECT_EQ(shown[i].cid, c.shown[i].second) << c.file << " " << shown[i].name;
        }
        QFile::remove(path);
    }
}

TEST_F(MaildirTest, DamagedFilesInAFolderNeitherCrashNorStopTheOthers) {
    const QByteArray junk[] = {
        QByteArray(),
        QByteArray("\n"),
        QByteArray("\0\0\0From: a\0b\n\n\0", 16),
        QByteArray(5000, '\xff'),
        QByteArray("Subject: ") + QByteArray(11 * 1024 * 1024, 'x'), // no line end at all
        QByteArray("Content-Type: multipart/mixed; boundary=\"\"\n\n--\n--\n"),
        QByteArray(
            "Content-Type: multipart/mixed\n\n--x\nContent-Type: text/plain\n\nno boundary\n"),
        QByteArray("From: =?utf-8?B?////?= <@>\nTo: ,,,;;;<<>>\nDate: 99 Foo 99999 99:99\n\nbody"),
        QByteArray("Content-Type: text/plain; filename*0*=''%; filename*9999*=x; name*=\n\n."),
    };
    for (const QByteArray& bytes : junk)
        deliverRaw(bytes);
    deliver(SampleMail{});
    const auto items = inbox()->Items().value;
    ASSERT_EQ(items.size(), std::size(junk) + 1);
    int readable = 0;
    for (const MailItemPtr& item : items) {
        item->Class();
        item->Subject();
        item->ReceivedTime();
        item->Recipients();
        const auto fetched = session().GetMessageFromID(item->EntryID().value, root);
        if (!fetched.ok()) {
            EXPECT_FALSE(fetched.error.description.isEmpty());
            continue;
        }
        ++readable;
        for (int i = 1; i <= fetched.value->AttachmentCount().value; ++i)
            fetched.value->AttachmentAt(i).value->FileName();
        fetched.value->Body();
        fetched.value->SetMileage(u"QWKStowaway"_s);
        EXPECT_FALSE(fetched.value->Save());
    }
    EXPECT_GE(readable, 2);
    // The sample mail was among them and is stamped.
    int stamped = 0;
    for (const MailItemPtr& item : inbox()->Items().value)
        stamped += item->Mileage().value == QLatin1String("QWKStowaway");
    EXPECT_EQ(stamped, readable);
}
