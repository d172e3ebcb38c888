// LoadData and SaveData on real files in a fresh data folder, and the data of a first start:
// sample rules and projects, the inbox record, the blocked formats.
#include "common/folders.h"
#include "common/lang.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/protocol.h"
#include "fakes/scripted_ui.h"
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
    return QString::fromLatin1(FileBytes(LogFilePath()));
}

QString Documents() {
    return GetSpecialFolder(Csidl::Personal) + QLatin1Char('/');
}

// Files the save may have left behind besides the data files.
QStringList Leftovers(const QString& folder) {
    return FolderEntries(folder).filter(u".tmp"_s);
}
} // namespace

class DataFiles : public FreshState {};

TEST_F(DataFiles, AFirstStartMakesSamplesInItsLanguageAndWritesOnlyTheBlockedFormats) {
    const struct {
        uint8_t lang;
        QStringList names;
        QString attachments;
        QString project2;
    } cases[] = {
        {0,
         {"Testregel #1", "Testregel #2", "Testregel #3", "<Standardregel>"},
         "Mail-Anhänge",
         "Beispielwerk GmbH"},
        {1,
         {"Test rule #1", "Test rule #2", "Test rule #3", "<Default Rule>"},
         "Mail Attachments",
         "Samplewright Inc."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.lang));
        TestEnv::resetAll();
        CurrLang = c.lang;
        LoadData(GoodInbox);
        CurrLang = 1 - c.lang; // switching later changes nothing that was made
        ASSERT_EQ(Rules.count(), 4);
        for (int i = 1; i <= 4; ++i)
            EXPECT_EQ(Rules[i].Name.get(), c.names[i - 1]);
        EXPECT_EQ(Rules[1].Folder.get(), Documents() + c.attachments);
        ASSERT_EQ(Projects.count(), 2);
        EXPECT_EQ(Projects[2].Name.get(), c.project2);
        EXPECT_EQ(Projects[2].Folder.get(), Documents() + c.project2);
        // Rule 3 saves into the first project, which lies in the application-data folder.
        EXPECT_EQ(GetProjectFolder(Rules[3].Folder.get()),
                  GetSpecialFolder(Csidl::AppData) + QLatin1Char('/') + Projects[1].Name.get() +
                      QLatin1Char('/'));
        ASSERT_EQ(WatchFolders.count(), 1);
        EXPECT_EQ(WatchFolders[1].Active, vbTrue);
        EXPECT_EQ(WatchFolders[1].Path.get(), u"Maildir|Inbox"_s);
        EXPECT_EQ(ProtoEntries.count(), 0);
        EXPECT_EQ(BlockedFormats.count(), 51);
        // The samples stay in memory until the user changes something.
        EXPECT_FALSE(Rules.changed || Projects.changed || WatchFolders.changed ||
                     ProtoEntries.changed || BlockedFormats.changed);
        SaveData();
        EXPECT_EQ(FolderEntries(GetDataFolder()), QStringList{u"QWKStowaway.ble"_s});
    }
}

TEST_F(DataFiles, AnUnreachableInboxBeepsWarnsAndGivesAnInactiveRecord) {
    const struct {
        uint8_t lang;
        const char* box;
        const char* name;
        const char* path;
    } cases[] = {
        {0, "LoadData: Zugriff auf Posteingang nicht möglich!\n\nstore offline",
         "Posteingang - Fehler!", "Kein Zugriff möglich: store offline"},
        {1, "LadData: Can't access inbox!\n\nstore offline", "Inbox - Error!",
         "Access denied: store offline"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(int(c.lang));
        TestEnv::resetAll();
        ScriptedUserInteraction ui;
        SetUserInteraction(&ui);
        CurrLang = c.lang;
        LoadData([] {
            InboxInfo info;
            info.errorDescription = u"store offline"_s;
            return info;
        });
        SetUserInteraction(nullptr);
        EXPECT_EQ(ui.beeps(), 1);
        ASSERT_EQ(ui.questions().size(), 1u);
        EXPECT_EQ(ui.questions()[0].prompt, QString::fromUtf8(c.box));
        EXPECT_EQ(ui.questions()[0].icon, int(MsgIcon::Exclamation));
        EXPECT_EQ(ui.questions()[0].title, gAppCaption);
        ASSERT_EQ(WatchFolders.count(), 1);
        const udtWatchFolder& w = WatchFolders[1];
        EXPECT_EQ(w.Active, vbFalse);
        EXPECT_EQ(w.Name.get(), QString::fromUtf8(c.name));
        EXPECT_EQ(w.Path.get(), QString::fromUtf8(c.path));
        EXPECT_EQ(w.EntryID.raw(), QString(250, QLatin1Char(' ')));
        EXPECT_EQ(w.StoreID.raw(), QString(250, QLatin1Char(' ')));
    }
}

TEST_F(DataFiles, ExistingFilesAreReadAndCountsFollowTheirLength) {
    PutFile(Path(".rls"), QByteArray());                  // emptied by the user: no samples
    PutFile(Path(".prt"), QByteArray(1313 * 3 + 7, 'x')); // an incomplete tail is dropped
    PutFile(Path(".prj"), Record(350, {{0, Padded("Alpha", 100)}}) + Record(350, {}));
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
    EXPECT_EQ(FileBytes(Path(".prt")), QByteArray(1313 * 3, 'x'));
}

TEST_F(DataFiles, LoadAndSaveKeepEveryByteOfARule) {
    // Every byte value, the unassigned code points of Windows-1252 and the reserved area included.
    QByteArray rule(1025, '\0');
    for (int i = 0; i < rule.size(); ++i)
        rule[i] = static_cast<char>((i * 7 + 3) % 256);
    const QByteArray fresh = EncodeRule(udtRule{});
    PutFile(Path(".rls"), rule + fresh);

    LoadData(GoodInbox);
    ASSERT_EQ(Rules.count(), 2);
    EXPECT_EQ(Rules[2].Reserved.raw(), QString(49, QChar(0)));
    Rules.changed = true;
    SaveData();
    EXPECT_EQ(FileBytes(Path(".rls")), rule + fresh);
    EXPECT_FALSE(Rules.changed);
}

TEST_F(DataFiles, DeletedBlockedFormatsComeBackWholeAsStored) {
    PutFile(Path(".ble"),
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
    const QByteArray file = FileBytes(Path(".ble"));
    ASSERT_EQ(file.size(), 51 * 37);
    EXPECT_EQ(
        file.mid(18 * 37, 37),
        Record(37, {{0, "JS "}, {3, Padded("JScript-Datei", 30)}, {33, Le16(-1)}, {35, Le16(-1)}}));
    EXPECT_EQ(file.mid(17 * 37 + 3, 30), QByteArray("Internet Communication Setting"));
    EXPECT_EQ(file.mid(33 * 37 + 3, 30), QByteArray("Photo CD-/MS Visual Test-Scrip"));
    EXPECT_TRUE(IsFormatBlocked(u"JS"_s));

    const udtBlockedFormat user = AddBlockedFormat(u"docm"_s, u"M"_s, false);
    EXPECT_EQ(user.Extension.raw(), u"DOC"_s);
    EXPECT_EQ(user.System, vbFalse);
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
    PutFile(Path(".prj"), Record(350, {{0, Padded("Alt", 100)}}));
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
        PutFile(blocker, "x");
        qputenv("XDG_DATA_HOME", QFile::encodeName(blocker + u"/share"_s));
        SaveData();
        qputenv("XDG_DATA_HOME", saved);
        EXPECT_EQ(FileBytes(blocker), QByteArray("x"));
    }
    EXPECT_TRUE(Projects.changed);
    EXPECT_EQ(FileBytes(Path(".prj")), Record(350, {{0, Padded("Alt", 100)}}));
    EXPECT_EQ(Leftovers(folder), QStringList());
}

TEST(ReplaceFileAtomically, ReplacesContentAndModeAndNamesTheFailure) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"f"_s);
    PutFile(path, "old");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    ASSERT_TRUE(ReplaceFileAtomically(path, "new"));
    EXPECT_EQ(FileBytes(path), QByteArray("new"));
    EXPECT_FALSE(QFileInfo(path).permissions() & (QFile::ReadGroup | QFile::ReadOther));

    QString why;
    EXPECT_FALSE(ReplaceFileAtomically(dir.filePath(u"missing/f"_s), "x", &why));
    EXPECT_FALSE(why.isEmpty());
    EXPECT_EQ(FolderEntries(dir.path()), QStringList{u"f"_s});
}
