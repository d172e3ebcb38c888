// The data of a first start: sample rules and projects, the inbox record, the blocked formats.
#include "common/folders.h"
#include "common/lang.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

using namespace Qt::StringLiterals;

class Defaults : public FreshState {};

namespace {
InboxInfo FailingInbox() {
    InboxInfo info;
    info.errorDescription = u"store offline"_s;
    return info;
}
QString Documents() {
    return GetSpecialFolder(Csidl::Personal) + QLatin1Char('/');
}
} // namespace

TEST_F(Defaults, SamplesAreMadeInTheLanguageOfTheFirstStartAndKeepIt) {
    const struct {
        uint8_t lang;
        QStringList names;
        QString attachments;
        QString project2;
    } cases[] = {
        {0,
         {"Testregel #1", "Testregel #2", "Testregel #3", "<Standardregel>"},
         "Outlook-Anhänge",
         "Beispielwerk GmbH"},
        {1,
         {"Test rule #1", "Test rule #2", "Test rule #3", "<Default Rule>"},
         "Outlook Attachments",
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
    }
}

TEST_F(Defaults, AnUnreachableInboxBeepsWarnsAndGivesAnInactiveRecord) {
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
        RecordingUi ui;
        CurrLang = c.lang;
        LoadData(FailingInbox);
        EXPECT_EQ(ui.beeps, 1);
        ASSERT_EQ(ui.boxes.size(), 1u);
        EXPECT_EQ(ui.boxes[0].prompt, QString::fromUtf8(c.box));
        EXPECT_EQ(ui.boxes[0].icon, MsgIcon::Exclamation);
        EXPECT_EQ(ui.boxes[0].title, gAppCaption);
        ASSERT_EQ(WatchFolders.count(), 1);
        const udtWatchFolder& w = WatchFolders[1];
        EXPECT_EQ(w.Active, vbFalse);
        EXPECT_EQ(w.Name.get(), QString::fromUtf8(c.name));
        EXPECT_EQ(w.Path.get(), QString::fromUtf8(c.path));
        EXPECT_EQ(w.EntryID.raw(), QString(250, QLatin1Char(' ')));
        EXPECT_EQ(w.StoreID.raw(), QString(250, QLatin1Char(' ')));
    }
}

TEST_F(Defaults, BlockedFormatsAsStored) {
    LoadData(GoodInbox);
    const QByteArray file = ReadAll(DataFilePath(u".ble"_s));
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
