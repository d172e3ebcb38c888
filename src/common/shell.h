#pragma once
// Sounds, the desktop's handlers, and the "not available" box.
#include <QString>

// A wave file's path or a name of the sound theme ("SystemAsterisk"); never waits.
bool PlaySystemSound(const QString& sound);
// Opens a document, folder or address with its registered program; on failure a beep and
// "Client konnte nicht gestartet werden..." (German only).
void OpenWithShell(const QString& target);
// Beep and "Funktion noch nicht freigegeben..." / "Function not available yet...".
void ShowNotAvailable();
