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

// Every known key with its default, in the order the store documents them ("" where a key has
// no default).
struct SettingInfo {
    QString key;
    QString defaultValue;
    bool hasDefault = true;
};
const QList<SettingInfo>& KnownSettings();

// The file behind the store.
QString SettingsFilePath();
