// frmInpBoxEx: the text it returns for OK, Cancel and the close box.
#include "gui_test.h"

#include "dialogs/common/msgboxex.h"

#include <QLineEdit>
#include <QPushButton>

class TestInpBoxEx : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void answer_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("action");
        QTest::addColumn<QString>("expected");
        QTest::newRow("OK keeps the default") << QString() << "btn1"
                                              << "ZIP";
        QTest::newRow("typing replaces the selected default") << "mp3"
                                                              << "btn1"
                                                              << "mp3";
        QTest::newRow("cancel") << "mp3"
                                << "btn2"
                                << "";
        QTest::newRow("close box") << "mp3"
                                   << "close"
                                   << "";
    }
    void answer() {
        QFETCH(QString, typed);
        QFETCH(QString, action);
        QFETCH(QString, expected);
        InpBoxExRequest request;
        request.prompt = QStringLiteral("Extension?");
        request.defaultText = QStringLiteral("ZIP");
        WhenShown<frmInpBoxEx>([&](frmInpBoxEx* box) {
            auto* input = box->findChild<QLineEdit*>(QStringLiteral("txtInput"));
            if (!typed.isEmpty()) QTest::keyClicks(input, typed);
            if (action == QLatin1String("close"))
                box->close();
            else
                box->findChild<QPushButton*>(action)->click();
        });
        QCOMPARE(InpBoxEx(request), expected);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestInpBoxEx)
#include "test_inpboxex.moc"
