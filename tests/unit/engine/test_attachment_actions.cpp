// Conflict policies, the save dialog and its cancel question, the save and its second try,
// the rule's application, and deleting the saved attachments from the mail.
#include "fakes/engine_fixture.h"

using namespace Qt::StringLiterals;

using Kind = AskedQuestion::Kind;

class Conflicts : public EngineTest {
  protected:
    udtRule& ruleWithPolicy(int policy) {
        udtRule& rule = addRule(u"R"_s);
        rule.FileExists = static_cast<uint8_t>(policy);
        return rule;
    }
};

TEST_F(Conflicts, ReplaceOverwritesAndSoDoesAnUnknownPolicy) {
    for (int policy : {1, 7}) {
        TestEnv::resetAll();
        SetUserInteraction(&user);
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        ruleWithPolicy(policy);
        write(outFile(u"a.pdf"_s), "old");
        addMail(u"m"_s, {u"a.pdf"_s});
        EXPECT_TRUE(runFolder());
        EXPECT_EQ(read(outFile(u"a.pdf"_s)), QByteArray("a.pdf content")) << policy;
        EXPECT_EQ(filesIn(out()).size(), 1);
    }
}

TEST_F(Conflicts, NumberingGivesTwoAttachmentsOfOneNameTwoFilesAndTwoRecords) {
    ruleWithPolicy(2);
    write(outFile(u"a.pdf"_s), "old");
    addMail(u"m"_s, {u"a.pdf"_s, u"a.pdf"_s});
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(filesIn(out()), QStringList({u"a -0002.pdf"_s, u"a -0003.pdf"_s, u"a.pdf"_s}));
    EXPECT_EQ(read(outFile(u"a.pdf"_s)), QByteArray("old"));
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Attachment().get(), u"a -0003.pdf"_s);
    EXPECT_EQ(records[1].Attachment().get(), u"a -0002.pdf"_s);
}

TEST_F(Conflicts, ExhaustedNumbersSkipTheAttachmentWithoutARecord) {
    DoProto = true;
    ruleWithPolicy(2);
    write(outFile(u"a.pdf"_s), "old");
    write(outFile(u"a -9999.pdf"_s), "old");
    addMail(u"m"_s, {u"a.pdf"_s, u"b.pdf"_s});
    EXPECT_TRUE(runFolder());
    EXPECT_TRUE(logLines().contains(u"GetNextNumberName= ''..."_s));
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_EQ(proto()[0].Attachment().get(), u"b.pdf"_s);
}

TEST_F(Conflicts, DateNamesKeepTheOldFile) {
    ruleWithPolicy(3);
    write(outFile(u"a.PDF"_s), "old");
    addMail(u"m"_s, {u"a.PDF"_s});
    EXPECT_TRUE(runFolder());
    const QStringList files = filesIn(out());
    ASSERT_EQ(files.size(), 2);
    EXPECT_TRUE(QRegularExpression(u"^a \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.pdf$"_s)
                    .match(files[0])
                    .hasMatch())
        << files[0].toStdString();
    EXPECT_EQ(read(outFile(u"a.PDF"_s)), QByteArray("old"));
}

TEST_F(Conflicts, TheSaveDialogIsAskedAndItsChoiceIsTakenWhereverItLies) {
    CurrLang = 1;
    ruleWithPolicy(0);
    write(outFile(u"Scan.PDF"_s), "old");
    addMail(u"m"_s, {u"Scan.PDF"_s});
    const QString elsewhere = root + u"/elsewhere/chosen.bin"_s;
    QDir().mkpath(root + u"/elsewhere"_s);
    user.answerSaveFile(elsewhere);

    EXPECT_TRUE(runFolder());

    const auto asked = user.questions(Kind::SaveFile);
    ASSERT_EQ(asked.size(), 1u);
    const SaveFileRequest& r = asked[0].saveFile;
    EXPECT_EQ(r.title, u"File exists - save attachment as:"_s);
    EXPECT_EQ(r.filter, u"PDF files (*.pdf)|*.pdf"_s);
    EXPECT_EQ(r.initialFolder, out() + QLatin1Char('/'));
    EXPECT_EQ(r.fileName, u"Scan.PDF"_s);
    EXPECT_EQ(r.defaultExt, u"pdf"_s);
    EXPECT_EQ(r.filterIndex, 1);
    EXPECT_EQ(read(elsewhere), QByteArray("Scan.PDF content"));
    EXPECT_EQ(read(outFile(u"Scan.PDF"_s)), QByteArray("old"));
    EXPECT_EQ(proto()[0].Attachment().get(), u"chosen.bin"_s);
}

TEST_F(Conflicts, CancellingTheDialogSkipsTheAttachmentOrStopsTheRun) {
    ruleWithPolicy(0);
    write(outFile(u"a.pdf"_s), "old");
    const FakeMessagePtr mail = addMail(u"m"_s, {u"a.pdf"_s, u"b.pdf"_s});
    user.answerSaveFile(QString());
    user.answerMsgBoxEx(1); // "Anhang abbrechen"

    EXPECT_TRUE(runFolder());

    const auto asked = user.questions(Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].prompt, u"Möchten Sie nur das Speichern dieses Anhanges oder "
                               "den gesamten Vorgang abbrechen?"_s);
    EXPECT_EQ(asked[0].buttons, QStringList({u"Anhang abbrechen"_s, u"Komplett abbrechen"_s}));
    EXPECT_EQ(asked[0].icon, 32);
    EXPECT_EQ(read(outFile(u"b.pdf"_s)), QByteArray("b.pdf content"));
    EXPECT_EQ(read(outFile(u"a.pdf"_s)), QByteArray("old"));
    ASSERT_EQ(proto().size(), 1u); // the skipped one leaves no record
    EXPECT_EQ(mail->stored.mileage, u"QWKStowaway"_s);

    // The second button stops the whole run; the mail is not saved.
    const FakeMessagePtr other = addMail(u"n"_s, {u"a.pdf"_s});
    CurrLang = 1;
    user.answerSaveFile(QString());
    user.answerMsgBoxEx(2);
    EXPECT_FALSE(runFolder());
    EXPECT_EQ(user.questions(Kind::MsgBoxEx).back().buttons,
              QStringList({u"Cancel attachment"_s, u"Cancel proccesing"_s}));
    EXPECT_EQ(other->saves, 0);
    EXPECT_TRUE(logLines().contains(u"! Aborted..."_s));
}

TEST_F(EngineTest, AMissingFileIsSavedASecondTime) {
    DoProto = true;
    addRule(u"R"_s);
    const FakeMessagePtr mail = addMail(u"m"_s, {u"once.pdf"_s, u"ghost.pdf"_s});
    mail->stored.attachments[0]->fails.failOn(u"SaveAsFile"_s, FailPlan::defaultError(), 1);
    mail->stored.attachments[1]->writesNothing = true;

    EXPECT_TRUE(runFolder());

    // The first save failed and left nothing: the second try decides.
    EXPECT_EQ(mail->stored.attachments[0]->fails.count(u"SaveAsFile"_s), 2);
    EXPECT_EQ(filesIn(out()), QStringList{u"once.pdf"_s});
    // A second try that raises nothing counts as done, even without a file.
    const QString ghost = outFile(u"ghost.pdf"_s);
    const QString missing = u"Dir$('"_s + ghost + u"' = ''...)"_s;
    EXPECT_EQ(logLines().count(missing), 2);
    EXPECT_TRUE(logLines().contains(u"Attachment saved: "_s + ghost));
    EXPECT_EQ(proto().size(), 2u);
    EXPECT_EQ(mail->saves, 1);
}

TEST_F(EngineTest, ANameThatWouldLeaveTheFolderIsAFailedSave) {
    addRule(u"R"_s);
    const FakeMessagePtr mail = addMail(u"m"_s, {u".."_s});
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(mail->stored.attachments[0]->fails.count(u"SaveAsFile"_s), 0);
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_TRUE(proto()[0].State().get().startsWith(u"! 75/"_s));
    EXPECT_TRUE(filesIn(root).isEmpty());
    EXPECT_EQ(mail->saves, 0);
}

TEST_F(EngineTest, AnApplicationThatCannotStartIsLoggedAndTheRecordKeepsItsE) {
    DoProto = true;
    udtRule& rule = addRule(u"R"_s);
    rule.Execute = root + u"/no such viewer"_s;
    addMail(u"m"_s, {u"a.pdf"_s});

    EXPECT_TRUE(runFolder());

    const QString path = outFile(u"a.pdf"_s);
    const QString app = root + u"/no such viewer"_s;
    EXPECT_TRUE(logLines().contains(u"Running app: "_s + app + QLatin1Char('/') + path));
    EXPECT_TRUE(logLines().contains(u"Error runing app: "_s + app + QLatin1Char('/') + path));
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_EQ(proto()[0].State().get(), u"SE"_s);
    EXPECT_TRUE(QFileInfo::exists(path));
}

TEST_F(EngineTest, DeletionFindsTheMailsOwnNamesAndTakesEqualNamesInTurn) {
    DoProto = true;
    udtRule& rule = addRule(u"R"_s);
    rule.DelAttach = vbTrue;
    rule.FileExists = 2;
    const FakeMessagePtr mail = addMail(u"m"_s, {});
    mail->addAttachment(u"a:b.pdf"_s);
    mail->addAttachment(u"x.txt"_s);
    mail->addAttachment(u"x.txt"_s);
    mail->addAttachment(u"logo.png"_s).contentId = u"logo@x"_s;

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList({u"a_b.pdf"_s, u"x -0002.txt"_s, u"x.txt"_s}));
    // Only the passed-over picture stays.
    ASSERT_EQ(mail->stored.attachments.size(), 1u);
    EXPECT_EQ(mail->stored.attachments[0]->fileName, u"logo.png"_s);
    EXPECT_TRUE(logLines().contains(u"DeletedAttachm: a:b.pdf; x.txt; x.txt; "_s));
    for (const auto& record : proto())
        EXPECT_EQ(record.State().get(), u"SX"_s);
}

TEST_F(EngineTest, ATestRunWithDeletionOnlyLogsIt) {
    DoProto = true;
    udtRule& rule = addRule(u"R"_s);
    rule.DelAttach = vbTrue;
    const FakeMessagePtr mail = addMail(u"m"_s, {u"a.pdf"_s, u"a.pdf"_s});

    EXPECT_TRUE(runFolder(true));

    // Both names find the first attachment, since nothing is taken out.
    EXPECT_EQ(logLines().count(u"Attachment deleted: a.pdf"_s), 2);
    EXPECT_EQ(mail->stored.attachments.size(), 2u);
    EXPECT_EQ(mail->saves, 0);
    EXPECT_FALSE(QFileInfo::exists(out()));
}
