// `stowaway-gui`: the desktop program.
#include "dialogs/gui_app.h"
#include "host/maildir/open_maildir.h"

#include <QApplication>
#include <QTextStream>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("stowaway-gui"));
    QGuiApplication::setDesktopFileName(QStringLiteral("stowaway-gui"));
    QStringList args = QCoreApplication::arguments();
    args.removeFirst();
    GuiOptions options;
    QString error;
    if (!ParseGuiArguments(args, options, error)) {
        QTextStream(stderr) << error << '\n';
        return 2;
    }
    StowawayGuiApp gui(options, OpenMaildirStore);
    // One owner per data folder: the owner's acquire goes here, before the start; a running
    // owner's "show-options" request calls gui.showOptions().
    gui.start();
    return gui.exec();
}
