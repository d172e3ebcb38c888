// LoadData and SaveData on real files in a fresh data folder.
#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

#include <QFileInfo>
#include <QTemporaryDir>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
QString Path(const char* ext) {
    return DataFilePath(QLatin1String(ext));
}

QString LogText() {
    return QString::fromLatin1(ReadAll(LogFilePath()));
}

// Files the save may have left behind besides the data files.
QStringList Leftovers(const QString& folder) {
    return FolderEntries(folder).filter(u".tmp"_s);
}
} // namespace

class DataFiles : public FreshState {};

TEST_F(DataFiles, FirstStartKeepsSamplesInMemoryAndWritesOnlyTheBlockedFormats) {
    LoadData(GoodInbox);
    EXPECT_EQ(Rules.count(), 4);
    EXPECT_EQ(Projects.count(), 2);
    EXPECT_EQ(WatchFolders.count(), 1);
    EXPECT_EQ(WatchFolders[1].Active, vbTrue);
    EXPECT_EQ(WatchFolders[1].Path.get(), u"Maildir|Inbox"_s);
    EXPECT_EQ(ProtoEntries.count(), 0);
    EXPECT_EQ(BlockedFormats.count(), 51);
    EXPECT_FALSE(Rules.changed || Projects.changed || WatchFolders.changed ||
                 ProtoEntries.changed || BlockedFormats.changed);

    SaveData();
    EXPECT_EQ(FolderEntries(GetDataFolder()), QStringList{u"QWKStowaway.ble"_s});
    EXPECT_EQ(QFileInfo(Path(".ble")).size(), 51 * 37);
}

TEST_F(DataFiles, ExistingFilesAreReadAndCountsFollowTheirLength) {
    WriteAll(Path(".rls"), QByteArray());                  // emptied by the user: no samples
    WriteAll(Path(".prt"), QByteArray(1313 * 3 + 7, 'x')); // an incomplete tail is dropped
    WriteAll(Path(".prj"), Record(350, {{0, Padded("Alpha", 100)}}) + Record(350, {}));
    Rules.changed = Projects.changed = ProtoEntries.changed = true;

    LoadData(GoodInbox);
    EXPECT_EQ(Rules.count(), 0);
    EXPECT_EQ(ProtoEntries.count(), 3);
    EXPECT_EQ(ProtoEntries[3].Mail().raw(), QString(100, QLatin1Char('x')));
    EXPECT_EQ(Projects.count(), 2);
    EXPECT_EQ(Projects[1].Name.get(), u"Alpha"_s);
    EXPECT_FALSE(Rules.changed || Projects.changed || ProtoEntries.changed);
    EXPECT_TRUE(LogText().contains(u"7 bytes dropped"_s));

    ProtoEntries.changed = true;
    SaveData();
    EXPECT_EQ(ReadAll(Path(".prt")), QByteArray(1313 * 3, 'x'));
}

TEST_F(DataFiles, LoadAndSaveKeepEveryByteOfARule) {
    // Every byte value, the unassigned code points of Windows-1252 and the reserved area included.
    QByteArray rule(1025, '\0');
    for (int i = 0; i < rule.size(); ++i)
        rule[i] = static_cast<char>((i * 7 + 3) % 256);
    const QByteArray fresh = EncodeRule(udtRule{});
    WriteAll(Path(".rls"), rule + fresh);

    LoadData(GoodInbox);
    ASSERT_EQ(Rules.count(), 2);
    EXPECT_EQ(Rules[2].Reserved.raw(), QString(49, QChar(0)));
    Rules.changed = true;
    SaveData();
    EXPECT_EQ(ReadAll(Path(".rls")), rule + fresh);
    EXPECT_FALSE(Rules.changed);
}

TEST_F(DataFiles, DeletedBlockedFormatsComeBackWhole) {
    WriteAll(Path(".ble"),
             Record(37, {{0, "ZIP"}, {3, Padded("Archiv", 30)}, {33, Le16(0)}, {35, Le16(0)}}));
    LoadData(GoodInbox);
    ASSERT_EQ(BlockedFormats.count(), 1);
    EXPECT_EQ(BlockedFormats[1].Extension.get(), u"ZIP"_s);

    QFile::remove(Path(".ble"));
    ResetGlobals();
    LoadData(GoodInbox);
    ASSERT_EQ(BlockedFormats.count(), 51);
    for (int i = 1; i <= BlockedFormats.count(); ++i) {
        EXPECT_EQ(BlockedFormats[i].Active, vbTrue) << i;
        EXPECT_EQ(BlockedFormats[i].System, vbTrue) << i;
    }
    EXPECT_EQ(QFileInfo(Path(".ble")).size(), 51 * 37);
}

TEST_F(DataFiles, ADataFileThatIsAFolderGivesAnEmptyTableAndSurvivesASave) {
    ASSERT_TRUE(QDir().mkpath(Path(".rls")));
    ASSERT_TRUE(QDir().mkpath(Path(".ble")));
    LoadData(GoodInbox);
    EXPECT_EQ(Rules.count(), 0);
    EXPECT_EQ(BlockedFormats.count(), 51); // the defaults still guard this session
    EXPECT_TRUE(LogText().contains(u"! LoadData: can't read "_s + Path(".rls")));

    Rules.append(udtRule{});
    Rules.changed = true;
    SaveData();
    EXPECT_TRUE(QFileInfo(Path(".rls")).isDir());
    EXPECT_TRUE(Rules.changed); // still pending: the rule lives on in memory
    EXPECT_TRUE(LogText().contains(u"! SaveData: can't write "_s + Path(".rls")));
    EXPECT_EQ(Leftovers(GetDataFolder()), QStringList());
}

TEST_F(DataFiles, TooManyRulesForTheCountLeaveTheTableEmptyAndTheFileKept) {
    {
        QFile f(Path(".rls"));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        ASSERT_TRUE(f.resize(32768LL * 1025)); // sparse: one record more than 16 bits count
    }
    LoadData(GoodInbox);
    EXPECT_EQ(Rules.count(), 0);
    EXPECT_TRUE(LogText().contains(u"holds 32768 records"_s));

    Rules.append(udtRule{});
    Rules.changed = true;
    SaveData();
    EXPECT_EQ(QFileInfo(Path(".rls")).size(), 1025);
    EXPECT_EQ(QFileInfo(Path(".rls") + u".bak"_s).size(), 32768LL * 1025);
}

TEST_F(DataFiles, AFailedSaveKeepsTheOldFileAndTheChange) {
    WriteAll(Path(".prj"), Record(350, {{0, Padded("Alt", 100)}}));
    LoadData(GoodInbox);
    Projects[1].Name = u"Neu"_s;
    Projects.changed = true;

    const QString folder = GetDataFolder();
    if (geteuid() != 0) {
        WriteLog("! before"); // the LOG exists, so it can still grow in a locked folder
        ASSERT_EQ(chmod(QFile::encodeName(folder).constData(), 0500), 0);
        SaveData();
        chmod(QFile::encodeName(folder).constData(), 0700);
        EXPECT_TRUE(LogText().contains(u"! SaveData: can't write "_s));
    } else {
        // Permissions do not stop root; a data folder below a regular file fails for everybody.
        const QByteArray saved = qgetenv("XDG_DATA_HOME");
        const QString blocker = TestEnv::home() + u"/blocker"_s;
        WriteAll(blocker, "x");
        qputenv("XDG_DATA_HOME", QFile::encodeName(blocker + u"/share"_s));
        SaveData();
        qputenv("XDG_DATA_HOME", saved);
        EXPECT_EQ(ReadAll(blocker), QByteArray("x"));
    }
    EXPECT_TRUE(Projects.changed);
    EXPECT_EQ(ReadAll(Path(".prj")), Record(350, {{0, Padded("Alt", 100)}}));
    EXPECT_EQ(Leftovers(folder), QStringList());
}

TEST(ReplaceFileAtomically, ReplacesContentAndModeAndNamesTheFailure) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"f"_s);
    WriteAll(path, "old");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    ASSERT_TRUE(ReplaceFileAtomically(path, "new"));
    EXPECT_EQ(ReadAll(path), QByteArray("new"));
    EXPECT_FALSE(QFileInfo(path).permissions() & (QFile::ReadGroup | QFile::ReadOther));

    QString why;
    EXPECT_FALSE(ReplaceFileAtomically(dir.filePath(u"missing/f"_s), "x", &why));
    EXPECT_FALSE(why.isEmpty());
    EXPECT_EQ(FolderEntries(dir.path()), QStringList{u"f"_s});
}
