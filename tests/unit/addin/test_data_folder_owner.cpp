// The lock of a data folder on its real file: one holder at a time, who it is, and the socket
// each folder gets.
#include "addin/data_folder_owner.h"
#include "support/test_env.h"

#include <QCoreApplication>
#include <QFile>

using namespace Qt::StringLiterals;

class DataFolderOwnerTest : public FreshState {};

TEST_F(DataFolderOwnerTest, OneHolderAtATimeAndTheOthersLearnWhoItIs) {
    const QString folder = TestEnv::home() + u"/data/"_s;
    DataFolderOwner first(folder);
    DataFolderOwner second(folder);
    ASSERT_TRUE(first.acquire(DataFolderOwner::Role::Owner)) << first.lastError().toStdString();
    // A lock belongs to its open file, so a second one fails even in the same process.
    EXPECT_FALSE(second.acquire(DataFolderOwner::Role::Command));
    EXPECT_TRUE(second.heldByOther());
    DataFolderHolder holder = second.holder();
    EXPECT_EQ(holder.pid, QCoreApplication::applicationPid());
    EXPECT_TRUE(holder.owner);
    EXPECT_EQ(holder.command, QCoreApplication::arguments().join(u' '));

    first.release();
    EXPECT_FALSE(QFile::exists(first.lockFilePath()));
    ASSERT_TRUE(second.acquire(DataFolderOwner::Role::Command));
    EXPECT_FALSE(first.acquire(DataFolderOwner::Role::Owner));
    EXPECT_FALSE(first.holder().owner);
}

TEST_F(DataFolderOwnerTest, EachDataFolderHasItsOwnSocketInTheRuntimeFolder) {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString a = OwnerSocketPath(u"/home/u/.local/share/Quillworks/Office Stowaway/"_s);
    const QString b = OwnerSocketPath(u"/home/u/other/Quillworks/Office Stowaway/"_s);
    EXPECT_TRUE(a.startsWith(runtime + u'/')) << a.toStdString();
    EXPECT_NE(a, b);
    EXPECT_EQ(a, OwnerSocketPath(u"/home/u/.local/share/Quillworks/Office Stowaway"_s));
    EXPECT_LT(a.toUtf8().size(), 108); // what a Unix socket's address holds
}
