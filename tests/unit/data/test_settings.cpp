// The settings store on its real file.
#include "common/lang.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "support/test_env.h"
#include "unit/data/data_test_util.h"

#include <QFileInfo>

class Settings : public FreshState {};

namespace {
void WriteStore(const QByteArray& text) {
    QDir().mkpath(QFileInfo(SettingsFilePath()).path());
    WriteAll(SettingsFilePath(), text);
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
    SoundName = QStringLiteral("x");
}

void ExpectStartValues() {
    EXPECT_EQ(CurrLang, 0);
    EXPECT_FALSE(DoProto);
    EXPECT_FALSE(SWActive);
    EXPECT_TRUE(SWTest);
    EXPECT_EQ(Notify, 1);
    EXPECT_EQ(NotifyTime, 5);
    EXPECT_TRUE(NotifySound);
    EXPECT_EQ(SoundName, QStringLiteral("Moog 1"));
}
} // namespace

TEST_F(Settings, AnEmptyStoreGivesTheDefaults) {
    SpoilGlobals();
    ReadSettingsIntoGlobals();
    ExpectStartValues();
    EXPECT_EQ(SettingsFilePath(),
              TestEnv::home() + QStringLiteral("/.config/Quillworks/Quillworks.conf"));
}

TEST_F(Settings, AGarbageFileGivesTheDefaultsAndIsSetAsideAtTheNextWrite) {
    QByteArray garbage;
    for (int i = 0; i < 4096; ++i)
        garbage.append(static_cast<char>((i * 131 + 17) % 256));
    WriteStore("[OlStowaway]\nSWActive=1\nCurrLang=1\n" + garbage);
    SpoilGlobals();
    ReadSettingsIntoGlobals();
    ExpectStartValues();

    SaveSetting(QStringLiteral("SoundName"), QStringLiteral("Glocke"));
    EXPECT_EQ(GetSetting(QStringLiteral("SoundName"), QString()), QStringLiteral("Glocke"));
    EXPECT_TRUE(ReadAll(SettingsFilePath() + QStringLiteral(".damaged")).endsWith(garbage));
    EXPECT_EQ(ReadAll(SettingsFilePath()).trimmed(), QByteArray("[OlStowaway]\nSoundName=Glocke"));
    EXPECT_TRUE(ReadAll(LogFilePath()).contains("! Settings: "));
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
        EXPECT_EQ(GetBoolSetting(QLatin1String(c.key), QStringLiteral("1")), c.yes);
        EXPECT_EQ(GetNumberSetting(QLatin1String(c.key), QStringLiteral("5")), c.number);
    }
    SaveSetting(QStringLiteral("NotifyTime"), QStringLiteral("70000")); // too big for 16 bits
    SaveSetting(QStringLiteral("CurrLang"), QStringLiteral("1"));
    NotifyTime = 8;
    ReadSettingsIntoGlobals();
    EXPECT_EQ(NotifyTime, 8);
    EXPECT_EQ(CurrLang, 1);
    EXPECT_FALSE(DoProto);
}

TEST_F(Settings, ValuesAreTextInTheirOwnApplicationAndSection) {
    SaveSetting(QStringLiteral("LastPath"), QStringLiteral("/home/u/A, B/Größe"));
    SaveSetting(QStringLiteral("Other"), QStringLiteral("Sect"), QStringLiteral("LastPath"),
                QStringLiteral("o"));
    EXPECT_EQ(GetSetting(QStringLiteral("LastPath"), QString()),
              QStringLiteral("/home/u/A, B/Größe"));
    EXPECT_EQ(GetSetting(QStringLiteral("Other"), QStringLiteral("Sect"),
                         QStringLiteral("LastPath"), QString()),
              QStringLiteral("o"));
    EXPECT_EQ(GetSetting(QStringLiteral("Other"), QStringLiteral("Else"),
                         QStringLiteral("LastPath"), QStringLiteral("d")),
              QStringLiteral("d"));
    EXPECT_TRUE(ReadAll(SettingsFilePath()).contains("[OlStowaway]"));
    EXPECT_TRUE(
        ReadAll(TestEnv::home() + QStringLiteral("/.config/Other/Other.conf")).contains("[Sect]"));

    // A hand-written value with a comma is still one text.
    WriteStore("[OlStowaway]\nSoundName=Moog 1, loud\n");
    EXPECT_EQ(GetSetting(QStringLiteral("SoundName"), QString()), QStringLiteral("Moog 1, loud"));
}

TEST_F(Settings, AnUnwritableStoreIsIgnored) {
    // A regular file where the store's folder belongs fails for every user.
    WriteAll(TestEnv::home() + QStringLiteral("/.config"), "not a folder");
    SaveSetting(QStringLiteral("SWActive"), QStringLiteral("1"));
    EXPECT_FALSE(GetBoolSetting(QStringLiteral("SWActive"), QStringLiteral("0")));
}
