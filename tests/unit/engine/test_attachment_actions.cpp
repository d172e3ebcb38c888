// Conflict policies, the save dialog and its cancel question, the save and its second try,
// the rule's application, and deleting the saved attachments from the mail.
#include "fakes/engine_fixture.h"

#include <QFileInfo>

using Kind = AskedQuestion::Kind;

namespace {
void Write(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}
} // namespace

class Conflicts : public EngineTest {
  protected:
    udtRule& ruleWithPolicy(int policy) {
        udtRule& rule = addRule(QStringLiteral("R"));
        rule.FileExists = static_cast<uint8_t>(policy);
        return rule;
    }
};

TEST_F(Conflicts, ReplaceOverwritesAndSoDoesAnUnknownPolicy) {
    for (int policy : {1, 7}) {
        TestEnv::resetAll();
        SetUserInteraction(&user);
        SaveSetting(QStringLiteral("PaceSeconds"), QStringLiteral("0"));
        ruleWithPolicy(policy);
        Write(outFile(QStringLiteral("a.pdf")), "old");
        addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
        EXPECT_TRUE(runFolder());
        EXPECT_EQ(read(outFile(QStringLiteral("a.pdf"))), QByteArray("a.pdf content")) << policy;
        EXPECT_EQ(filesIn(out()).size(), 1);
    }
}

TEST_F(Conflicts, NumberingGivesTwoAttachmentsOfOneNameTwoFilesAndTwoRecords) {
    ruleWithPolicy(2);
    Write(outFile(QStringLiteral("a.pdf")), "old");
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf"), QStringLiteral("a.pdf")});
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(filesIn(out()),
              QStringList({QStringLiteral("a -0002.pdf"), QStringLiteral("a -0003.pdf"),
                           QStringLiteral("a.pdf")}));
    EXPECT_EQ(read(outFile(QStringLiteral("a.pdf"))), QByteArray("old"));
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Attachment.get(), QStringLiteral("a -0003.pdf"));
    EXPECT_EQ(records[1].Attachment.get(), QStringLiteral("a -0002.pdf"));
}

TEST_F(Conflicts, ExhaustedNumbersSkipTheAttachmentWithoutARecord) {
    DoProto = true;
    ruleWithPolicy(2);
    Write(outFile(QStringLiteral("a.pdf")), "old");
    Write(outFile(QStringLiteral("a -9999.pdf")), "old");
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf"), QStringLiteral("b.pdf")});
    EXPECT_TRUE(runFolder());
    EXPECT_TRUE(logLines().contains(QStringLiteral("GetNextNumberName= ''...")));
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_EQ(proto()[0].Attachment.get(), QStringLiteral("b.pdf"));
}

TEST_F(Conflicts, DateNamesKeepTheOldFile) {
    ruleWithPolicy(3);
    Write(outFile(QStringLiteral("a.PDF")), "old");
    addMail(QStringLiteral("m"), {QStringLiteral("a.PDF")});
    EXPECT_TRUE(runFolder());
    const QStringList files = filesIn(out());
    ASSERT_EQ(files.size(), 2);
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^a \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.pdf$"))
            .match(files[0])
            .hasMatch())
        << files[0].toStdString();
    EXPECT_EQ(read(outFile(QStringLiteral("a.PDF"))), QByteArray("old"));
}

TEST_F(Conflicts, TheSaveDialogIsAskedAndItsChoiceIsTakenWhereverItLies) {
    CurrLang = 1;
    ruleWithPolicy(0);
    Write(outFile(QStringLiteral("Scan.PDF")), "old");
    addMail(QStringLiteral("m"), {QStringLiteral("Scan.PDF")});
    const QString elsewhere = root + QStringLiteral("/elsewhere/chosen.bin");
    QDir().mkpath(root + QStringLiteral("/elsewhere"));
    user.answerSaveFile(elsewhere);

    EXPECT_TRUE(runFolder());

    const auto asked = user.questions(Kind::SaveFile);
    ASSERT_EQ(asked.size(), 1u);
    const SaveFileRequest& r = asked[0].saveFile;
    EXPECT_EQ(r.title, QStringLiteral("File exists - save attachment as:"));
    EXPECT_EQ(r.filter, QStringLiteral("PDF files (*.pdf)|*.pdf"));
    EXPECT_EQ(r.initialFolder, out() + QLatin1Char('/'));
    EXPECT_EQ(r.fileName, QStringLiteral("Scan.PDF"));
    EXPECT_EQ(r.defaultExt, QStringLiteral("pdf"));
    EXPECT_EQ(r.filterIndex, 1);
    EXPECT_EQ(read(elsewhere), QByteArray("Scan.PDF content"));
    EXPECT_EQ(read(outFile(QStringLiteral("Scan.PDF"))), QByteArray("old"));
    EXPECT_EQ(proto()[0].Attachment.get(), QStringLiteral("chosen.bin"));
}

TEST_F(Conflicts, CancellingTheDialogSkipsTheAttachmentOrStopsTheRun) {
    ruleWithPolicy(0);
    Write(outFile(QStringLiteral("a.pdf")), "old");
    const FakeMessagePtr mail =
        addMail(QStringLiteral("m"), {QStringLiteral("a.pdf"), QStringLiteral("b.pdf")});
    user.answerSaveFile(QString());
    user.answerMsgBoxEx(1); // "Anhang abbrechen"

    EXPECT_TRUE(runFolder());

    const auto asked = user.questions(Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].prompt, QStringLiteral("Möchten Sie nur das Speichern dieses Anhanges oder "
                                              "den gesamten Vorgang abbrechen?"));
    EXPECT_EQ(asked[0].buttons, QStringList({QStringLiteral("Anhang abbrechen"),
                                             QStringLiteral("Komplett abbrechen")}));
    EXPECT_EQ(asked[0].icon, 32);
    EXPECT_EQ(read(outFile(QStringLiteral("b.pdf"))), QByteArray("b.pdf content"));
    EXPECT_EQ(read(outFile(QStringLiteral("a.pdf"))), QByteArray("old"));
    ASSERT_EQ(proto().size(), 1u); // the skipped one leaves no record
    EXPECT_EQ(mail->stored.mileage, QStringLiteral("QWKStowaway"));

    // The second button stops the whole run; the mail is not saved.
    const FakeMessagePtr other = addMail(QStringLiteral("n"), {QStringLiteral("a.pdf")});
    CurrLang = 1;
    user.answerSaveFile(QString());
    user.answerMsgBoxEx(2);
    EXPECT_FALSE(runFolder());
    EXPECT_EQ(
        user.questions(Kind::MsgBoxEx).back().buttons,
        QStringList({QStringLiteral("Cancel attachment"), QStringLiteral("Cancel proccesing")}));
    EXPECT_EQ(other->saves, 0);
    EXPECT_TRUE(logLines().contains(QStringLiteral("! Aborted...")));
}

TEST_F(EngineTest, AMissingFileIsSavedASecondTime) {
    DoProto = true;
    addRule(QStringLiteral("R"));
    const FakeMessagePtr mail =
        addMail(QStringLiteral("m"), {QStringLiteral("once.pdf"), QStringLiteral("ghost.pdf")});
    mail->stored.attachments[0]->fails.failOn(QStringLiteral("SaveAsFile"),
                                              FailPlan::defaultError(), 1);
    mail->stored.attachments[1]->writesNothing = true;

    EXPECT_TRUE(runFolder());

    // The first save failed and left nothing: the second try decides.
    EXPECT_EQ(mail->stored.attachments[0]->fails.count(QStringLiteral("SaveAsFile")), 2);
    EXPECT_EQ(filesIn(out()), QStringList{QStringLiteral("once.pdf")});
    // A second try that raises nothing counts as done, even without a file.
    const QString ghost = outFile(QStringLiteral("ghost.pdf"));
    const QString missing = QStringLiteral("Dir$('") + ghost + QStringLiteral("' = ''...)");
    EXPECT_EQ(logLines().count(missing), 2);
    EXPECT_TRUE(logLines().contains(QStringLiteral("Attachment saved: ") + ghost));
    EXPECT_EQ(proto().size(), 2u);
    EXPECT_EQ(mail->saves, 1);
}

TEST_F(EngineTest, ANameThatWouldLeaveTheFolderIsAFailedSave) {
    addRule(QStringLiteral("R"));
    const FakeMessagePtr mail = addMail(QStringLiteral("m"), {QStringLiteral("..")});
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(mail->stored.attachments[0]->fails.count(QStringLiteral("SaveAsFile")), 0);
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_TRUE(proto()[0].State.get().startsWith(QStringLiteral("! 75/")));
    EXPECT_TRUE(filesIn(root).isEmpty());
    EXPECT_EQ(mail->saves, 0);
}

TEST_F(EngineTest, AnApplicationThatCannotStartIsLoggedAndTheRecordKeepsItsE) {
    DoProto = true;
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.Execute = root + QStringLiteral("/no such viewer");
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});

    EXPECT_TRUE(runFolder());

    const QString path = outFile(QStringLiteral("a.pdf"));
    const QString app = root + QStringLiteral("/no such viewer");
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Running app: ") + app + QLatin1Char('/') + path));
    EXPECT_TRUE(
        logLines().contains(QStringLiteral("Error runing app: ") + app + QLatin1Char('/') + path));
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_EQ(proto()[0].State.get(), QStringLiteral("SE"));
    EXPECT_TRUE(QFileInfo::exists(path));
}

TEST_F(EngineTest, DeletionFindsTheMailsOwnNamesAndTakesEqualNamesInTurn) {
    DoProto = true;
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.DelAttach = vbTrue;
    rule.FileExists = 2;
    const FakeMessagePtr mail = addMail(QStringLiteral("m"), {});
    mail->addAttachment(QStringLiteral("a:b.pdf"));
    mail->addAttachment(QStringLiteral("x.txt"));
    mail->addAttachment(QStringLiteral("x.txt"));
    mail->addAttachment(QStringLiteral("logo.png")).contentId = QStringLiteral("logo@x");

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList({QStringLiteral("a_b.pdf"), QStringLiteral("x -0002.txt"),
                                           QStringLiteral("x.txt")}));
    // Only the passed-over picture stays.
    ASSERT_EQ(mail->stored.attachments.size(), 1u);
    EXPECT_EQ(mail->stored.attachments[0]->fileName, QStringLiteral("logo.png"));
    EXPECT_TRUE(logLines().contains(QStringLiteral("DeletedAttachm: a:b.pdf; x.txt; x.txt; ")));
    for (const auto& record : proto())
        EXPECT_EQ(record.State.get(), QStringLiteral("SX"));
}

TEST_F(EngineTest, ATestRunWithDeletionOnlyLogsIt) {
    DoProto = true;
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.DelAttach = vbTrue;
    const FakeMessagePtr mail =
        addMail(QStringLiteral("m"), {QStringLiteral("a.pdf"), QStringLiteral("a.pdf")});

    EXPECT_TRUE(runFolder(true));

    // Both names find the first attachment, since nothing is taken out.
    EXPECT_EQ(logLines().count(QStringLiteral("Attachment deleted: a.pdf")), 2);
    EXPECT_EQ(mail->stored.attachments.size(), 2u);
    EXPECT_EQ(mail->saves, 0);
    EXPECT_FALSE(QFileInfo::exists(out()));
}
