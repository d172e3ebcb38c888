// The program opens the store the test made and reads the data the test's home holds.
#include "stowaway_command.h"

#include "data/data_files.h"

TEST_F(StowawayCommandTest, FoldersListsTheStoreTreeAndTheDefaultWatchedInbox) {
    folder(QStringLiteral(".Work"));
    const CommandResult r = runStowaway({QStringLiteral("folders")});
    EXPECT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_TRUE(r.out.contains(QStringLiteral("\n  Work  (0 mails)"))) << S(r.out);
    EXPECT_TRUE(r.out.contains(QStringLiteral("1. Mail|Inbox"))) << S(r.out);
    EXPECT_TRUE(logText().contains(QStringLiteral("! Startup Stowaway"))) << S(logText());
}

TEST_F(StowawayCommandTest, ARunWithoutRulesSaysWhyNothingHappened) {
    // An empty rule table on disk stays empty (no sample rules).
    QDir().mkpath(QFileInfo(DataFilePath(QStringLiteral(".rls"))).path());
    QFile(DataFilePath(QStringLiteral(".rls"))).open(QIODevice::WriteOnly);
    for (const char* command : {"run", "test"}) {
        const CommandResult r =
            runStowaway({QString::fromLatin1(command), QStringLiteral("--all")});
        EXPECT_EQ(r.exitCode, 3) << command;
        EXPECT_TRUE(r.err.contains(QStringLiteral("there are no rules"))) << S(r.err);
    }
}
