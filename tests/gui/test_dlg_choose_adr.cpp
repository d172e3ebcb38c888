// dlgChooseAdr over a vCard folder and a real Maildir made by the test: the books, the search,
// invalid entries in red, new entries, and the cards as sync tools write them.
#include "gui_test.h"

#include "dialogs/forms/dlg_choose_adr.h"
#include "host/address_sources.h"
#include "host/maildir/mail_builder.h"
#include "host/maildir/maildir_session.h"

namespace {
void WriteFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    if (f.open(QIODevice::WriteOnly)) f.write(bytes);
}

QStringList Rows(const QTreeWidget* view) {
    QStringList rows;
    for (int i = 0; i < view->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* item = view->topLevelItem(i);
        rows << item->text(0) + u'|' + item->text(1) + u'|' + item->text(2) +
                    (item->foreground(0).color() == QColor(Qt::red) ? u"|red"_s : QString());
    }
    // Equal names keep no fixed order; the contents count.
    rows.sort();
    return rows;
}
} // namespace

class TestDlgChooseAdr : public GuiTest {
    Q_OBJECT
  private:
    std::unique_ptr<MaildirSession> m_session;
    QString m_cards;

  private slots:
    void init() {
        GuiTest::init();
        // Cards as a sync tool keeps them: a collection folder below the contacts folder.
        m_cards = TestEnv::home() + u"/Kontakte"_s;
        WriteFile(m_cards + u"/privat/anna.vcf"_s,
                  "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Anna Berg\r\nitem1.EMAIL;TYPE=INTERNET:anna@"
                  "berg.example\r\nEMAIL:a.berg@firma.example\r\nEND:VCARD\r\n");
        WriteFile(m_cards + u"/privat/team.vcf"_s,
                  "BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:group\r\nFN:Team\r\nEND:VCARD\r\n");
        WriteFile(m_cards + u"/privat/Zerbrochen.vcf"_s, "not a card at all");
        SaveSetting(u"VCardFolders"_s, m_cards);
        // A Maildir whose mails name a sender and two recipients.
        const QString root = TestEnv::home() + u"/Mail"_s;
        QVERIFY(!EnsureMaildirFolder(root));
        SampleMail mail;
        mail.fromName = u"Otto Brandt"_s;
        mail.fromAddress = u"otto@brandt.example"_s;
        mail.to = {{u"Carl Dorn"_s, u"carl@dorn.example"_s}};
        mail.cc = {{u"Anna Berg"_s, u"anna@berg.example"_s}};
        QVERIFY(WriteMailToMaildir(root, mail, {}).ok());
        m_session =
            std::make_unique<MaildirSession>(std::vector<MaildirSession::StoreSpec>{{root, {}}});
        SetMailSession(m_session.get());
        const MailFolderPtr inbox = m_session->GetDefaultInbox().value;
        WatchFolders.append(WatchOf(inbox, false));
    }
    void cleanup() {
        GuiTest::cleanup();
        m_session.reset();
    }

    void books_data() {
        QTest::addColumn<int>("book");
        QTest::addColumn<bool>("hideInvalids");
        QTest::addColumn<QStringList>("rows");
        const QString cards =
            "Anna Berg|a.berg@firma.example|SMTP,Anna Berg|anna@berg.example|SMTP,"
            "Zerbrochen|<Keine>|<Ungültig>|red";
        const QString mail = "Anna Berg|anna@berg.example|SMTP,Carl Dorn|carl@dorn.example|SMTP,"
                             "Otto Brandt|otto@brandt.example|SMTP";
        QTest::newRow("all books")
            << 0 << false
            << QStringList{
                   "Anna Berg|a.berg@firma.example|SMTP",  "Anna Berg|anna@berg.example|SMTP",
                   "Anna Berg|anna@berg.example|SMTP",     "Carl Dorn|carl@dorn.example|SMTP",
                   "Otto Brandt|otto@brandt.example|SMTP", "Zerbrochen|<Keine>|<Ungültig>|red"};
        QTest::newRow("the vCard folder") << 2 << false << cards.split(u',');
        QTest::newRow("invalid ones hidden") << 2 << true << cards.split(u',').mid(0, 2);
        QTest::newRow("the senders and recipients of the mail") << 3 << false << mail.split(u',');
    }
    void books() {
        QFETCH(int, book);
        QFETCH(bool, hideInvalids);
        QFETCH(QStringList, rows);
        SaveSetting(u"DoInvAdr"_s, hideInvalids ? u"1"_s : u"0"_s);
        dlgChooseAdr dialog;
        QVERIFY(dialog.InitDialog());
        QCOMPARE(dialog.clAdrBooks->count(), 4);
        QCOMPARE(dialog.clAdrBooks->itemText(3),
                 u"Absender und Empfänger der überwachten Ordner"_s);
        dialog.clAdrBooks->setCurrentIndex(book);
        QCOMPARE(Rows(dialog.lvAdr), rows);
        QCOMPARE(dialog.cbHideInvalids->isChecked(), hideInvalids);
    }

    void hidingInvalidsPersists() {
        {
            dlgChooseAdr dialog;
            dialog.InitDialog();
            dialog.cbHideInvalids->click();
        }
        QCOMPARE(GetSetting(u"DoInvAdr"_s, QString()), u"1"_s);
        dlgChooseAdr again;
        again.InitDialog();
        QVERIFY(again.cbHideInvalids->isChecked());
    }

    void search_data() {
        QTest::addColumn<QString>("term");
        QTest::addColumn<QStringList>("rows");
        QTest::addColumn<int>("beeps");
        QTest::newRow("upper case finds lower, in the address")
            << "DORN" << QStringList{"Carl Dorn|carl@dorn.example|SMTP"} << 0;
        QTest::newRow("in the name")
            << "otto b" << QStringList{"Otto Brandt|otto@brandt.example|SMTP"} << 0;
        QTest::newRow("blank beeps") << "  " << QStringList{} << 1;
    }
    void search() {
        QFETCH(QString, term);
        QFETCH(QStringList, rows);
        QFETCH(int, beeps);
        dlgChooseAdr dialog;
        dialog.InitDialog();
        dialog.txtSearch->setText(term);
        dialog.btnSearch->click();
        if (beeps == 0) {
            QCOMPARE(dialog.clAdrBooks->currentIndex(), 1);
            QCOMPARE(Rows(dialog.lvAdr), rows);
            QVERIFY(!dialog.btnNew->isEnabled());
        }
        QCOMPARE(m_user.beeps(), beeps);
    }

    void searchResultsBeforeAnySearch() {
        dlgChooseAdr dialog;
        dialog.InitDialog();
        dialog.clAdrBooks->setCurrentIndex(1);
        QCOMPARE(dialog.lvAdr->topLevelItemCount(), 0);
        QCOMPARE(m_user.questions().size(), size_t(1));
        QCOMPARE(LastPrompt(m_user), u"Keine Suchergebnisse verfügbar..."_s);
    }

    void newEntry_data() {
        QTest::addColumn<int>("book");
        QTest::addColumn<QStringList>("answers");
        QTest::addColumn<int>("cards");
        QTest::addColumn<QString>("selected");
        QTest::newRow("a new card in the folder")
            << 2 << QStringList{"Eva Fink", "eva@fink.example"} << 4 << "Eva Fink";
        QTest::newRow("nothing filled in, nothing written")
            << 2 << QStringList{"Eva Fink", ""} << 3 << "Anna Berg";
        QTest::newRow("the mail's addresses take no entries")
            << 3 << QStringList{} << 3 << "Anna Berg";
    }
    void newEntry() {
        QFETCH(int, book);
        QFETCH(QStringList, answers);
        QFETCH(int, cards);
        QFETCH(QString, selected);
        dlgChooseAdr dialog;
        dialog.InitDialog();
        dialog.clAdrBooks->setCurrentIndex(book);
        for (const QString& a : answers)
            m_user.answerText(a);
        dialog.btnNew->click();
        QCOMPARE(QDir(m_cards + u"/privat"_s).entryList(QDir::Files).size() +
                     QDir(m_cards).entryList(QDir::Files).size(),
                 qsizetype(cards));
        QCOMPARE(dialog.lvAdr->currentItem()->text(0), selected);
        if (book == 3)
            QCOMPARE(m_user.questions(AskedQuestion::Kind::MessageBox).back().prompt,
                     QStringLiteral("Diesem Adressbuch können neue Einträge nur über den "
                                    "Kontakte-Ordner hinzugefügt werden."));
    }

    void cards_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QStringList>("entries"); // name|address|type, "!" for invalid
        QTest::newRow("folded line and escapes")
            << QByteArray("BEGIN:VCARD\r\nFN:Berg\\, Anna\r\nEMAIL:anna@be\r\n "
                          "rg.example\r\nEND:VCARD\r\n")
            << QStringList{"Berg, Anna|anna@berg.example|SMTP"};
        QTest::newRow("name from N when FN is missing")
            << QByteArray(
                   "BEGIN:VCARD\nN:Dorn;Carl;;;\nEMAIL:mailto:carl@dorn.example\nEND:VCARD\n")
            << QStringList{"Carl Dorn|carl@dorn.example|SMTP"};
        QTest::newRow("quoted-printable of vCard 2.1")
            << QByteArray("BEGIN:VCARD\nVERSION:2.1\nFN;ENCODING=QUOTED-PRINTABLE;CHARSET=UTF-8:J="
                          "C3=BCrgen\n"
                          "EMAIL;INTERNET:j@x.example\nEND:VCARD\n")
            << QStringList{"Jürgen|j@x.example|SMTP"};
        QTest::newRow("an address that isn't one")
            << QByteArray("BEGIN:VCARD\nFN:Eva\nEMAIL:eva at home\nEND:VCARD\n")
            << QStringList{"Eva||SMTP!"};
        QTest::newRow("a card without end")
            << QByteArray("BEGIN:VCARD\nFN:Halb\nEMAIL:h@x.example\n")
            << QStringList{"halb||SMTP!"};
    }
    void cards() {
        QFETCH(QByteArray, text);
        QFETCH(QStringList, entries);
        QStringList got;
        for (const AddressEntry& e : ParseVCards(text, u"/c/halb.vcf"_s))
            got << e.name + u'|' + e.address + u'|' + e.type + (e.invalid ? u"!"_s : QString());
        QCOMPARE(got, entries);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestDlgChooseAdr)
#include "test_dlg_choose_adr.moc"
