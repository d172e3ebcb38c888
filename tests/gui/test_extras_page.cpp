// The Extras tab over a real Maildir: the list and the overview, the enabling of the options,
// and the tab's choices reaching the run.
#include "gui_test.h"

#include "data/protocol.h"
#include "dialogs/options/extras_page.h"
#include "support/maildir_fixture.h"

namespace {
struct ListRow {
    const char* name;
    int lang;
    QString folder;
    bool subfolders;
    int mode;
    QStringList lines;
    QString totals;
};
struct EnablingRow {
    const char* name;
    int mode;
    bool delAttach;
    QString enabled;
};
} // namespace

// The texts, totals and refusals themselves are the shared listing's and run's (the extras
// command's tests); here the tab's views, options and buttons reach them.
class TestExtrasPage : public GuiTest {
    Q_OBJECT
  private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }

    void init() {
        GuiTest::init();
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        m_root = TestEnv::home() + u"/Mail"_s;
        deliver(MailWithSizedFiles(u"One byte"_s, {{u"a.bin"_s, 1}}), {});
        deliver(MailWithSizedFiles(u"Big"_s, {{u"big.bin"_s, 1023 * 1024}}), {});
        deliver(MailWithSizedFiles(u"No files"_s, {}), {});
        QVERIFY(QFile::copy(TestEnv::dataFile(u"mails/meeting-request.eml"_s),
                            m_root + u"/cur/meeting.sample:2,"_s));
        deliver(MailWithSizedFiles(u"Report"_s, {{u"r1.bin"_s, 2000}, {u"r2.bin"_s, 3000}}),
                u".Work"_s);
        deliver(MailWithSizedFiles(u"Scan"_s, {{u"scan.bin"_s, 10}}), u".Work.Sub"_s);
        m_session =
            std::make_unique<MaildirSession>(std::vector<MaildirSession::StoreSpec>{{m_root, {}}});
        SetMailSession(m_session.get());
    }

    void listAndOverview_data() {
        // A calendar item and a mail without files are left out; the overview's nodes sort by
        // their text.
        // clang-format off
        Rows<ListRow>({
            {"list", 0, u"Mail|Inbox"_s, false, 1,
             {u"Inbox|One byte|Anna Berg|1 Kb (1)"_s, u"Inbox|Big|Anna Berg|1,024 Kb (1)"_s},
             u"1/2, 1,025 Kb"_s},
            {"overview with subfolders", 1, u"Mail|Work"_s, true, 2,
             {u"     5 Kb - Work"_s, u"       1 Kb - Sub"_s, u"         1 Kb - Scan"_s,
              u"       5 Kb - Report"_s},u"2/2, 6 Kb"_s},
        });
        // clang-format on
    }
    void listAndOverview() {
        QFETCH(ListRow, row);
        auto [name, lang, folder, subfolders, mode, lines, totals] = row;
        ExtrasPage* page = openTab(lang);
        page->cbSubfolders->setChecked(subfolders);
        page->obSaveMode[mode]->click();
        pick(folder);
        QCOMPARE(page->lblSaveOutlFolder->text(), folder.section(u'|', -1));
        QCOMPARE(page->lblSaveOutlFolder->toolTip(), folder);
        QTreeView* shown = mode == 2 ? page->tvMails : page->lvMails;
        QVERIFY(!shown->isHidden());
        QVERIFY((mode == 2 ? page->lvMails : page->tvMails)->isHidden());
        QStringList got = Lines(shown->model());
        if (mode != 2) { // the list keeps the store's order
            got.sort();
            lines.sort();
        }
        QCOMPARE(got, lines);
        QCOMPARE(page->lblMailsTotals->text(), totals);
        QCOMPARE(Headers(page->lvMails->model()),
                 lang == 0 ? u"Ordner|Nachricht|Von|Anhang"_s : u"Folder|Mail|From|Attachment"_s);
        if (mode != 2) {
            for (int r = 0; r < shown->model()->rowCount(); ++r)
                QCOMPARE(shown->model()->index(r, 0).data(Qt::CheckStateRole).toInt(),
                         int(Qt::Checked));
        }
    }

    void enabling_data() {
        // The six controls of the check below, 1 for enabled.
        // clang-format off
        Rows<EnablingRow>({
            {"save to, remove", 1, true, u"111111"_s},
            {"save to", 1, false, u"111101"_s},
            {"by rules", 0, true, u"000001"_s},
            {"overview", 2, true, u"000000"_s},
        });
        // clang-format on
    }
    void enabling() {
        QFETCH(EnablingRow, row);
        const auto& [name, mode, delAttach, enabled] = row;
        ExtrasPage* page = openTab(0);
        QVERIFY(page->obSaveMode[2]->isChecked()); // the tab opens on the overview
        page->obSaveMode[1]->click();
        page->cbExtrasHyperlinks->setChecked(true);
        page->cbExtrasDelAttach->setChecked(delAttach);
        page->obSaveMode[mode]->click();
        const QList<QWidget*> controls = {page->lblSaveToFolder,    page->btnSaveOpenFolder,
                                          page->cbOutlStructs,      page->cbExtrasDelAttach,
                                          page->cbExtrasHyperlinks, page->btnSaveDoNow};
        QString got;
        for (QWidget* w : controls)
            got += w->isEnabled() ? u'1' : u'0';
        QCOMPARE(got, enabled);
        QVERIFY(page->cbExtrasHyperlinks->isChecked()); // disabled, not cleared
        QVERIFY(m_user.questions().empty());
    }

    // The ticks of the view reach the run: none ticked is refused.
    void nothingTickedIsRefused() {
        ExtrasPage* page = openTab(0);
        page->obSaveMode[0]->click();
        pick(u"Mail|Inbox"_s);
        for (int r = 0; r < page->lvMails->model()->rowCount(); ++r)
            page->lvMails->model()->setData(page->lvMails->model()->index(r, 0), Qt::Unchecked,
                                            Qt::CheckStateRole);
        page->btnSaveDoNow->click();
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox),
                 u"Keine Einträge in der Liste markiert!"_s);
        QCOMPARE(ProtoEntries.count(), 0);
    }

    void pickedFolderThatIsNoMailFolder() {
        ExtrasPage* page = openTab(1);
        pick(u"Mail|Work"_s);
        pick(u"Mail"_s); // the store's top holds folders, no mail
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox),
                 u"Folder is not a mail folder!"_s);
        QCOMPARE(GetFolderPath(page->chosenFolder()), u"Mail|Work"_s);
        QCOMPARE(page->lblSaveOutlFolder->text(), u"Work"_s);
    }

    // The options reach the run: the files land below the folders' paths and leave links.
    void runToFolderTakesTheTabsOptions() {
        SaveSetting(u"SWTest"_s, u"0"_s);
        // The driver does nothing at all without a rule, even with the one-off rule.
        Rules.assign({udtRule{}});
        ExtrasPage* page = openTab(0);
        const QString target = TestEnv::home() + u"/Saved"_s;
        QVERIFY(QDir().mkpath(target));
        page->obSaveMode[1]->click();
        m_user.answerText(target);
        page->btnSaveOpenFolder->click();
        QCOMPARE(page->lblSaveToFolder->text(), target);
        QCOMPARE(GetSetting(u"LastPath"_s, {}), target);
        page->cbSubfolders->setChecked(true);
        page->cbOutlStructs->setChecked(true);
        page->cbExtrasDelAttach->setChecked(true);
        page->cbExtrasHyperlinks->setChecked(true);
        pick(u"Mail|Work"_s);
        page->btnSaveDoNow->click();

        QCOMPARE(LastPrompt(m_user), u"Fertig...\n\n3 Datei(en) gespeichert."_s);
        QCOMPARE(QFileInfo(target + u"/Mail/Work/r2.bin"_s).size(), 3000);
        QVERIFY(QFileInfo::exists(target + u"/Mail/Work/Sub/scan.bin"_s));
        // The list is built again: mails whose files were removed are gone from it.
        QCOMPARE(page->lvMails->model()->rowCount(), 0);
        for (const MailItemPtr& item : page->chosenFolder()->Items().value)
            QVERIFY(item->Body().value.contains(u"file://"_s + target));
    }

    void runByRulesPassesOverReadMails() {
        SaveSetting(u"SWTest"_s, u"0"_s);
        deliver(MailWithSizedFiles(u"Already read"_s, {{u"read.bin"_s, 5}}), u".Work"_s,
                {.seen = true});
        Rules.assign({MakeRule(u"All"_s, SaveBy::Folder, TestEnv::home() + u"/ByRules"_s,
                               FileExists::Replace)});
        ExtrasPage* page = openTab(0);
        page->obSaveMode[0]->click();
        pick(u"Mail|Work"_s);
        QCOMPARE(page->lvMails->model()->rowCount(), 2);
        page->btnSaveDoNow->click(); // "<Ordner wählen>" as the disk folder is no matter here
        QCOMPARE(LastPrompt(m_user), u"Fertig...\n\n2 Datei(en) gespeichert.\n1 Nachricht(en) "
                                     u"übergangen: 1 schon gelesen."_s);
        QCOMPARE(QDir(TestEnv::home() + u"/ByRules"_s).entryList(QDir::Files),
                 (QStringList{u"r1.bin"_s, u"r2.bin"_s}));
    }

    void clickOnAMailNodeShowsTheMail() {
        ExtrasPage* page = openTab(0);
        pick(u"Mail|Work|Sub"_s);
        const QModelIndex folder = page->tvMails->model()->index(0, 0);
        page->tvMails->clicked(folder);
        QVERIFY(m_user.opened().isEmpty());
        page->tvMails->clicked(page->tvMails->model()->index(0, 0, folder));
        QCOMPARE(m_user.opened().size(), 1);
        const QString shown = m_user.opened().front();
        QVERIFY(shown.endsWith(u".eml"_s));
        QFile file(shown);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("Subject: Scan"));
    }

  private:
    void deliver(const SampleMail& mail, const QString& folder, SampleMailFlags flags = {}) {
        const QString dir = folder.isEmpty() ? m_root : m_root + u'/' + folder;
        QVERIFY(!EnsureMaildirFolder(dir));
        QVERIFY(WriteMailToMaildir(dir, mail, flags).ok());
    }
    ExtrasPage* openTab(int lang) { return open(lang, 3).extrasPage(); }
    void pick(const QString& path) {
        m_user.answerText(path);
        m_form->extrasPage()->btnSaveOutlFolder->click();
    }

    QString m_root;
    std::unique_ptr<MaildirSession> m_session;
};

STOWAWAY_GUI_TEST_MAIN(TestExtrasPage)
#include "test_extras_page.moc"
