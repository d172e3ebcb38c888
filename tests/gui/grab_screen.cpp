// Saves what an X display shows, cut to the part that is not the black root window: the
// screenshots of the README are taken with it under Xvfb (scripts/screenshots).
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTextStream>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "usage: stowaway_grab_screen OUT.png\n";
        return 2;
    }
    const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    QRect used;
    for (int y = 0; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x)
            if ((screen.pixel(x, y) & 0xffffff) != 0) used |= QRect(x, y, 1, 1);
    if (used.isEmpty()) {
        QTextStream(stderr) << "stowaway_grab_screen: the screen is empty\n";
        return 1;
    }
    return screen.copy(used).save(QString::fromLocal8Bit(argv[1])) ? 0 : 1;
}
