// The popup drop-down: the marks, the numbers returned, the place under the anchor.
#include "gui_test.h"

#include "dialogs/common/popup_dropdown.h"

#include <QMenu>
#include <QPushButton>

class TestPopupDropdown : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void chosen_data() {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("clicks"); // entry texts as shown; "" presses Escape
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("ticked");
        QTest::newRow("plain") << QStringList{"a", "b", "c"} << QStringList{"b"} << 2 << "";
        QTest::newRow("separator has no number")
            << QStringList{"a", "=", "b"} << QStringList{"b"} << 2 << "";
        QTest::newRow("ticked entry")
            << QStringList{"+Alle Ordner", "Ordner"} << QStringList{"Ordner"} << 2 << "Alle Ordner";
        QTest::newRow("new column") << QStringList{"a", ">b"} << QStringList{"b"} << 2 << "";
        QTest::newRow("greyed can't be chosen")
            << QStringList{"~a", "b"} << QStringList{"a", ""} << 0 << "";
        QTest::newRow("greyed keeps its number")
            << QStringList{"~a", "b"} << QStringList{"b"} << 2 << "";
        QTest::newRow("cancelled") << QStringList{"a"} << QStringList{""} << 0 << "";
    }
    void chosen() {
        QFETCH(QStringList, items);
        QFETCH(QStringList, clicks);
        QFETCH(int, expected);
        QFETCH(QString, ticked);
        QWidget window;
        auto* anchor = new QPushButton(QStringLiteral("v"), &window);
        anchor->move(40, 30);
        window.resize(300, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QPoint at;
        QString tickedSeen;
        WhenShown<QMenu>(
            [&](QMenu* menu) {
                at = menu->pos();
                for (QAction* a : menu->actions())
                    if (a->isChecked()) tickedSeen = a->text();
                for (const QString& text : clicks) {
                    if (text.isEmpty()) {
                        QTest::keyClick(menu, Qt::Key_Escape);
                        continue;
                    }
                    for (QAction* a : menu->actions())
                        if (a->text() == text)
                            QTest::mouseClick(menu, Qt::LeftButton, {},
                                              menu->actionGeometry(a).center());
                }
            },
            true);
        QCOMPARE(ShowPopupDropdown(items, {}, anchor), expected);
        QCOMPARE(tickedSeen, ticked);
        QCOMPARE(at, anchor->mapToGlobal(anchor->rect().bottomLeft()));
    }

    void emptyShowsNothing() { QCOMPARE(ShowPopupDropdown({}), 0); }
};

STOWAWAY_GUI_TEST_MAIN(TestPopupDropdown)
#include "test_popup_dropdown.moc"
