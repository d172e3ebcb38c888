// The Extras tab over a real Maildir: the list and the overview with their texts and totals,
// the enabling of the options, the checks of the run and a run in each mode.
#include "gui_test.h"

#include "data/protocol.h"
#include "dialogs/options/extras_page.h"
#include "dialogs/options/frm_stowaway.h"
#include "host/maildir/mail_builder.h"
#include "host/maildir/maildir_session.h"

#include <QCheckBox>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QTreeView>

namespace {
SampleMail Mail(const QString& subject, const std::vector<std::pair<QString, qsizetype>>& files) {
    SampleMail m;
    m.subject = subject;
    m.fromName = u"Anna Berg"_s;
    for (const auto& [name, size] : files)
        m.attachments.push_back(SampleAttachment::file(
            name, "application/octet-stream", name.toUtf8().leftJustified(size, 'x', true)));
    return m;
}

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
struct RefusalRow {
    const char* name;
    bool chooseFolder;
    int mode;
    bool untick;
    QString prompt;
};
struct RunRow {
    const char* name;
    bool remove, keepStructure;
    QString subfolder; // where the files land below the target
    QStringList rowsAfter;
};

// The rows of a view: the columns joined by "|", a tree's nodes indented by two blanks a level.
QStringList Lines(const QAbstractItemModel* model, const QModelIndex& parent = {}, int depth = 0) {
    QStringList lines;
    for (int r = 0; r < model->rowCount(parent); ++r) {
        QStringList cells;
        for (int c = 0; c < model->columnCount(parent); ++c)
            cells << model->index(r, c, parent).data().toString();
        lines << QString(depth * 2, u' ') + cells.join(u'|');
        lines << Lines(model, model->index(r, 0, parent), depth + 1);
    }
    return lines;
}

// The scripted user, whose folder pickers answer from a queue (none left: cancelled).
class PickingUser : public ScriptedUserInteraction {
  public:
    void answerFolder(const QString& path) { m_folders << path; }
    QString browseForFolder(const QString&, const QString&) override { return next(); }
    QString pickMailFolder(const QString&) override { return next(); }

  private:
    QString next() { return m_folders.isEmpty() ? QString() : m_folders.takeFirst(); }
    QStringList m_folders;
};

QString Headers(const QTreeView* view) {
    QStringList texts;
    for (int c = 0; c < view->model()->columnCount(); ++c)
        texts << view->model()->headerData(c, Qt::Horizontal).toString();
    return texts.join(u'|');
}
} // namespace

class TestExtrasPage : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }

    void init() {
        TestEnv::resetAll();
        m_user = PickingUser();
        SetUserInteraction(&m_user);
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        m_root = TestEnv::home() + u"/Mail"_s;
        deliver(Mail(u"One byte"_s, {{u"a.bin"_s, 1}}), {});
        deliver(Mail(u"Big"_s, {{u"big.bin"_s, 1023 * 1024}}), {});
        deliver(Mail(u"No files"_s, {}), {});
        QVERIFY(QFile::copy(TestEnv::dataFile(u"mails/meeting-request.eml"_s),
                            m_root + u"/cur/meeting.sample:2,"_s));
        deliver(Mail(u"Report"_s, {{u"r1.bin"_s, 2000}, {u"r2.bin"_s, 3000}}), u".Work"_s);
        deliver(Mail(u"Scan"_s, {{u"scan.bin"_s, 10}}), u".Work.Sub"_s);
        m_session =
            std::make_unique<MaildirSession>(std::vector<MaildirSession::StoreSpec>{{m_root, {}}});
        SetMailSession(m_session.get());
        m_form = std::make_unique<frmStowaway>();
    }
    void cleanup() {
        m_form.reset();
        SetMailSession(nullptr);
        m_session.reset();
    }

    void listAndOverview_data() {
        // A calendar item and a mail without files are left out; one byte is 1 Kb; 1,024 Kb in
        // the tree is "1024" behind two blanks; nodes sort by their text.
        // clang-format off
        Rows<ListRow>({
            {"list", 0, u"Mail|Inbox"_s, false, 1,
             {u"Inbox|One byte|Anna Berg|1 Kb (1)"_s, u"Inbox|Big|Anna Berg|1,024 Kb (1)"_s},
             u"1/2, 1,025 Kb"_s},
            {"list with subfolders", 1, u"Mail|Work"_s, true, 0,
             {u"Work|Report|Anna Berg|5 Kb (2)"_s, u"Sub|Scan|Anna Berg|1 Kb (1)"_s},
             u"2/2, 6 Kb"_s},
            {"overview", 0, u"Mail|Inbox"_s, false, 2,
             {u"  1025 Kb - Inbox"_s, u"       1 Kb - One byte"_s, u"    1024 Kb - Big"_s},
             u"1/2, 1,025 Kb"_s},
            {"overview with subfolders", 1, u"Mail|Work"_s, true, 2,
             {u"     5 Kb - Work"_s, u"       1 Kb - Sub"_s, u"         1 Kb - Scan"_s,
              u"       5 Kb - Report"_s},u"2/2, 6 Kb"_s},
            {"overview of a folder without files", 0, u"Mail|Work|Sub"_s, false, 2,
             {u"     1 Kb - Sub"_s, u"       1 Kb - Scan"_s}, u"1/1, 1 Kb"_s},
        });
        // clang-format on
    }
    void listAndOverview() {
        QFETCH(ListRow, row);
        auto [name, lang, folder, subfolders, mode, lines, totals] = row;
        ExtrasPage* page = open(lang);
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
        QCOMPARE(Headers(page->lvMails),
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
        ExtrasPage* page = open(0);
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

    void refusals_data() {
        // clang-format off
        Rows<RefusalRow>({
            {"no mail folder", false, 1, false,
             u"Bitte 'Speichern aus'-Ordner (Mail) wählen..."_s},
            {"no disk folder", true, 1, false,
             u"Bitte 'Speichern in'-Ordner (Festplatte) wählen..."_s},
            {"nothing ticked", true, 0, true, u"Keine Einträge in der Liste markiert!"_s},
        });
        // clang-format on
    }
    void refusals() {
        QFETCH(RefusalRow, row);
        const auto& [name, chooseFolder, mode, untick, prompt] = row;
        ExtrasPage* page = open(0);
        page->obSaveMode[mode]->click();
        if (chooseFolder) pick(u"Mail|Inbox"_s);
        if (untick)
            for (int r = 0; r < page->lvMails->model()->rowCount(); ++r)
                page->lvMails->model()->setData(page->lvMails->model()->index(r, 0), Qt::Unchecked,
                                                Qt::CheckStateRole);
        page->btnSaveDoNow->click();
        QCOMPARE(m_user.questions().size(), size_t(1));
        QCOMPARE(LastPrompt(m_user), prompt);
        QCOMPARE(m_user.beeps(), 1);
        QCOMPARE(ProtoEntries.count(), 0);
    }

    void pickedFolderThatIsNoMailFolder() {
        ExtrasPage* page = open(1);
        pick(u"Mail|Work"_s);
        pick(u"Mail"_s); // the store's top holds folders, no mail
        QCOMPARE(LastPrompt(m_user), u"Folder is not a mail folder!"_s);
        QCOMPARE(GetFolderPath(page->chosenFolder()), u"Mail|Work"_s);
        QCOMPARE(page->lblSaveOutlFolder->text(), u"Work"_s);
    }

    void runToFolderSavesAndLeavesTheMailsAsTheCommandDoes_data() {
        // clang-format off
        Rows<RunRow>({
            {"copies", false, false, u""_s, {u"Report"_s, u"Scan"_s}},
            {"removed, with the folders' paths", true, true, u"/Mail/Work"_s, {}},
        });
        // clang-format on
    }
    void runToFolderSavesAndLeavesTheMailsAsTheCommandDoes() {
        QFETCH(RunRow, row);
        const auto& [name, remove, keepStructure, subfolder, rowsAfter] = row;
        SaveSetting(u"SWTest"_s, u"0"_s);
        // The driver does nothing at all without a rule, even with the one-off rule.
        Rules.assign({udtRule{}});
        ExtrasPage* page = open(0);
        const QString target = TestEnv::home() + u"/Saved"_s;
        QVERIFY(QDir().mkpath(target));
        page->obSaveMode[1]->click();
        m_user.answerFolder(target);
        page->btnSaveOpenFolder->click();
        QCOMPARE(page->lblSaveToFolder->text(), target);
        QCOMPARE(GetSetting(u"LastPath"_s, {}), target);
        page->cbSubfolders->setChecked(true);
        page->cbOutlStructs->setChecked(keepStructure);
        page->cbExtrasDelAttach->setChecked(remove);
        page->cbExtrasHyperlinks->setChecked(remove);
        pick(u"Mail|Work"_s);
        // The read state does not matter with the one-off rule.
        page->btnSaveDoNow->click();

        QCOMPARE(LastPrompt(m_user), u"Fertig...\n\n3 Datei(en) gespeichert."_s);
        QVERIFY(m_user.sounds().contains(u"SystemAsterisk"_s));
        QCOMPARE(ProtoEntries.count(), 3);
        for (int i = 1; i <= 3; ++i)
            QCOMPARE(ProtoEntries[size_t(i)].Rule().get(), u"SpecialRule"_s);
        QCOMPARE(QFileInfo(target + subfolder + u"/r1.bin"_s).size(), 2000);
        QCOMPARE(QFileInfo(target + subfolder + u"/r2.bin"_s).size(), 3000);
        QVERIFY(QFileInfo::exists(target + (keepStructure ? u"/Mail/Work/Sub"_s : QString()) +
                                  u"/scan.bin"_s));
        // A bulk run always writes the LOG, after the line that says it was off.
        QVERIFY(DoProto);
        QCOMPARE(LogLinesWithoutStamps().front(), u"Extras/TN: MaildirMessage"_s);
        // The list is built again: mails whose files were removed are gone from it.
        QCOMPARE(Texts(page->lvMails->model(), 1), rowsAfter);
        // A removed file leaves its link in the body, as the command's --remove --links does.
        for (const MailItemPtr& item : page->chosenFolder()->Items().value) {
            QCOMPARE(item->Mileage().value, u"QWKStowaway"_s);
            QCOMPARE(item->Body().value.contains(u"file://"_s + target), remove);
        }
    }

    void runByRulesPassesOverReadMails() {
        SaveSetting(u"SWTest"_s, u"0"_s);
        deliver(Mail(u"Already read"_s, {{u"read.bin"_s, 5}}), u".Work"_s, {.seen = true});
        Rules.assign({MakeRule(u"All"_s, SaveBy::Folder, TestEnv::home() + u"/ByRules"_s,
                               FileExists::Replace)});
        ExtrasPage* page = open(0);
        page->obSaveMode[0]->click();
        pick(u"Mail|Work"_s);
        QCOMPARE(page->lvMails->model()->rowCount(), 2);
        page->btnSaveDoNow->click(); // "<Ordner wählen>" as the disk folder is no matter here
        QCOMPARE(LastPrompt(m_user), u"Fertig...\n\n2 Datei(en) gespeichert.\n1 Nachricht(en) "
                                     u"übergangen: 1 schon gelesen."_s);
        QCOMPARE(QDir(TestEnv::home() + u"/ByRules"_s).entryList(QDir::Files),
                 (QStringList{u"r1.bin"_s, u"r2.bin"_s}));
        QCOMPARE(ProtoEntries[1].Rule().get(), u"All"_s);
    }

    void clickOnAMailNodeShowsTheMail() {
        ExtrasPage* page = open(0);
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
    ExtrasPage* open(int lang) {
        SaveSetting(u"CurrLang"_s, QString::number(lang));
        CurrLang = uint8_t(lang);
        m_form->Form_Load();
        m_form->showTab(3);
        return m_form->extrasPage();
    }
    void pick(const QString& path) {
        m_user.answerFolder(path);
        m_form->extrasPage()->btnSaveOutlFolder->click();
    }

    PickingUser m_user;
    QString m_root;
    std::unique_ptr<MaildirSession> m_session;
    std::unique_ptr<frmStowaway> m_form;
};

STOWAWAY_GUI_TEST_MAIN(TestExtrasPage)
#include "test_extras_page.moc"
