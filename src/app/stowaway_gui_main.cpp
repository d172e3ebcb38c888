// `stowaway-gui`: the desktop program.
#include "addin/data_folder_owner.h"
#include "common/folders.h"
#include "dialogs/gui_app.h"
#include "host/stores/open_store.h"

#include <QApplication>
#include <QTextStream>

int main(int argc, char** argv) {
    // The arguments first, so that --help and a mistake need no display.
    QStringList args;
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    GuiOptions options;
    QString error;
    if (!ParseGuiArguments(args, options, error)) {
        QTextStream(stderr) << error;
        return 2;
    }
    if (options.help) {
        QTextStream(stdout) << GuiUsage();
        return 0;
    }
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("stowaway-gui"));
    QGuiApplication::setDesktopFileName(QStringLiteral("stowaway-gui"));
    options.maildir = ChooseStore(options.maildir);
    if (!options.passwordCommand.isNull()) SetPasswordCommand(options.passwordCommand);
    StowawayGuiApp gui(options, OpenStore);
    // One owner per data folder: a second start shows the first one's dialog.
    InitAppCaptions();
    DataFolderOwner owner(GetDataFolder());
    int exitCode = 0;
    if (!gui.claimDataFolder(owner, exitCode)) return exitCode;
    gui.start();
    return gui.exec(&owner);
}
