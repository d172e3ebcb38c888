#pragma once
// The per-user settings store: application "Quillworks", section "OlStowaway", text values.
#include <QString>
#include <QStringList>

inline constexpr const char* RegAppName = "Quillworks";
inline constexpr const char* RegAppSect = "OlStowaway";

QString GetSetting(const QString& app, const QString& section, const QString& key,
                   const QString& defaultValue);
void SaveSetting(const QString& app, const QString& section, const QString& key,
                 const QString& value);

// The same in this program's application and section.
QString GetSetting(const QString& key, const QString& defaultValue);
void SaveSetting(const QString& key, const QString& value);
// A yes/no setting: only the text "1" is yes.
bool GetBoolSetting(const QString& key, const QString& defaultValue);
// A number setting: the leading number of the text, 0 if there is none.
long long GetNumberSetting(const QString& key, const QString& defaultValue);

// Reads the settings that live in globals (CurrLang, DoProto, SWActive, SWTest, Notify,
// NotifyTime, NotifySound, SoundName).
void ReadSettingsIntoGlobals();

// What a key's value may be: the values the options dialog can write.
enum class SettingKind { Text, YesNo, Whole, Decimal, Store };

// Every known key with its default, in the order the store documents them ("" where a key has
// no default), and the values it accepts (a number from `min` to `max` for the numeric kinds).
struct SettingInfo {
    QString key;
    QString defaultValue;
    bool hasDefault = true;
    SettingKind kind = SettingKind::Text;
    double min = 0;
    double max = 0;
};
const QList<SettingInfo>& KnownSettings();
// The known key, its case ignored; null for an unknown key.
const SettingInfo* FindSetting(const QString& key);

// The language of a first start: "0" (German) for a German desktop locale, else "1".
QString DefaultCurrLang();

// Empty when `value` suits the key, else a sentence naming what the key accepts.
QString SettingValueProblem(const SettingInfo& info, const QString& value);
// Checks and saves a known setting, and updates the global that mirrors it at once (the
// command line and the options dialog both set values through here). Returns the problem,
// with nothing saved, or empty.
QString ApplySetting(const QString& key, const QString& value);

// The file behind the store.
QString SettingsFilePath();
