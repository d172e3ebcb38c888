#include "engine/notification.h"

#include "common/dates.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/shell.h"
#include "common/wait.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "ui/user_interaction.h"

#include <QCoreApplication>
#include <QDir>

#include <cmath>

namespace {

void PlayNotifySound() {
    ui().playSound(SoundFilePath(SoundName));
}

QString PresentDateAndTime() {
    const double now = OleNow();
    return FormatDate(now, QStringLiteral("Long Date")) + QStringLiteral(", ") +
           FormatDate(now, QStringLiteral("h:nn"));
}

struct NotifyTexts {
    QString title;
    QString text;
    QString target;
};

NotifyTexts ComposeTexts(const QStringList& savedList, const QString& senderName) {
    const QString path = savedList.front().section(QLatin1Char('|'), 1);
    const QString folder = StripBackslash(GetFolderPart(path));
    NotifyTexts t;
    if (savedList.size() < 2) {
        t.target = path;
        const QString file = GetFileNamePart(path);
        t.title = gAppCaption + LangText(QStringLiteral(" · Neuer Anhang:"),
                                         QStringLiteral(" · New Attachment:"));
        t.text = LangText(QStringLiteral("Es ist ein Anhang '") + file + QStringLiteral("' von '") +
                              senderName + QStringLiteral("' eingegangen und in '") + folder +
                              QStringLiteral("' gespeichert worden..."),
                          QStringLiteral("A new attachment '") + file + QStringLiteral("' from '") +
                              senderName + QStringLiteral("' arrived and was saved to '") + folder +
                              QStringLiteral("..."));
    } else {
        t.target = AddBackslash(folder);
        const QString n = QString::number(savedList.size());
        t.title = gAppCaption + LangText(QStringLiteral(" · Neue Anhänge:"),
                                         QStringLiteral(" · New Attachments:"));
        t.text = LangText(QStringLiteral("Es sind ") + n + QStringLiteral(" neue Anhänge von '") +
                              senderName + QStringLiteral("' eingegangen und in '") + folder +
                              QStringLiteral("' gespeichert worden..."),
                          n + QStringLiteral(" new attachments from '") + senderName +
                              QStringLiteral("' arrived and were saved to '") + folder +
                              QStringLiteral("..."));
    }
    return t;
}

// The width share of a bar: done of total, nothing to show for a total of 0.
bool BarShare(int32_t done, int32_t total, double& share) {
    if (total == 0) return false;
    share = static_cast<double>(done) / total;
    return true;
}

} // namespace

QString SoundsFolder() {
    return QDir::cleanPath(QCoreApplication::applicationDirPath() +
                           QStringLiteral("/../share/stowaway/Sounds")) +
           QLatin1Char('/');
}

QString SoundFilePath(const QString& soundName) {
    return SoundsFolder() + soundName + QStringLiteral(".wav");
}

void OpenNotificationTarget(const QString& target) {
    const QString t = target.trimmed();
    if (t.isEmpty()) return;
    if (t.endsWith(QLatin1Char('/'))) {
        ui().openWithShell(t);
        return;
    }
    if (IsFormatBlocked(GetExtensionUpper(t))) {
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Dateien dieses Typs sind blockiert und können "
                                                "nicht ausgeführt oder geöffnet werden!"),
                                 QStringLiteral("Files of this type are blocked and can't be "
                                                "executed or opened!")),
                        MsgButtons::OK, MsgIcon::Stop, gAppCaption);
        return;
    }
    OpenWithShell(t);
}

void NotifyUser(const QStringList& savedList, const QString& senderName,
                const QString& /*senderAddress*/) {
    if (Notify == 0 && !NotifySound) return;
    NotifyTexts texts;
    if (Notify > 0) {
        if (savedList.isEmpty()) return;
        texts = ComposeTexts(savedList, senderName);
    }

    if (Notify == 1) {
        if (NotifySound)
            PlayNotifySound();
        else
            ui().beep();
        MsgBoxExRequest request;
        request.prompt = texts.text;
        request.buttons = {QStringLiteral("Ok"),
                           LangText(QStringLiteral("Öffnen"), QStringLiteral("Open"))};
        request.title = texts.title;
        request.icon = static_cast<int>(MsgIcon::Information);
        if (ui().msgBoxEx(request) == 2) OpenNotificationTarget(texts.target);
    } else if (Notify == 2) {
        ui().setBusy(true);
        TrayNotification tray;
        tray.target = texts.target;
        tray.menuCaption = QStringLiteral("Info...");
        tray.menuKey = QStringLiteral("info");
        tray.toolTip = gAppCaption;
        tray.text = texts.text;
        tray.title = texts.title;
        tray.icon = 1;
        tray.timeoutMs = 30000;
        tray.seconds = NotifyTime;
        if (NotifySound) PlayNotifySound();
        ui().showTrayNotification(tray);
        WaitSeconds(static_cast<float>(NotifyTime));
        ui().hideTrayNotification();
        ui().setBusy(false);
    } else if (NotifySound) {
        PlayNotifySound();
    }
}

void ShowProgress(int32_t done, int32_t total, StatusSurface* form) {
    if (form) {
        double share = 0;
        if (done == 0 && total == 0)
            form->setMainProgress(true, QString(), 0.0);
        else if (done == -1 && total == -1)
            form->setMainProgress(false, QString(), 0.0);
        else if (BarShare(done, total, share))
            form->setMainProgress(
                true,
                QString::number(static_cast<long long>(std::floor(100.0 / total * done))) +
                    QLatin1Char('%'),
                share);
    }
    ui().pumpEvents();
}

void ShowSubProgress(int32_t done, int32_t total, StatusSurface* form) {
    if (!form) return;
    double share = 0;
    if (done == 0 && total == 0)
        form->setSubProgress(true, 0.0);
    else if (done == -1 && total == -1)
        form->setSubProgress(false, 0.0);
    else if (BarShare(done, total, share))
        form->setSubProgress(true, share);
    ui().pumpEvents();
}

QString LastActionStart() {
    return LangText(QStringLiteral("Initialisierung..."), QStringLiteral("Initialize..."));
}

QString LastActionNewMail(const QString& folderName) {
    return LangText(QStringLiteral("Neue Nachricht(en) in '"), QStringLiteral("New mail(s) in '")) +
           folderName + QStringLiteral("'...");
}

QString LastActionNewPost(const QString& folderName) {
    return LangText(QStringLiteral("Neue(r) Post(s) in '"), QStringLiteral("New post(s) in '")) +
           folderName + QStringLiteral("'...");
}

QString LastActionTestRun(const QString& folderName) {
    return LangText(QStringLiteral("Testlauf für '"), QStringLiteral("Test run on '")) +
           folderName + QStringLiteral("', ") + PresentDateAndTime();
}

QString LastActionRealRun(const QString& folderName) {
    return LangText(QStringLiteral("Ausführung für '"), QStringLiteral("Processed on '")) +
           folderName + QStringLiteral("', ") + PresentDateAndTime();
}

QString LastActionFlagsReset(const QString& folderName) {
    return LangText(QStringLiteral("Bearbeitungsflags zurückgesetzt für '"),
                    QStringLiteral("Flags resetted for '")) +
           folderName + QStringLiteral("', ") + PresentDateAndTime();
}
