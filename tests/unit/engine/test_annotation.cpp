// The "[SW]" mark and the block of saved files in HTML, rich-text and plain bodies.
#include "fakes/engine_fixture.h"

using namespace Qt::StringLiterals;

namespace {
const QString kCrLf = u"\r\n"_s;
const QString kTilde = QString(60, QLatin1Char('~'));

class Annotation : public EngineTest {
  protected:
    // A rule that deletes what it saves, into a folder with a blank, "?" and an umlaut.
    udtRule& deletingRule(bool hyperlink) {
        udtRule& rule = addRule(u"R"_s, u"out dir?/Müller"_s);
        rule.DelAttach = vbTrue;
        rule.Hyperlink = ToVb(hyperlink);
        return rule;
    }
    QString saved(const QString& name) const { return root + u"/out dir?/Müller/"_s + name; }
    // A file URI: blanks, "#", "%" and "?" escaped, the umlaut as it is.
    QString linked(const QString& escapedName) const {
        return u"file://"_s + root + u"/out%20dir%3F/Müller/"_s + escapedName;
    }
    FakeMessagePtr mailWith(int format, const QString& body) {
        const FakeMessagePtr mail = addMail(u"Offer"_s, {u"a b#1%.pdf"_s, u"c.pdf"_s});
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
    return text.replace(u"ü"_s, u"&uuml;"_s);
}
} // namespace

// Each body format gets the block of saved files in its own form: "%T" stands for the line of
// tildes, "%A"/"%C" for the two saved paths, "%a"/"%c" for them in HTML, "%LA"/"%LC" for links.
TEST_F(Annotation, EachBodyFormatGetsTheBlockInItsOwnForm) {
    const struct {
        const char* what;
        int format;
        int lang;
        bool links;
        QString body;
        QString expected;
    } rows[] = {
        {"HTML with links, before the closing body tag", BodyFormat::Html, 0, true,
         u"  <html><body><p>Hi</p></BODY></html>  "_s,
         u"<html><body><p>Hi</p><br>%T<br>Quillworks Stowaway v2.50 &bull; Gespeicherte "
         "Anh&auml;nge: <br><br><a href=\"%LA\">%a</a><br><a href=\"%LC\">%c</a><br></BODY>"
         "</html>"_s},
        {"HTML without links, in English", BodyFormat::Html, 1, false, u"<body>x</body>"_s,
         u"<body>x<br>%T<br>Quillworks Stowaway v2.50 &bull; Saved attachments: <br><br>%a<br>"
         "%c<br></body>"_s},
        {"HTML without a closing body tag, after the whole text", BodyFormat::Html, 1, false,
         u"<p>one</p><p>two</p>"_s,
         u"<p>one</p><p>two</p><br>%T<br>Quillworks Stowaway v2.50 &bull; Saved attachments: "
         "<br><br>%a<br>%c<br>"_s},
        {"plain text with links, at its end", BodyFormat::Plain, 0, true, u"  Hello\r\nBye  "_s,
         u"Hello\r\nBye\r\n\r\n%T\r\nQuillworks Stowaway v2.50 · Gespeicherte Anhänge: "
         "\r\n\r\n%LA\r\n%LC\r\n\r\n\r\n"_s},
        {"any other format is plain; without links the paths", 7, 0, false, u"Hello"_s,
         u"Hello\r\n\r\n%T\r\nQuillworks Stowaway v2.50 · Gespeicherte Anhänge: \r\n\r\n%A\r\n"
         "%C\r\n\r\n\r\n"_s},
        {"rich text, before the last brace", BodyFormat::RichText, 0, true, u"{\\rtf1 Hello}"_s,
         u"{\\rtf1 Hello%T\\par Quillworks Stowaway v2.50 · Gespeicherte Anhänge: \\par \\par "
         "%LA\\par %LC\\par \\par }"_s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        TestEnv::resetAll();
        SetUserInteraction(&user);
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        CurrLang = uint8_t(row.lang);
        deletingRule(row.links);
        const FakeMessagePtr mail = mailWith(row.format, row.body);

        EXPECT_TRUE(runFolder());

        const QString expected = QString(row.expected)
                                     .replace(u"%T"_s, kTilde)
                                     .replace(u"%LA"_s, linked(u"a%20b%231%25.pdf"_s))
                                     .replace(u"%LC"_s, linked(u"c.pdf"_s))
                                     .replace(u"%A"_s, saved(u"a b#1%.pdf"_s))
                                     .replace(u"%C"_s, saved(u"c.pdf"_s))
                                     .replace(u"%a"_s, Entities(saved(u"a b#1%.pdf"_s)))
                                     .replace(u"%c"_s, Entities(saved(u"c.pdf"_s)));
        const FakeMessageData& d = mail->stored;
        EXPECT_EQ(row.format == BodyFormat::Html       ? d.htmlBody
                  : row.format == BodyFormat::RichText ? d.rtfBody
                                                       : d.body,
                  expected);
        if (row.format == BodyFormat::Html) {
            EXPECT_EQ(d.internetCodepage, 28591);
            const QStringList& calls = mail->fails.calls();
            EXPECT_LT(calls.lastIndexOf(u"SetInternetCodepage"_s),
                      calls.lastIndexOf(u"SetHTMLBody"_s));
        }
        EXPECT_EQ(mail->saves, 1); // removal and list land together
        EXPECT_TRUE(d.attachments.empty());
    }
}

TEST_F(Annotation, WithoutDeletionTheMailIsOnlyStampedAndSaved) {
    SaveSetting(u"MarkMail"_s, u"1"_s);
    udtRule& rule = addRule(u"R"_s);
    rule.Hyperlink = vbTrue;
    const FakeMessagePtr mail = mailWith(BodyFormat::Html, u"<body>x</body>"_s);
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(mail->stored.htmlBody, u"<body>x</body>"_s);
    EXPECT_EQ(mail->stored.subject, u"Offer"_s);
    EXPECT_EQ(mail->stored.mileage, u"QWKStowaway"_s);
    EXPECT_EQ(mail->saves, 1);
}

TEST_F(Annotation, AFailedBodyWriteIsLoggedAndTheMailStillSaved) {
    deletingRule(false);
    const FakeMessagePtr mail = mailWith(BodyFormat::Html, u"<body>x</body>"_s);
    mail->fails.failOn(u"SetHTMLBody"_s, OpError::make(ErrNo::Failed, u"Body is read-only"_s));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(logLines(), QStringList{u"! Error setting .HTMLBody: Body is read-only"_s});
    EXPECT_EQ(mail->saves, 1);
    EXPECT_EQ(mail->stored.htmlBody, u"<body>x</body>"_s);
    EXPECT_EQ(mail->stored.mileage, u"QWKStowaway"_s);
}

struct MarkCase {
    const char* setting;
    const char* subject;
    const char* expected;
};

class Marking : public EngineTest, public testing::WithParamInterface<MarkCase> {};

TEST_P(Marking, FollowsTheSettingOnceOnly) {
    const MarkCase c = GetParam();
    SaveSetting(u"MarkMail"_s, QString::fromUtf8(c.setting));
    udtRule& rule = addRule(u"R"_s);
    rule.DelAttach = vbTrue;
    const FakeMessagePtr mail = addMail(QString::fromUtf8(c.subject), {u"a.pdf"_s});
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
    SaveSetting(u"MarkMail"_s, u"1"_s);
    udtRule& rule = addRule(u"R"_s);
    rule.DelAttach = vbTrue;
    const FakeMessagePtr first = addMail(u"First"_s, {u"a.pdf"_s});
    const FakeMessagePtr second = addMail(u"Second"_s, {});
    second->addAttachment(u"logo.png"_s).contentId = u"logo@x"_s;

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(first->stored.subject, u"[SW] First"_s);
    // Nothing was taken out of the second mail, but the run had deleted one already.
    EXPECT_EQ(second->stored.subject, u"[SW] Second"_s);
    EXPECT_EQ(second->stored.body, u"Hello"_s);
    EXPECT_EQ(second->stored.attachments.size(), 1u);
}
