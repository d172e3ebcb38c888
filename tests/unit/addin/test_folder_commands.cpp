// The run, reset and rule-check commands over watched folders of the in-memory store.
#include "fakes/engine_fixture.h"

#include "addin/folder_commands.h"

namespace {

// The Inbox is watched; one rule saves everything to the target root and removes it.
class FolderCommandsTest : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        Notify = 0;
        udtWatchFolder wf;
        wf.Active = vbTrue;
        wf.Name = QStringLiteral("Inbox");
        wf.Path = QStringLiteral("Maildir|Inbox");
        wf.EntryID = inbox->EntryID().value;
        wf.StoreID = QStringLiteral("/mail");
        WatchFolders.push_back(wf);
        WatchFoldersCount = 1;
        addRule(MakeRule(QStringLiteral("All"), root)).DelAttach = vbTrue;
    }
    QString target(const QString& name) const { return root + QLatin1Char('/') + name; }
};

TEST_F(FolderCommandsTest, ARealRunStampsAndSavesAndAResetTakesOnlyStampedMailsBack) {
    FakeMessagePtr a = addMail(QStringLiteral("a"), {QStringLiteral("a.pdf")});
    FakeMessagePtr b = addMail(QStringLiteral("b"), {QStringLiteral("b.pdf")});
    b->stored.unread = false; // read: skipped
    SWTest = false;
    EXPECT_TRUE(TestOrRunFolders({1}, nullptr));
    EXPECT_TRUE(QFile::exists(target(QStringLiteral("a.pdf"))));
    EXPECT_FALSE(QFile::exists(target(QStringLiteral("b.pdf"))));
    EXPECT_EQ(a->stored.mileage, QLatin1String(kStowawayStamp));
    EXPECT_TRUE(gLastAction.startsWith(QStringLiteral("Ausführung für 'Inbox', ")));
    EXPECT_FALSE(SWRun);

    const int savesBefore = b->saves;
    user.answerMessageBox(MsgAnswer::OK);
    EXPECT_EQ(ResetFolders({1}, true, nullptr), 1);
    EXPECT_TRUE(a->stored.mileage.isEmpty());
    EXPECT_TRUE(a->stored.unread);
    EXPECT_EQ(b->saves, savesBefore); // no mark: neither counted nor saved
    EXPECT_EQ(user.questions().back().prompt, QStringLiteral("1 Nachrichte(n) zurückgesetzt..."));

    EXPECT_EQ(ResetFolders({1}, false, nullptr), 0);
    EXPECT_EQ(user.questions().back().prompt,
              QStringLiteral("Keine Nachrichten mit Bearbeitungsflag gefunden..."));
}

TEST_F(FolderCommandsTest, RuleCheckAsksPerAttachmentAndStopsOnTheSecondButton) {
    addMail(QStringLiteral("a"),
            {QStringLiteral("one.pdf"), QStringLiteral("two.pdf"), QStringLiteral("three.pdf")});
    addMail(QStringLiteral("b"), {QStringLiteral("four.pdf")});
    user.answerMsgBoxEx(1); // go on
    user.answerMsgBoxEx(2); // end the test
    EXPECT_EQ(CheckRule(1, 1, nullptr), 1);
    const auto asked = user.questions(AskedQuestion::Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 2u);
    EXPECT_EQ(asked[0].title, QStringLiteral("Test"));
    EXPECT_EQ(asked[0].buttons,
              QStringList({QStringLiteral("Weiter"), QStringLiteral("Test abbrechen")}));
    EXPECT_TRUE(
        asked[1].prompt.contains(QStringLiteral("und aus der Nachricht gelöscht werden:\n\n") +
                                 root + QStringLiteral("/two.pdf\n\nWeiter testen?")));
    EXPECT_EQ(user.questions().back().prompt, QStringLiteral("1 Übereinstimmung(en) gefunden..."));
    EXPECT_TRUE(QDir(root).isEmpty()); // a check writes nothing
}

TEST_F(FolderCommandsTest, AnUnreachableFolderIsReportedAndTheOthersStillRun) {
    udtWatchFolder lost = WatchFolders[1];
    lost.Name = QStringLiteral("Lost");
    lost.EntryID = QStringLiteral(".Lost");
    WatchFolders.insert(WatchFolders.begin() + 1, lost);
    WatchFoldersCount = 2;
    addMail(QStringLiteral("a"), {QStringLiteral("a.pdf")});
    SWTest = false;
    EXPECT_TRUE(TestOrRunFolders({1, 2}, nullptr));
    ASSERT_FALSE(user.questions().empty());
    EXPECT_TRUE(user.questions()[0].prompt.startsWith(
        QStringLiteral("Zugriff auf Ordner 'Lost' nicht möglich!\n\n")));
    EXPECT_TRUE(QFile::exists(target(QStringLiteral("a.pdf"))));
}

} // namespace
