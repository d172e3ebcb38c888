#pragma once
// Sounds, the desktop's handlers, and the "not available" box.
#include <QString>

// A wave file's path or a name of the sound theme ("SystemAsterisk"); never waits.
bool PlaySystemSound(const QString& sound);
// Opens a document, folder or address with its registered program; on failure a beep and
// "Client konnte nicht gestartet werden..." (German only) with what was tried and why it failed.
void OpenWithShell(const QString& target);
// That box's text: the fixed first line, the target, and `why` (a reason in the user's language).
QString OpenFailureText(const QString& target, const QString& why);
// Beep and "Funktion noch nicht freigegeben..." / "Function not available yet...".
void ShowNotAvailable();
