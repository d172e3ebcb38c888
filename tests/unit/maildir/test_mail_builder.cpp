// The sample mails are real MIME that other programs read as we do, with each encoding in the
// raw form its name promises.
#include "support/maildir_fixture.h"
#include "support/python_email.h"

using namespace Qt::StringLiterals;

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

TEST_F(MaildirTest, EncodingsAndNameFormsAppearInTheirRawForm) {
    using Enc = SampleAttachment::Encoding;
    using Style = SampleAttachment::NameStyle;
    SampleMail mail;
    mail.attachments.push_back(SampleAttachment::file(
        u"Prüfung.pdf"_s, "application/pdf", QByteArray(300, 'a'), Enc::Base64, Style::Rfc2231));
    mail.attachments.push_back(SampleAttachment::file(u"Größe.txt"_s, "text/plain", "Ä\n",
                                                      Enc::QuotedPrintable, Style::Rfc2047));
    mail.attachments.push_back(SampleAttachment::file(u"chunks.bin"_s, "application/octet-stream",
                                                      QByteArray(250, 'c'), Enc::ChunkedBase64));
    SampleAttachment picture = SampleAttachment::file(u"p.png"_s, "image/png", "png");
    picture.contentId = u"p@x"_s;
    mail.attachments.push_back(picture);
    mail.htmlBody = u"<img src=\"cid:p@x\">"_s;
    mail.mileage = u"QWKStowaway"_s;
    const QByteArray raw = BuildSampleMail(mail);

    EXPECT_TRUE(raw.contains("filename*=")) << raw.constData();
    EXPECT_TRUE(raw.contains("filename=\"=?")) << raw.constData();
    EXPECT_TRUE(raw.contains("Content-Transfer-Encoding: quoted-printable"));
    EXPECT_TRUE(raw.contains("Content-Id: <p@x>"));
    EXPECT_TRUE(raw.contains("multipart/related"));
    EXPECT_TRUE(raw.contains("X-Mileage: QWKStowaway"));
    // Each chunk of 100 bytes ends in padding inside the content.
    EXPECT_TRUE(
        raw.contains(QByteArray(100, 'c').toBase64() + "\n" + QByteArray(100, 'c').toBase64()));

    deliver(mail);
    const MailItemPtr item = onlyMail();
    ASSERT_EQ(item->AttachmentCount().value, 4);
    EXPECT_EQ(S(item->AttachmentAt(1).value->FileName().value), "p.png");
    EXPECT_EQ(S(item->AttachmentAt(2).value->FileName().value), "Prüfung.pdf");
    EXPECT_EQ(S(item->AttachmentAt(3).value->FileName().value), "Größe.txt");
    EXPECT_EQ(item->AttachmentAt(4).value->Size().value, 250);
}
