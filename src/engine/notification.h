#pragma once
// What the engine tells the user: the notification after a rule, the progress bars of a run,
// and the texts of the last action.
#include <QString>
#include <QStringList>
#include <cstdint>

class StatusSurface;

// After a rule: a message box, a tray balloon or a sound, by the settings. `savedList` holds
// "name in the mail|full path" elements. The address is not used.
void NotifyUser(const QStringList& savedList, const QString& senderName,
                const QString& senderAddress);
// Opens what a notification points at: a folder (ending in "/") in the file manager, a file
// with its program unless its format is blocked. The balloon's click does the same.
void OpenNotificationTarget(const QString& target);
// The notification sound for `soundName`, in the program's "Sounds" folder.
QString SoundFilePath(const QString& soundName);
// The folder of the notification sounds, with a trailing separator.
QString SoundsFolder();

// Progress of a run: (0, 0) starts, (-1, -1) hides, otherwise done of total.
void ShowProgress(int32_t done, int32_t total, StatusSurface* form);
// The thin bar of the inner walk; nothing without a form.
void ShowSubProgress(int32_t done, int32_t total, StatusSurface* form);

// The texts of gLastAction.
QString LastActionStart();
QString LastActionNewMail(const QString& folderName);
QString LastActionNewPost(const QString& folderName);
QString LastActionTestRun(const QString& folderName);
QString LastActionRealRun(const QString& folderName);
QString LastActionFlagsReset(const QString& folderName);
