#pragma once
// The user's special folders, the data folder, and the host's name and version.
#include <QString>

// Special folder numbers, with their classic values.
namespace Csidl {
constexpr int Personal = 5;      // documents
constexpr int AppData = 26;      // per-user application data
constexpr int ProgramFiles = 38; // installed programs
} // namespace Csidl

extern QString gAppCaption;   // "Quillworks Stowaway v2.50": title of every box
extern QString gAppName;      // "Quillworks Stowaway"
extern QString gAppShortName; // "Stowaway"

// Sets the three caption globals.
void InitAppCaptions();

// The folder without a trailing separator; empty if unknown.
QString GetSpecialFolder(int csidl);
// Creates every level of the path; every failure is ignored and the result is always true.
bool MakePath(const QString& path);
// The per-user data folder with its trailing separator; created at every call.
QString GetDataFolder();

// "Outlook", "Word", ... by the host's name; "Office" when none matches.
QString GetHostName(const QString& hostAppName);
QString GetHostName();

// The name the host application reports, and its version text.
QString HostAppName();
QString HostAppVersion();
