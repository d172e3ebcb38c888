// The settings store on its real file.
#include "common/lang.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

class Settings : public FreshState {};

namespace {
void WriteStore(const QByteArray& text) {
    QDir().mkpath(QFileInfo(SettingsFilePath()).path());
    PutFile(SettingsFilePath(), text);
}

// Globals far from their start values, so a reader that skips one shows.
void SpoilGlobals() {
    CurrLang = 7;
    DoProto = true;
    SWActive = true;
    SWTest = false;
    Notify = 9;
    NotifyTime = 99;
    NotifySound = false;
    SoundName = u"x"_s;
}

void ExpectStartValues() {
    EXPECT_EQ(CurrLang, 1); // English: the tests run in the C locale
    EXPECT_FALSE(DoProto);
    EXPECT_FALSE(SWActive);
    EXPECT_TRUE(SWTest);
    EXPECT_EQ(Notify, 1);
    EXPECT_EQ(NotifyTime, 5);
    EXPECT_TRUE(NotifySound);
    EXPECT_EQ(SoundName, u"Moog 1"_s);
}
} // namespace

TEST_F(Settings, AnEmptyStoreGivesTheDefaults) {
    SpoilGlobals();
    ReadSettingsIntoGlobals();
    ExpectStartValues();
    EXPECT_EQ(SettingsFilePath(), TestEnv::home() + u"/.config/Quillworks/Quillworks.conf"_s);
}

TEST_F(Settings, AGarbageFileGivesTheDefaultsAndIsSetAsideAtTheNextWrite) {
    QByteArray garbage;
    for (int i = 0; i < 4096; ++i)
        garbage.append(static_cast<char>((i * 131 + 17) % 256));
    WriteStore("[OlStowaway]\nSWActive=1\nCurrLang=1\n" + garbage);
    SpoilGlobals();
    ReadSettingsIntoGlobals();
    ExpectStartValues();

    SaveSetting(u"SoundName"_s, u"Glocke"_s);
    EXPECT_EQ(GetSetting(u"SoundName"_s, QString()), u"Glocke"_s);
    EXPECT_TRUE(FileBytes(SettingsFilePath() + u".damaged"_s).endsWith(garbage));
    EXPECT_EQ(FileBytes(SettingsFilePath()).trimmed(),
              QByteArray("[OlStowaway]\nSoundName=Glocke"));
    EXPECT_TRUE(FileBytes(LogFilePath()).contains("! Settings: "));
}

TEST_F(Settings, YesNoIsOnlyOneAndNumbersAreLeading) {
    struct Case {
        const char* key;
        const char* stored;
        long long number;
        bool yes;
    } cases[] = {
        {"SWActive", "-1", -1, false}, {"SWActive", "1", 1, true},
        {"DoProto", "yes", 0, false},  {"NotifyTime", "12abc", 12, false},
        {"Notify", " 3", 3, false},    {"CurrLang", "x1", 0, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.key) + "=" + c.stored);
        SaveSetting(QLatin1String(c.key), QLatin1String(c.stored));
        EXPECT_EQ(GetBoolSetting(QLatin1String(c.key), u"1"_s), c.yes);
        EXPECT_EQ(GetNumberSetting(QLatin1String(c.key), u"5"_s), c.number);
    }
    SaveSetting(u"NotifyTime"_s, u"70000"_s); // too big for 16 bits
    SaveSetting(u"CurrLang"_s, u"1"_s);
    NotifyTime = 8;
    ReadSettingsIntoGlobals();
    EXPECT_EQ(NotifyTime, 8);
    EXPECT_EQ(CurrLang, 1);
    EXPECT_FALSE(DoProto);
}

TEST_F(Settings, ValuesAreTextInTheirOwnApplicationAndSection) {
    SaveSetting(u"LastPath"_s, u"/home/u/A, B/Größe"_s);
    SaveSetting(u"Other"_s, u"Sect"_s, u"LastPath"_s, u"o"_s);
    EXPECT_EQ(GetSetting(u"LastPath"_s, QString()), u"/home/u/A, B/Größe"_s);
    EXPECT_EQ(GetSetting(u"Other"_s, u"Sect"_s, u"LastPath"_s, QString()), u"o"_s);
    EXPECT_EQ(GetSetting(u"Other"_s, u"Else"_s, u"LastPath"_s, u"d"_s), u"d"_s);
    EXPECT_TRUE(FileBytes(SettingsFilePath()).contains("[OlStowaway]"));
    EXPECT_TRUE(FileBytes(TestEnv::home() + u"/.config/Other/Other.conf"_s).contains("[Sect]"));

    // A hand-written value with a comma is still one text.
    WriteStore("[OlStowaway]\nSoundName=Moog 1, loud\n");
    EXPECT_EQ(GetSetting(u"SoundName"_s, QString()), u"Moog 1, loud"_s);
}

TEST_F(Settings, AnUnwritableStoreIsIgnored) {
    // A regular file where the store's folder belongs fails for every user.
    PutFile(TestEnv::home() + u"/.config"_s, "not a folder");
    SaveSetting(u"SWActive"_s, u"1"_s);
    EXPECT_FALSE(GetBoolSetting(u"SWActive"_s, u"0"_s));
}

TEST_F(Settings, AnAppliedValueReachesItsMirrorAtOnceAndABadOneChangesNothing) {
    struct Row {
        const char* key;
        const char* value;
        bool accepted;
    } rows[] = {
        {"SWActive", "1", true},           {"swtest", "0", true},
        {"NotifyTime", "7", true},         {"CurrLang", "0", true},
        {"PaceSeconds", "0.25", true},     {"SoundName", "Bell", true},
        {"SWActive", "yes", false},        {"Notify", "3", false},
        {"NotifyTime", "0", false},        {"PaceSeconds", "-1", false},
        {"CurrLang", "7", false},          {"Unknown", "1", false},
        {"ImapConnections", "1", true},    {"ImapConnections", "51", false},
        {"ImapConnections", "2.5", false}, {"ImapPollSeconds", "5", true},
        {"ImapPollSeconds", "0", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ApplySetting(QLatin1String(row.key), QLatin1String(row.value)).isEmpty(),
                  row.accepted)
            << row.key << '=' << row.value;
    EXPECT_TRUE(SWActive);
    EXPECT_FALSE(SWTest);
    EXPECT_EQ(NotifyTime, 7);
    EXPECT_EQ(Notify, 1);
    EXPECT_EQ(CurrLang, 0);
    EXPECT_TRUE(LangChanged);
    EXPECT_EQ(SoundName, u"Bell"_s);
    EXPECT_EQ(GetSetting(u"PaceSeconds"_s, {}), u"0.25"_s);
    EXPECT_EQ(GetSetting(u"Unknown"_s, u"none"_s), u"none"_s);
}
