// The Qt side of the user-interaction seam: the plain message box's answers, the file filter.
#include "gui_test.h"

#include "dialogs/qt_interaction.h"

#include <QAbstractButton>
#include <QMessageBox>

Q_DECLARE_METATYPE(MsgButtons)
Q_DECLARE_METATYPE(MsgAnswer)

class TestQtInteraction : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void messageBoxAnswer_data() {
        QTest::addColumn<MsgButtons>("buttons");
        QTest::addColumn<QMessageBox::StandardButton>("press"); // NoButton: Escape
        QTest::addColumn<MsgAnswer>("expected");
        QTest::newRow("yes") << MsgButtons::YesNo << QMessageBox::Yes << MsgAnswer::Yes;
        QTest::newRow("no") << MsgButtons::YesNo << QMessageBox::No << MsgAnswer::No;
        QTest::newRow("escape on yes/no/cancel")
            << MsgButtons::YesNoCancel << QMessageBox::NoButton << MsgAnswer::Cancel;
        QTest::newRow("ignore") << MsgButtons::AbortRetryIgnore << QMessageBox::Ignore
                                << MsgAnswer::Ignore;
        QTest::newRow("ok alone") << MsgButtons::OK << QMessageBox::Ok << MsgAnswer::OK;
    }
    void messageBoxAnswer() {
        QFETCH(MsgButtons, buttons);
        QFETCH(QMessageBox::StandardButton, press);
        QFETCH(MsgAnswer, expected);
        QtUserInteraction user;
        QString title;
        WhenShown<QMessageBox>([&](QMessageBox* box) {
            title = box->windowTitle();
            if (press == QMessageBox::NoButton)
                QTest::keyClick(box, Qt::Key_Escape);
            else
                box->button(press)->click();
        });
        QCOMPARE(user.messageBox(QStringLiteral("Prompt"), buttons, MsgIcon::Question,
                                 QStringLiteral("Quillworks Stowaway v2.50")),
                 expected);
        QCOMPARE(title, QStringLiteral("Quillworks Stowaway v2.50"));
    }

    void fileFilter_data() {
        QTest::addColumn<QString>("classic");
        QTest::addColumn<QString>("qt");
        QTest::newRow("described pattern") << "PDF-Dateien (*.pdf)|*.pdf"
                                           << "PDF-Dateien (*.pdf)";
        QTest::newRow("bare description") << "Logs|*.txt;*.log"
                                          << "Logs (*.txt *.log)";
        QTest::newRow("two filters") << "A (*.a)|*.a|All|*.*"
                                     << "A (*.a);;All (*.*)";
        QTest::newRow("dangling description") << "A (*.a)|*.a|B"
                                              << "A (*.a)";
    }
    void fileFilter() {
        QFETCH(QString, classic);
        QFETCH(QString, qt);
        QCOMPARE(QtFileFilter(classic), qt);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestQtInteraction)
#include "test_qt_interaction.moc"
