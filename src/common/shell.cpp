#include "common/shell.h"

#include "common/exec_prog.h"
#include "common/folders.h"
#include "common/lang.h"
#include "ui/user_interaction.h"

bool PlaySystemSound(const QString& sound) {
    return ui().playSound(sound);
}

void OpenWithShell(const QString& target) {
    clsExecProg exec;
    exec.setProgName(QString());
    exec.setProgParas(target);
    exec.setWinMode(3);
    exec.ExecProg();
    ui().pumpEvents();
    if (exec.EPError()) {
        ui().beep();
        ui().messageBox(OpenFailureText(target, ui().openFailure()), MsgButtons::OK,
                        MsgIcon::Information, QStringLiteral("!!! Problem !!!"));
    }
}

QString OpenFailureText(const QString& target, const QString& why) {
    return QStringLiteral("Client konnte nicht gestartet werden...\n\n") +
           LangText(QStringLiteral("Versucht: mit dem Programm des Desktops öffnen (xdg-open): "),
                    QStringLiteral("Tried: open with the desktop's program (xdg-open): ")) +
           target + QLatin1Char('\n') +
           LangText(QStringLiteral("Grund: "), QStringLiteral("Reason: ")) +
           (why.isEmpty() ? LangText(QStringLiteral("der Desktop hat keinen Grund genannt"),
                                     QStringLiteral("the desktop gave no reason"))
                          : why);
}

void ShowNotAvailable() {
    ui().beep();
    ui().messageBox(LangText(QStringLiteral("Funktion noch nicht freigegeben..."),
                             QStringLiteral("Function not available yet...")),
                    MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}
