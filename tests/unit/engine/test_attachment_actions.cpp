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

struct PolicyCase {
    const char* name;
    int policy;
    QStringList existing; // each holds "old"; the first is the one the mail's file clashes with
    QStringList attachments;
    const char* files;    // the target folder afterwards, comma-joined, as a pattern
    const char* first;    // what the first existing file holds afterwards
    const char* recorded; // the protocol's attachments, newest first, comma-joined, as a pattern
    const char* log = ""; // a LOG line that must be there
};

class Policies : public Conflicts, public testing::WithParamInterface<PolicyCase> {};

TEST_P(Policies, SettleAClashWithAnExistingFile) {
    const PolicyCase& c = GetParam();
    DoProto = true;
    ruleWithPolicy(c.policy);
    for (const QString& name : c.existing)
        PutFile(outFile(name), "old");
    addMail(u"m"_s, c.attachments);

    EXPECT_TRUE(runFolder());

    const auto whole = [](const char* pattern) {
        return QRegularExpression(u"^(?:"_s + QString::fromUtf8(pattern) + u")$"_s);
    };
    const QString files = filesIn(out()).join(u", "_s);
    EXPECT_TRUE(whole(c.files).match(files).hasMatch()) << S(files);
    EXPECT_EQ(FileBytes(outFile(c.existing[0])), QByteArray(c.first));
    QStringList recorded;
    for (const udtProtoEntry& record : proto())
        recorded << record.Attachment().get();
    EXPECT_TRUE(whole(c.recorded).match(recorded.join(u", "_s)).hasMatch())
        << S(recorded.join(u", "_s));
    if (*c.log) {
        EXPECT_TRUE(logLines().contains(QString::fromUtf8(c.log)));
    }
}

INSTANTIATE_TEST_SUITE_P(
    FileExists, Policies,
    testing::Values(
        PolicyCase{"Replace", 1, {"a.pdf"}, {"a.pdf"}, "a\\.pdf", "a.pdf content", "a\\.pdf"},
        PolicyCase{
            "UnknownReplaces", 7, {"a.pdf"}, {"a.pdf"}, "a\\.pdf", "a.pdf content", "a\\.pdf"},
        // Two attachments of one name: two numbered files and two records.
        PolicyCase{"Number",
                   2,
                   {"a.pdf"},
                   {"a.pdf", "a.pdf"},
                   "a -0002\\.pdf, a -0003\\.pdf, a\\.pdf",
                   "old",
                   "a -0003\\.pdf, a -0002\\.pdf"},
        // Numbers used up: the attachment is skipped without a record.
        PolicyCase{"NumbersUsedUp",
                   2,
                   {"a.pdf", "a -9999.pdf"},
                   {"a.pdf", "b.pdf"},
                   "a -9999\\.pdf, a\\.pdf, b\\.pdf",
                   "old",
                   "b\\.pdf",
                   "GetNextNumberName= ''..."},
        PolicyCase{"DateName",
                   3,
                   {"a.PDF"},
                   {"a.PDF"},
                   "a \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.pdf, a\\.PDF",
                   "old",
                   "a \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.pdf"}),
    [](const testing::TestParamInfo<PolicyCase>& info) { return info.param.name; });

TEST_F(Conflicts, TheSaveDialogIsAskedAndItsChoiceIsTakenWhereverItLies) {
    CurrLang = 1;
    ruleWithPolicy(0);
    PutFile(outFile(u"Scan.PDF"_s), "old");
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
    EXPECT_EQ(FileBytes(elsewhere), QByteArray("Scan.PDF content"));
    EXPECT_EQ(FileBytes(outFile(u"Scan.PDF"_s)), QByteArray("old"));
    EXPECT_EQ(proto()[0].Attachment().get(), u"chosen.bin"_s);
}

TEST_F(Conflicts, CancellingTheDialogSkipsTheAttachmentOrStopsTheRun) {
    ruleWithPolicy(0);
    PutFile(outFile(u"a.pdf"_s), "old");
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
    EXPECT_EQ(FileBytes(outFile(u"b.pdf"_s)), QByteArray("b.pdf content"));
    EXPECT_EQ(FileBytes(outFile(u"a.pdf"_s)), QByteArray("old"));
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
