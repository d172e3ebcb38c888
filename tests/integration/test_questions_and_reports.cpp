// What the program asks and tells: a name clash under the policy "ask" with nobody to ask, the
// save-as question at a terminal, and the lines for what a test run or extras pass over.
#include "stowaway_command.h"

#include "data/settings.h"

using namespace Qt::StringLiterals;

namespace {

class QuestionsTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        target = TestEnv::home() + u"/Saved"_s;
        udtRule ask = SaveAllRule(target);
        ask.FileExists = 0; // ask
        useOnlyRule(ask);
        SaveSetting(u"CurrLang"_s, u"1"_s);
        QDir().mkpath(target);
        QFile mine(target + u"/a.pdf"_s);
        ASSERT_TRUE(mine.open(QIODevice::WriteOnly));
        mine.write("mine");
    }

    QString target;
};

TEST_F(QuestionsTest, AClashWithNobodyToAskLeavesThatMailAndGoesOn) {
    // --no-input, and --yes, which never answers by replacing a file.
    for (const QString& answers : {u"--no-input"_s, u"--yes"_s}) {
        for (const QString& f : QDir(root + u"/cur"_s).entryList(QDir::Files))
            QFile::remove(root + u"/cur/"_s + f);
        QFile::remove(target + u"/b.pdf"_s);
        deliver(MailWithFiles(u"Clash"_s, {u"a.pdf"_s}));
        deliver(MailWithFiles(u"Free"_s, {u"b.pdf"_s}));
        const qsizetype logBefore = logText().size();

        const CommandResult r = runStowaway({answers, u"run"_s, u"1"_s});
        EXPECT_EQ(r.exitCode, 0) << S(answers) << S(r.err);
        EXPECT_EQ(readFile(target + u"/a.pdf"_s), "mine") << S(answers);
        EXPECT_EQ(readFile(target + u"/b.pdf"_s), "%PDF-1.4 Free") << S(answers);
        EXPECT_EQ(stampsBySubject().values(u"Clash"_s), QList<int>{0}) << S(answers);
        EXPECT_TRUE(stamped(u"Free"_s)) << S(answers);
        const QString said = u"File exists and nobody can be asked: "_s + target + u"/a.pdf"_s;
        EXPECT_EQ(r.err.count(said), 1) << S(r.err);
        EXPECT_EQ(logText().mid(logBefore).count(u"! "_s + said), 1) << S(logText());
    }
}

TEST_F(QuestionsTest, ASaveAsAnswerIsTakenInTheProposedFolderAndReplacesOnlyWhenSaidSo) {
    deliver(MailWithFiles(u"Clash"_s, {u"a.pdf"_s}));
    const QString workDir = TestEnv::home() + u"/elsewhere"_s;
    QDir().mkpath(workDir);
    const auto run = startAtTerminal({u"run"_s, u"1"_s}, workDir);
    // The existing file named: asked whether to replace it; no; then a bare name.
    run->write("a.pdf\n2\n1\n");
    run->closeWriteChannel();
    ASSERT_TRUE(run->waitForFinished(120000));
    const QString out = QString::fromUtf8(run->readAll());
    EXPECT_EQ(run->exitCode(), 0) << S(out);
    EXPECT_TRUE(out.contains(target + u"/a.pdf exists. Replace it?"_s)) << S(out);
    EXPECT_EQ(readFile(target + u"/a.pdf"_s), "mine");
    EXPECT_EQ(readFile(target + u"/1"_s), "%PDF-1.4 Clash") << S(out);
    EXPECT_FALSE(QFile::exists(workDir + u"/1"_s));
    EXPECT_TRUE(stamped(u"Clash"_s));
}

TEST_F(QuestionsTest, WhatATestRunOrExtrasPassOverGetsOneLineWithTheReason) {
    SampleMail done = MailWithFiles(u"Done"_s, {u"d.pdf"_s});
    done.mileage = u"QWKStowaway"_s;
    deliver(done);
    deliver(MailWithFiles(u"Read"_s, {u"r.pdf"_s}), {}, SampleMailFlags{true});
    deliver(MailWithFiles(u"Plain"_s, {}));
    SampleMail mixed = MailWithFiles(u"Mixed"_s, {u"m.pdf"_s});
    mixed.attachments.push_back(
        SampleAttachment::file(u"card.vcf"_s, "text/vcard", "BEGIN:VCARD\r\nEND:VCARD\r\n"));
    mixed.attachedMessages.push_back(MailWithFiles(u"Inner"_s, {}));
    mixed.htmlBody = u"<p><img src=\"cid:pic@example.org\"></p>"_s;
    SampleAttachment picture = SampleAttachment::file(u"pic.png"_s, "image/png", "png");
    picture.contentId = u"pic@example.org"_s;
    mixed.attachments.push_back(picture);
    deliver(mixed);
    deliverDataFile(u"delivery-report.eml"_s);

    const CommandResult test = runStowaway({u"test"_s, u"1"_s});
    EXPECT_EQ(test.exitCode, 0) << S(test.err);
    const CommandResult extras =
        runStowaway({u"extras"_s, u"Inbox"_s, u"--to"_s, target, u"--test"_s});
    EXPECT_EQ(extras.exitCode, 0) << S(extras.err);
    const struct {
        QString line;
        int inTest;
        int inExtras;
    } cases[] = {
        {u"passed over: \"Done\": processed before (it carries the processing mark)"_s, 1, 1},
        {u"passed over: \"Read\": read already"_s, 1, 0}, // extras takes read mails too
        {u"passed over: \"Plain\": no attachments"_s, 1, 1},
        {u"passed over: \"Mixed\", card.vcf: a contact card (vCard)"_s, 1, 1},
        {u"passed over: \"Mixed\", Inner.eml: an attached message"_s, 1, 1},
        {u"passed over: \"Mixed\", pic.png: a picture that the mail's text shows"_s, 1, 1},
        {u"passed over: \"Undelivered Mail Returned to Sender\": a delivery report"_s, 1, 1},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(test.err.count(c.line), c.inTest) << S(c.line) << "\n" << S(test.err);
        EXPECT_EQ(extras.err.count(c.line), c.inExtras) << S(c.line) << "\n" << S(extras.err);
    }
}

} // namespace
