// The "[SW]" mark and the block of saved files in HTML, rich-text and plain bodies.
#include "fakes/engine_fixture.h"

namespace {
const QString kCrLf = QStringLiteral("\r\n");
const QString kTilde = QString(60, QLatin1Char('~'));

class Annotation : public EngineTest {
  protected:
    // A rule that deletes what it saves, into a folder with a blank and an umlaut.
    udtRule& deletingRule(bool hyperlink) {
        udtRule& rule = addRule(QStringLiteral("R"), QStringLiteral("out dir/Müller"));
        rule.DelAttach = vbTrue;
        rule.Hyperlink = ToVb(hyperlink);
        return rule;
    }
    QString saved(const QString& name) const {
        return root + QStringLiteral("/out dir/Müller/") + name;
    }
    QString linked(const QString& name) const {
        return QStringLiteral("file://") +
               QString(saved(name)).replace(QLatin1Char(' '), QStringLiteral("%20"));
    }
    FakeMessagePtr mailWith(int format, const QString& body) {
        const FakeMessagePtr mail =
            addMail(QStringLiteral("Offer"), {QStringLiteral("a b.pdf"), QStringLiteral("c.pdf")});
        mail->stored.bodyFormat = format;
        if (format == BodyFormat::Html)
            mail->stored.htmlBody = body;
        else if (format == BodyFormat::RichText)
            mail->stored.rtfBody = body;
        else
            mail->stored.body = body;
        return mail;
    }
};

// HtmlEncode of the umlauts in the path; the rest of it stands as it is.
QString Entities(QString text) {
    return text.replace(QStringLiteral("ü"), QStringLiteral("&uuml;"));
}
} // namespace

TEST_F(Annotation, HtmlGetsLinksBeforeTheClosingBodyTag) {
    deletingRule(true);
    const FakeMessagePtr mail =
        mailWith(BodyFormat::Html, QStringLiteral("  <html><body><p>Hi</p></BODY></html>  "));

    EXPECT_TRUE(runFolder());

    const QString block =
        QStringLiteral("<br>") + kTilde +
        QStringLiteral("<br>Quillworks Stowaway v2.50 &bull; Gespeicherte Anh&auml;nge: <br><br>") +
        QStringLiteral("<a href=\"") + linked(QStringLiteral("a b.pdf")) + QStringLiteral("\">") +
        Entities(saved(QStringLiteral("a b.pdf"))) + QStringLiteral("</a><br>") +
        QStringLiteral("<a href=\"") + linked(QStringLiteral("c.pdf")) + QStringLiteral("\">") +
        Entities(saved(QStringLiteral("c.pdf"))) + QStringLiteral("</a><br>");
    EXPECT_EQ(mail->stored.htmlBody,
              QStringLiteral("<html><body><p>Hi</p>") + block + QStringLiteral("</BODY></html>"));
    EXPECT_EQ(mail->stored.internetCodepage, 28591);
    const QStringList& calls = mail->fails.calls();
    EXPECT_LT(calls.lastIndexOf(QStringLiteral("SetInternetCodepage")),
              calls.lastIndexOf(QStringLiteral("SetHTMLBody")));
    EXPECT_EQ(mail->saves, 1); // removal and list land together
    EXPECT_TRUE(mail->stored.attachments.empty());
}

TEST_F(Annotation, HtmlWithoutLinksInEnglish) {
    CurrLang = 1;
    deletingRule(false);
    const FakeMessagePtr mail = mailWith(BodyFormat::Html, QStringLiteral("<body>x</body>"));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(
        mail->stored.htmlBody,
        QStringLiteral("<body>x<br>") + kTilde +
            QStringLiteral("<br>Quillworks Stowaway v2.50 &bull; Saved attachments: <br><br>") +
            Entities(saved(QStringLiteral("a b.pdf"))) + QStringLiteral("<br>") +
            Entities(saved(QStringLiteral("c.pdf"))) + QStringLiteral("<br></body>"));
}

TEST_F(Annotation, AnHtmlBodyWithoutItsClosingTagIsReplacedByTheBlock) {
    deletingRule(false);
    const FakeMessagePtr first = mailWith(BodyFormat::Html, QStringLiteral("<body>one</body>"));
    const FakeMessagePtr second = mailWith(BodyFormat::Html, QStringLiteral("<p>two</p>"));
    second->stored.attachments[0]->fileName = QStringLiteral("d.pdf");
    second->stored.attachments[1]->fileName = QStringLiteral("e.pdf");

    EXPECT_TRUE(runFolder());

    // The mail's own text is lost; what the body before it in this run became stands in front.
    const QString block2 = QStringLiteral("<br>") + kTilde +
                           QStringLiteral("<br>Quillworks Stowaway v2.50 &bull; Gespeicherte "
                                          "Anh&auml;nge: <br><br>") +
                           Entities(saved(QStringLiteral("d.pdf"))) + QStringLiteral("<br>") +
                           Entities(saved(QStringLiteral("e.pdf"))) + QStringLiteral("<br>");
    EXPECT_EQ(second->stored.htmlBody, first->stored.htmlBody + block2);
    EXPECT_FALSE(second->stored.htmlBody.contains(QStringLiteral("two")));
}

TEST_F(Annotation, PlainTextGetsTheListAtItsEnd) {
    deletingRule(true);
    const FakeMessagePtr mail = mailWith(BodyFormat::Plain, QStringLiteral("  Hello\r\nBye  "));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(mail->stored.body,
              QStringLiteral("Hello\r\nBye") + kCrLf + kCrLf + kTilde + kCrLf +
                  QStringLiteral("Quillworks Stowaway v2.50 · Gespeicherte Anhänge: ") + kCrLf +
                  kCrLf + linked(QStringLiteral("a b.pdf")) + kCrLf +
                  linked(QStringLiteral("c.pdf")) + kCrLf + kCrLf + kCrLf);
}

TEST_F(Annotation, PlainTextWithoutLinksListsThePaths) {
    deletingRule(false);
    const FakeMessagePtr mail = mailWith(7, QStringLiteral("Hello")); // any other format is plain
    EXPECT_TRUE(runFolder());
    EXPECT_TRUE(mail->stored.body.endsWith(saved(QStringLiteral("a b.pdf")) + kCrLf +
                                           saved(QStringLiteral("c.pdf")) + kCrLf + kCrLf + kCrLf));
}

TEST_F(Annotation, RichTextGetsParagraphsBeforeTheLastBrace) {
    deletingRule(true);
    const FakeMessagePtr mail = mailWith(BodyFormat::RichText, QStringLiteral("{\\rtf1 Hello}"));
    EXPECT_TRUE(runFolder());
    const QString par = QStringLiteral("\\par ");
    EXPECT_EQ(mail->stored.rtfBody,
              QStringLiteral("{\\rtf1 Hello") + kTilde + par +
                  QStringLiteral("Quillworks Stowaway v2.50 · Gespeicherte Anhänge: ") + par + par +
                  linked(QStringLiteral("a b.pdf")) + par + linked(QStringLiteral("c.pdf")) + par +
                  par + QStringLiteral("}"));
}

TEST_F(Annotation, WithoutDeletionTheMailIsOnlyStampedAndSaved) {
    SaveSetting(QStringLiteral("MarkMail"), QStringLiteral("1"));
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.Hyperlink = vbTrue;
    const FakeMessagePtr mail = mailWith(BodyFormat::Html, QStringLiteral("<body>x</body>"));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(mail->stored.htmlBody, QStringLiteral("<body>x</body>"));
    EXPECT_EQ(mail->stored.subject, QStringLiteral("Offer"));
    EXPECT_EQ(mail->stored.mileage, QStringLiteral("QWKStowaway"));
    EXPECT_EQ(mail->saves, 1);
}

TEST_F(Annotation, AFailedBodyWriteIsLoggedAndTheMailStillSaved) {
    deletingRule(false);
    const FakeMessagePtr mail = mailWith(BodyFormat::Html, QStringLiteral("<body>x</body>"));
    mail->fails.failOn(QStringLiteral("SetHTMLBody"),
                       OpError::make(ErrNo::Failed, QStringLiteral("Body is read-only")));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(logLines(),
              QStringList{QStringLiteral("! Error setting .HTMLBody: Body is read-only")});
    EXPECT_EQ(mail->saves, 1);
    EXPECT_EQ(mail->stored.htmlBody, QStringLiteral("<body>x</body>"));
    EXPECT_EQ(mail->stored.mileage, QStringLiteral("QWKStowaway"));
}

struct MarkCase {
    const char* setting;
    const char* subject;
    const char* expected;
};

class Marking : public EngineTest, public testing::WithParamInterface<MarkCase> {};

TEST_P(Marking, FollowsTheSettingOnceOnly) {
    const MarkCase c = GetParam();
    SaveSetting(QStringLiteral("MarkMail"), QString::fromUtf8(c.setting));
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.DelAttach = vbTrue;
    const FakeMessagePtr mail = addMail(QString::fromUtf8(c.subject), {QStringLiteral("a.pdf")});
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(mail->stored.subject, QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Settings, Marking,
                         testing::Values(MarkCase{"0", "Offer", "Offer"},
                                         MarkCase{"1", "Offer", "[SW] Offer"},
                                         MarkCase{"2", "Offer", "Offer [SW]"},
                                         MarkCase{"1", "Re: [SW] Offer", "Re: [SW] Offer"},
                                         MarkCase{"2", "Offer [sw]", "Offer [sw] [SW]"},
                                         MarkCase{"3", "Offer", "Offer"}));

TEST_F(EngineTest, TheMarkLooksAtTheDeletionsOfTheWholeRun) {
    SaveSetting(QStringLiteral("MarkMail"), QStringLiteral("1"));
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.DelAttach = vbTrue;
    const FakeMessagePtr first = addMail(QStringLiteral("First"), {QStringLiteral("a.pdf")});
    const FakeMessagePtr second = addMail(QStringLiteral("Second"), {});
    second->addAttachment(QStringLiteral("logo.png")).contentId = QStringLiteral("logo@x");

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(first->stored.subject, QStringLiteral("[SW] First"));
    // Nothing was taken out of the second mail, but the run had deleted one already.
    EXPECT_EQ(second->stored.subject, QStringLiteral("[SW] Second"));
    EXPECT_EQ(second->stored.body, QStringLiteral("Hello"));
    EXPECT_EQ(second->stored.attachments.size(), 1u);
}
