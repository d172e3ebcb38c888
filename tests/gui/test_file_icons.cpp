// GetFileIcon: an icon for any name, chosen by the name alone.
#include "gui_test.h"

#include "common/file_icons.h"
#include "dialogs/icons.h"

#include <QFile>

class TestFileIcons : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void anyNameGivesAnIcon_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("known extension, no such file") << "/nowhere/Rechnung.pdf";
        QTest::newRow("only a pattern") << "*.zip";
        QTest::newRow("no extension") << "README";
        QTest::newRow("unknown extension") << "data.qqqzz";
        QTest::newRow("empty") << "";
    }
    void anyNameGivesAnIcon() {
        QFETCH(QString, name);
        QVERIFY(!GetFileIcon(257, name).pixmap(16, 16).isNull());
    }

    // An existing file gets the icon of its name, not of its content.
    void existingFileByNameAlone() {
        SetUpIconTheme();
        auto image = [](const QString& name) {
            return GetFileIcon(257, name).pixmap(16, 16).toImage();
        };
        QVERIFY(image(QStringLiteral("a.png")) != image(QStringLiteral("a.txt")));
        const QString path = TestEnv::home() + QStringLiteral("/looks-like.png");
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("plain text, not a picture");
        f.close();
        QCOMPARE(image(path), image(QStringLiteral("other.png")));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestFileIcons)
#include "test_file_icons.moc"
