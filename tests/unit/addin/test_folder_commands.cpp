// The run, reset and rule-check commands over watched folders of the in-memory store.
#include "fakes/engine_fixture.h"

#include "addin/folder_commands.h"

using namespace Qt::StringLiterals;

namespace {

// The Inbox is watched; one rule saves everything to the target root and removes it.
class FolderCommandsTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        Notify = 0;
        WatchFolders.append(WatchOf(inbox, true, u"Maildir|Inbox"_s));
        addRule(MakeRule(u"All"_s, root)).DelAttach = vbTrue;
    }
};

TEST_F(FolderCommandsTest, ARealRunStampsAndSavesAndAResetTakesOnlyStampedMailsBack) {
    FakeMessagePtr a = addMail(u"a"_s, {u"a.pdf"_s});
    FakeMessagePtr b = addMail(u"b"_s, {u"b.pdf"_s});
    b->stored.unread = false; // read: skipped
    SWTest = true;            // a test run saves nothing and marks nothing
    EXPECT_TRUE(TestOrRunFolders({1}, nullptr));
    EXPECT_FALSE(QFile::exists(out(u"a.pdf"_s)));
    EXPECT_TRUE(gLastAction.startsWith(u"Testlauf für 'Inbox', "_s));
    SWTest = false;
    EXPECT_TRUE(TestOrRunFolders({1}, nullptr));
    EXPECT_TRUE(QFile::exists(out(u"a.pdf"_s)));
    EXPECT_FALSE(QFile::exists(out(u"b.pdf"_s)));
    EXPECT_EQ(a->stored.mileage, QLatin1String(kStowawayStamp));
    EXPECT_TRUE(gLastAction.startsWith(u"Ausführung für 'Inbox', "_s));
    EXPECT_FALSE(SWRun);

    const int savesBefore = b->saves;
    user.answerMessageBox(MsgAnswer::OK);
    EXPECT_EQ(ResetFolders({1}, true, nullptr), 1);
    EXPECT_TRUE(a->stored.mileage.isEmpty());
    EXPECT_TRUE(a->stored.unread);
    EXPECT_EQ(b->saves, savesBefore); // no mark: neither counted nor saved
    EXPECT_EQ(user.questions().back().prompt, u"1 Nachrichte(n) zurückgesetzt..."_s);
    EXPECT_TRUE(gLastAction.startsWith(u"Bearbeitungsflags zurückgesetzt für 'Inbox'"_s));

    EXPECT_EQ(ResetFolders({1}, false, nullptr), 0);
    EXPECT_EQ(user.questions().back().prompt,
              u"Keine Nachrichten mit Bearbeitungsflag gefunden..."_s);
}

TEST_F(FolderCommandsTest, RuleCheckAsksPerAttachmentAndStopsOnTheSecondButton) {
    FakeMessagePtr a = addMail(u"a"_s, {u"one.pdf"_s, u"two.pdf"_s, u"three.pdf"_s});
    addMail(u"b"_s, {u"four.pdf"_s});
    user.answerMsgBoxEx(1); // go on
    user.answerMsgBoxEx(2); // end the test
    EXPECT_EQ(CheckRule(1, 1, nullptr), 1);
    const auto asked = user.questions(AskedQuestion::Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].title, u"Test"_s);
    EXPECT_EQ(asked[0].buttons, QStringList({u"Weiter"_s, u"Test abbrechen"_s}));
    EXPECT_TRUE(asked[1].prompt.contains(u"und aus der Nachricht gelöscht werden:\n\n"_s + root +
                                         u"/two.pdf\n\nWeiter testen?"_s));
    EXPECT_EQ(user.questions().back().prompt, u"1 Übereinstimmung(en) gefunden..."_s);
    EXPECT_TRUE(QDir(root).isEmpty()); // a check writes nothing
    EXPECT_TRUE(a->stored.mileage.isEmpty());
}

TEST_F(FolderCommandsTest, AnUnreachableFolderIsReportedAndTheOthersStillRun) {
    udtWatchFolder lost = WatchFolders[1];
    lost.Name = u"Lost"_s;
    lost.EntryID = u".Lost"_s;
    WatchFolders.insert(1, lost);
    addMail(u"a"_s, {u"a.pdf"_s});
    SWTest = false;
    EXPECT_TRUE(TestOrRunFolders({1, 2}, nullptr));
    ASSERT_FALSE(user.questions().empty());
    EXPECT_TRUE(
        user.questions()[0].prompt.startsWith(u"Zugriff auf Ordner 'Lost' nicht möglich!\n\n"_s));
    EXPECT_TRUE(QFile::exists(out(u"a.pdf"_s)));
}

} // namespace
