// frmMsgBoxEx: the buttons shown, and the number each way of closing returns.
#include "gui_test.h"

#include "dialogs/common/msgboxex.h"

#include <QCheckBox>
#include <QPushButton>

class TestMsgBoxEx : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void result_data() {
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<bool>("tick");
        QTest::addColumn<int>("cancelBtn");
        QTest::addColumn<QStringList>("actions");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("expected");
        const QStringList two{QStringLiteral("Ok"), QStringLiteral("Öffnen")};
        const QStringList three{QStringLiteral("A"), QStringLiteral("B"), QStringLiteral("C")};
        QTest::newRow("second of two") << two << false << -1 << QStringList{"btn2"} << "110" << 2;
        QTest::newRow("fourth caption never seen")
            << QStringList{"A", "B", "C", "D"} << false << -1 << QStringList{"btn3"} << "111" << 3;
        QTest::newRow("empty second keeps the numbers")
            << QStringList{"A", "", "C"} << false << -1 << QStringList{"btn3"} << "101" << 3;
        QTest::newRow("close box") << three << false << -1 << QStringList{"close"} << "111" << 99;
        QTest::newRow("ticked, third")
            << three << true << -1 << QStringList{"btn3"} << "111" << 259;
        QTest::newRow("ticked, close box")
            << three << true << -1 << QStringList{"close"} << "111" << 355;
        QTest::newRow("escape without cancel button does nothing")
            << three << false << -1 << QStringList{"escape", "btn1"} << "111" << 1;
        QTest::newRow("escape with cancel button 2")
            << three << false << 2 << QStringList{"escape"} << "111" << 2;
    }
    void result() {
        QFETCH(QStringList, buttons);
        QFETCH(bool, tick);
        QFETCH(int, cancelBtn);
        QFETCH(QStringList, actions);
        QFETCH(QString, shown);
        QFETCH(int, expected);
        MsgBoxExRequest request;
        request.prompt = QStringLiteral("Prompt");
        request.buttons = buttons;
        request.dontShow = tick;
        request.cancelBtn = cancelBtn;
        QString seen;
        WhenShown<frmMsgBoxEx>([&](frmMsgBoxEx* box) {
            for (int i = 1; i <= 3; ++i)
                seen += box->findChild<QPushButton*>(QStringLiteral("btn%1").arg(i))->isVisible()
                            ? QLatin1Char('1')
                            : QLatin1Char('0');
            if (tick) box->findChild<QCheckBox*>(QStringLiteral("cbDontShow"))->setChecked(true);
            for (const QString& action : actions) {
                if (action == QLatin1String("close"))
                    box->close();
                else if (action == QLatin1String("escape"))
                    QTest::keyClick(box, Qt::Key_Escape);
                else
                    box->findChild<QPushButton*>(action)->click();
            }
        });
        QCOMPARE(MsgBoxEx(request), expected);
        QCOMPARE(seen, shown);
    }

    void layout_data() {
        QTest::addColumn<bool>("dontShow");
        QTest::addColumn<QString>("help");
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("checkText");
        QTest::newRow("no help, German")
            << true << QString() << 0 << "Diese Meldung nicht mehr anzeigen";
        QTest::newRow("blank help, English")
            << true << "   " << 1 << "Don't show this message again";
        QTest::newRow("help text") << false << "Some help" << 0 << "";
    }
    void layout() {
        QFETCH(bool, dontShow);
        QFETCH(QString, help);
        QFETCH(int, language);
        QFETCH(QString, checkText);
        CurrLang = static_cast<uint8_t>(language);
        frmMsgBoxEx box;
        MsgBoxExRequest request;
        request.prompt = QStringLiteral("Prompt");
        request.buttons = {QStringLiteral("Ok")};
        request.dontShow = dontShow;
        request.helpText = help;
        request.title = QStringLiteral("Title");
        box.prepare(request);
        box.show();
        auto* cb = box.findChild<QCheckBox*>(QStringLiteral("cbDontShow"));
        QCOMPARE(cb->isVisible(), dontShow);
        if (dontShow) QCOMPARE(cb->text(), checkText);
        QCOMPARE(box.findChild<QPushButton*>(QStringLiteral("btnHelp"))->isVisible(),
                 !help.trimmed().isEmpty());
        QCOMPARE(box.windowTitle(), QStringLiteral("Title"));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestMsgBoxEx)
#include "test_msgboxex.moc"
