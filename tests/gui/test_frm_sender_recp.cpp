// frmSenderRecp: the term typed or taken from a contact file, its kind, OK and Cancel.
#include "gui_test.h"

#include "dialogs/forms/dlg_choose_adr.h"
#include "dialogs/forms/frm_sender_recp.h"

class TestFrmSenderRecp : public GuiTest {
    Q_OBJECT
  private:
    static QString writeCard(const QByteArray& text) {
        const QString path = TestEnv::home() + u"/export.vcf"_s;
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly)) return {};
        f.write(text);
        return path;
    }

  private slots:

    void okAndCancel_data() {
        QTest::addColumn<QString>("term");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("result");
        QTest::addColumn<bool>("stays");
        QTest::newRow("ok") << "Anna Berg"
                            << "btnOK"
                            << "Anna Berg" << false;
        QTest::newRow("ok with nothing stays") << ""
                                               << "btnOK"
                                               << "" << true;
        QTest::newRow("cancel with a term returns nothing") << "anna@berg.example"
                                                            << "btnCancel"
                                                            << "" << false;
    }
    void okAndCancel() {
        QFETCH(QString, term);
        QFETCH(QString, button);
        QFETCH(QString, result);
        QFETCH(bool, stays);
        frmSenderRecp form;
        form.show();
        form.txtInput->setText(term);
        Child<QPushButton>(&form, button)->click();
        QCOMPARE(form.Term, result);
        QCOMPARE(form.isVisible(), stays);
        QCOMPARE(m_user.beeps(), stays ? 1 : 0);
    }

    void contactFileWithCtrl_data() {
        QTest::addColumn<QByteArray>("card");
        QTest::addColumn<bool>("address");
        QTest::addColumn<QString>("taken");
        QTest::addColumn<QString>("box");
        const QByteArray two =
            "BEGIN:VCARD\r\nFN:Anna Berg\r\nEMAIL:anna@berg.example\r\nEND:VCARD\r\n"
            "BEGIN:VCARD\r\nFN:Carl Dorn\r\nEMAIL:carl@dorn.example\r\nEND:VCARD\r\n";
        QTest::newRow("two contacts: a note, and the first")
            << two << true << "anna@berg.example"
            << "Sie haben mehr als eine Adresse gewählt, es kann jedoch nur eine Adresse verwendet "
               "werden - die erste gewählte Adresse wird verwendet...";
        QTest::newRow("one contact by name")
            << QByteArray("BEGIN:VCARD\nFN:Eva Fink\nEMAIL:eva@fink.example\nEND:VCARD\n") << false
            << "Eva Fink"
            << "";
        QTest::newRow("no usable contact")
            << QByteArray("BEGIN:VCARD\nFN:Nur Telefon\nTEL:123\nEND:VCARD\n") << false << "vorher"
            << "Access denied...";
        QTest::newRow("cancelled says nothing") << QByteArray() << false << "vorher"
                                                << "";
    }
    void contactFileWithCtrl() {
        QFETCH(QByteArray, card);
        QFETCH(bool, address);
        QFETCH(QString, taken);
        QFETCH(QString, box);
        frmSenderRecp form;
        form.show();
        form.setTerm(u"vorher"_s);
        form.obNameEMail[address ? 1 : 0]->setChecked(true);
        m_user.answerText(card.isEmpty() ? QString() : writeCard(card));
        QTest::mouseClick(form.btnChooseSender, Qt::LeftButton, Qt::ControlModifier);
        QCOMPARE(form.txtInput->text(), taken);
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox), box);
        QCOMPARE(m_user.questions(AskedQuestion::Kind::OpenFile).size(), size_t(1));
    }

    void addressBookTakesTheChosenRow() {
        const QString folder = TestEnv::home() + u"/cards"_s;
        QDir().mkpath(folder);
        QFile f(folder + u"/anna.vcf"_s);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("BEGIN:VCARD\nFN:Anna Berg\nEMAIL:anna@berg.example\nEND:VCARD\n");
        f.close();
        SaveSetting(u"VCardFolders"_s, folder);
        frmSenderRecp form;
        form.show();
        form.obNameEMail[1]->setChecked(true);
        WhenShown<dlgChooseAdr>([](dlgChooseAdr* d) {
            QCOMPARE(d->lvAdr->topLevelItemCount(), 1);
            d->btnOK->click();
        });
        QTest::mouseClick(form.btnChooseSender, Qt::LeftButton);
        QCOMPARE(form.txtInput->text(), u"anna@berg.example"_s);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestFrmSenderRecp)
#include "test_frm_sender_recp.moc"
