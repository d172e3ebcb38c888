#include "common/folders.h"
#include "support/test_env.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
class Folders : public FreshState {};

TEST_F(Folders, DataFolderIsCreatedUnderTheUsersDataHome) {
    const QString expected = TestEnv::home() + u"/.local/share/Quillworks/Office Stowaway/"_s;
    EXPECT_FALSE(QFileInfo::exists(expected));
    EXPECT_EQ(GetDataFolder(), expected);
    EXPECT_TRUE(QFileInfo(expected).isDir());
    // Created anew at every call.
    ASSERT_TRUE(QDir(expected).removeRecursively());
    EXPECT_EQ(GetDataFolder(), expected);
    EXPECT_TRUE(QFileInfo(expected).isDir());
}

TEST_F(Folders, SpecialFolders) {
    EXPECT_EQ(GetSpecialFolder(Csidl::AppData), TestEnv::home() + u"/.local/share"_s);
    EXPECT_EQ(GetSpecialFolder(Csidl::ProgramFiles), u"/usr/bin"_s);
    EXPECT_FALSE(GetSpecialFolder(Csidl::Personal).endsWith(QLatin1Char('/')));
    EXPECT_EQ(GetSpecialFolder(12345), QString());
}

TEST_F(Folders, MakePathCreatesEveryLevelAndIgnoresFailures) {
    const QString deep = TestEnv::home() + u"/a/b c/d/"_s;
    EXPECT_TRUE(MakePath(deep));
    EXPECT_TRUE(QFileInfo(deep).isDir());
    EXPECT_TRUE(MakePath(deep)); // existing levels are no failure

    // A file in the way: nothing is made, and still true.
    QFile blocker(TestEnv::home() + u"/file"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    EXPECT_TRUE(MakePath(blocker.fileName() + u"/sub"_s));
    EXPECT_TRUE(QFileInfo(blocker.fileName()).isFile());
    EXPECT_TRUE(MakePath(QString()));
}

TEST_F(Folders, HostNameByTheFirstMatchingWord) {
    struct {
        const char* appName;
        const char* host;
    } const cases[] = {
        {"Microsoft Outlook", "Outlook"},
        {"OUTLOOK", "Outlook"},
        {"Microsoft Word", "Word"},
        {"Outlook with Word", "Outlook"}, // the list's order decides, not the text's
        {"Microsoft Excel", "Excel"},
        {"Microsoft Access", "Access"},
        {"Microsoft FrontPage", "FrontPage"},
        {"Microsoft PowerPoint", "PowerPoint"},
        {"Stowaway Mail Host", "Office"},
        {"", "Office"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(GetHostName(QString::fromUtf8(c.appName)), QString::fromUtf8(c.host))
            << c.appName;
    EXPECT_EQ(GetHostName(), u"Office"_s);
}
} // namespace
