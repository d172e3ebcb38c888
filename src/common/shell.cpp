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
        ui().messageBox(QStringLiteral("Client konnte nicht gestartet werden..."), MsgButtons::OK,
                        MsgIcon::Information, QStringLiteral("!!! Problem !!!"));
    }
}

void ShowNotAvailable() {
    ui().beep();
    ui().messageBox(LangText(QStringLiteral("Funktion noch nicht freigegeben..."),
                             QStringLiteral("Function not available yet...")),
                    MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}
