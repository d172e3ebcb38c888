// The program opens the store the test made and reads the data the test's home holds.
#include "stowaway_command.h"

TEST_F(StowawayCommandTest, FoldersListsTheStoreTreeAndTheDefaultWatchedInbox) {
    folder(QStringLiteral(".Work"));
    const CommandResult r = runStowaway({QStringLiteral("folders")});
    EXPECT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_TRUE(r.out.contains(QStringLiteral("\n  Work  (0 mails)"))) << S(r.out);
    EXPECT_TRUE(r.out.contains(QStringLiteral("1. Mail|Inbox"))) << S(r.out);
    EXPECT_TRUE(logText().contains(QStringLiteral("! Startup Stowaway"))) << S(logText());
}
