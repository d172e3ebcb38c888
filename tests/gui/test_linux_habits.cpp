// The desktop program as a Linux user meets it, in both languages: Enter in the search field, the
// language option, the Tools tab's closing box, the protocol's unset fields and states, the box of
// a failed opening, and no word of another platform in any caption.
#include "gui_test.h"

#include "data/protocol.h"
#include "dialogs/forms/dlg_choose_adr.h"
#include "dialogs/forms/frm_projects.h"
#include "dialogs/forms/frm_sender_recp.h"
#include "dialogs/options/extras_page.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/options_page.h"
#include "dialogs/options/proto_panel.h"
#include "dialogs/options/search_page.h"
#include "dialogs/options/watch_page.h"
#include "dialogs/product_menu.h"
#include "dialogs/qt_interaction.h"
#include "host/maildir/mail_builder.h"
#include "host/maildir/maildir_session.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QTabWidget>
#include <QToolButton>
#include <QTreeView>

namespace {
// The scripted user: the store's folder picker answers from a queue, the closing box keeps its
// list.
class User : public ScriptedUserInteraction {
  public:
    QStringList folders, details;
    QString pickMailFolder(const QString&) override {
        return folders.isEmpty() ? QString() : folders.takeFirst();
    }
    void messageBoxWithDetails(const QString& prompt, const QStringList& list,
                               const QString& title) override {
        details = list;
        messageBox(prompt, MsgButtons::OK, MsgIcon::Information, title);
    }
};

struct LangRow {
    const char* name;
    int lang;
    QStringList texts;
};

// Every text a user reads on `root` and below: titles, captions, tooltips, items, headers.
QStringList Captions(QWidget* root) {
    QStringList out{root->windowTitle()};
    const auto model = [&](const QAbstractItemModel* m) {
        for (int c = 0; c < m->columnCount(); ++c)
            for (int role : {int(Qt::DisplayRole), int(Qt::ToolTipRole)})
                out << m->headerData(c, Qt::Horizontal, role).toString() << Texts(m, c);
    };
    QList<QWidget*> widgets = root->findChildren<QWidget*>();
    for (QWidget* w : widgets << root) {
        out << w->toolTip() << w->accessibleName();
        if (auto* b = qobject_cast<QAbstractButton*>(w)) out << b->text();
        if (auto* l = qobject_cast<QLabel*>(w)) out << l->text();
        if (auto* g = qobject_cast<QGroupBox*>(w)) out << g->title();
        if (auto* t = qobject_cast<QTabWidget*>(w))
            for (int i = 0; i < t->count(); ++i)
                out << t->tabText(i) << t->tabToolTip(i);
        if (auto* c = qobject_cast<QComboBox*>(w)) model(c->model());
        // The blocked formats' descriptions name foreign file types as what they are.
        if (auto* v = qobject_cast<QAbstractItemView*>(w); v && v->objectName() != u"lvBlocked")
            if (v->model()) model(v->model());
        for (const QAction* a : w->actions())
            out << a->text() << a->toolTip();
    }
    return out;
}

// The texts holding a word of another platform.
QStringList Foreign(const QStringList& texts) {
    static const QRegularExpression words(u"(?i:outlook|windows|explorer)|RDO|MAPI"_s);
    return texts.filter(words);
}
} // namespace

class TestLinuxHabits : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        TestEnv::resetAll();
        m_user = User();
        SetUserInteraction(&m_user);
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        m_root = TestEnv::home() + u"/Mail"_s;
        deliver(u"Invoice"_s, {});
        deliver(u"Old offer"_s, u"QWKStowaway"_s);
        deliver(u"Old scan"_s, u"QWKStowaway"_s);
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

    void enterInTheSearchFieldSearchesAndTheDialogStays_data() {
        Rows<LangRow>({{"de", 0, {u"Keine passenden Anhänge gefunden!"_s}},
                       {"en", 1, {u"No matching attachments found!"_s}}});
    }
    void enterInTheSearchFieldSearchesAndTheDialogStays() {
        QFETCH(LangRow, row);
        Rules.assign({MakeRule({}, SaveBy::Folder, TestEnv::home())});
        open(row.lang, 2);
        m_form->show();
        QLineEdit* field = m_form->searchPage()->txtSearch;
        field->setFocus();
        QTest::keyClicks(field, u"*.none"_s);
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(LastPrompt(m_user), row.texts.front());
        QVERIFY(m_form->isVisible());
    }

    void languageOptionShowsTheLanguageInUseAndSwitchesAtTheFirstClick_data() {
        Rows<LangRow>(
            {{"started in German", 0, {u"Close"_s}}, {"started in English", 1, {u"Schließen"_s}}});
    }
    void languageOptionShowsTheLanguageInUseAndSwitchesAtTheFirstClick() {
        QFETCH(LangRow, row);
        // A first start: no setting, the language from the desktop's locale.
        CurrLang = uint8_t(row.lang);
        m_form->Form_Load();
        QRadioButton* const* options = m_form->optionsPage()->obLanguage;
        QVERIFY(options[row.lang]->isChecked() && !options[1 - row.lang]->isChecked());
        options[1 - row.lang]->click();
        QCOMPARE(int(CurrLang), 1 - row.lang);
        QCOMPARE(Child<QAbstractButton>(m_form.get(), u"btnDone"_s)->text(), row.texts.front());
    }

    void toolsSaysWhatWasSavedAndPassedOver_data() {
        Rows<LangRow>(
            {{"de",
              0,
              {u"Fertig...\n\n1 Datei(en) gespeichert.\n2 Nachricht(en) übergangen: 2 schon "
               u"bearbeitet (trägt die Bearbeitungsmarke)."_s,
               u"schon bearbeitet"_s}},
             {"en",
              1,
              {u"Done...\n\n1 file(s) saved.\n2 mail(s) passed over: 2 processed before (it "
               u"carries the processing mark)."_s,
               u"processed before"_s}}});
    }
    void toolsSaysWhatWasSavedAndPassedOver() {
        QFETCH(LangRow, row);
        SaveSetting(u"SWTest"_s, u"0"_s);
        Rules.assign({udtRule{}});
        ExtrasPage* page = open(row.lang, 3)->extrasPage();
        page->obSaveMode[1]->click();
        page->lblSaveToFolder->setText(TestEnv::home() + u"/Saved"_s);
        m_user.folders << u"Mail|Inbox"_s;
        page->btnSaveOutlFolder->click();
        page->btnSaveDoNow->click();
        QCOMPARE(LastPrompt(m_user), row.texts.at(0));
        QCOMPARE(m_user.details.size(), 2);
        for (const QString& line : m_user.details)
            QVERIFY2(line.startsWith(u"\"Old "_s) && line.contains(row.texts.at(1)),
                     qPrintable(line));
    }

    void protocolShowsUnsetFieldsEmptyAndExplainsItsStates_data() {
        Rows<LangRow>(
            {{"de", 0, {u"gespeichert, aus der Nachricht entfernt"_s, u"S = gespeichert"_s}},
             {"en", 1, {u"saved, removed from the mail"_s, u"S = saved"_s}}});
    }
    void protocolShowsUnsetFieldsEmptyAndExplainsItsStates() {
        QFETCH(LangRow, row);
        udtProtoEntry entry;
        entry.Attachment() = u"plan.pdf"_s;
        entry.State() = u"SX"_s; // the project, rule and other texts stay NULs
        ProtoEntries.assign({entry});
        ProtoPanel* panel = open(row.lang, 0)->watchPage()->proto;
        panel->setZoomed(true);
        QCOMPARE(Child<QLabel>(m_form.get(), u"lblProtoProject"_s)->text(), QString());
        const QAbstractItemModel* list = panel->lvProto->model();
        QCOMPARE(list->index(0, 2).data().toString(), QString());
        QCOMPARE(Child<QLabel>(m_form.get(), u"lblProtoState"_s)->toolTip(), row.texts.at(0));
        QCOMPARE(list->index(0, 3).data(Qt::ToolTipRole).toString(), row.texts.at(0));
        QVERIFY(list->headerData(3, Qt::Horizontal, Qt::ToolTipRole)
                    .toString()
                    .startsWith(row.texts.at(1)));
    }

    void aFailedOpeningSaysWhatWasTriedAndWhy_data() {
        Rows<LangRow>({{"de", 0, {u"Grund: der Desktop hat kein Programm dafür"_s}},
                       {"en", 1, {u"Reason: the desktop has no program for it"_s}}});
    }
    void aFailedOpeningSaysWhatWasTriedAndWhy() {
        QFETCH(LangRow, row);
        // A desktop without a file manager: xdg-open finds no method and says so.
        QTemporaryDir bin;
        QFile script(bin.filePath(u"xdg-open"_s));
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\necho \"xdg-open: no method available for '$1'\" >&2; exit 3\n");
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeUser);
        const QByteArray path = qgetenv("PATH");
        qputenv("PATH", QFile::encodeName(bin.path()) + ':' + path);
        CurrLang = uint8_t(row.lang);
        QString shown;
        QtUserInteraction desktop;
        WhenShown<QMessageBox>([&](QMessageBox* box) {
            shown = box->text();
            box->close();
        });
        QVERIFY(desktop.openWithShell(TestEnv::home()));
        QTRY_VERIFY(!shown.isEmpty());
        qputenv("PATH", path);
        // The first line as ever, then the target, and the reason with xdg-open's own words.
        QVERIFY2(shown.startsWith(u"Client konnte nicht gestartet werden...\n\n"_s) &&
                     shown.contains(TestEnv::home() + u'\n' + row.texts.front()) &&
                     shown.endsWith(u"(xdg-open: no method available for '"_s + TestEnv::home() +
                                    u"')"_s),
                 qPrintable(shown));
    }

    void noCaptionNamesAnotherPlatform_data() { Rows<LangRow>({{"de", 0, {}}, {"en", 1, {}}}); }
    void noCaptionNamesAnotherPlatform() {
        QFETCH(LangRow, row);
        QStringList texts;
        for (int tab = 0; tab < 5; ++tab) {
            open(row.lang, tab);
            texts << Captions(m_form.get());
        }
        frmProjects projects;
        frmSenderRecp senderRecp;
        dlgChooseAdr chooseAdr;
        QMenu menu;
        BuildProductMenu(
            menu, [] {}, [] {});
        for (QWidget* w :
             std::initializer_list<QWidget*>{&projects, &senderRecp, &chooseAdr, &menu})
            texts << Captions(w);
        // The boxes of a missing manual, of the Tools tab and of a store that could not be opened.
        SaveSetting(u"Doku"_s, u"/nowhere/manual.md"_s);
        Child<QAbstractButton>(m_form.get(), u"btnHelp"_s)->click();
        m_form->showTab(3);
        m_form->extrasPage()->btnSaveDoNow->click();
        SetMailSession(nullptr);
        m_form->extrasPage()->btnSaveOutlFolder->click();
        m_user.folders << u"Mail|Inbox"_s;
        m_form->extrasPage()->btnSaveOutlFolder->click();
        for (const AskedQuestion& q : m_user.questions())
            texts << q.prompt << q.title;
        QVERIFY2(texts.size() > 500, qPrintable(QString::number(texts.size())));
        QCOMPARE(Foreign(texts), QStringList());
    }

  private:
    void deliver(const QString& subject, const QString& mileage) {
        SampleMail m;
        m.subject = subject;
        m.mileage = mileage;
        m.attachments.push_back(
            SampleAttachment::file(subject + u".pdf"_s, "application/pdf", "%PDF"));
        QVERIFY(!EnsureMaildirFolder(m_root));
        QVERIFY(WriteMailToMaildir(m_root, m, {}).ok());
    }
    frmStowaway* open(int lang, int tab) {
        CurrLang = uint8_t(lang);
        SaveSetting(u"CurrLang"_s, QString::number(lang));
        m_form->Form_Load();
        m_form->showTab(tab);
        return m_form.get();
    }

    User m_user;
    QString m_root;
    std::unique_ptr<MaildirSession> m_session;
    std::unique_ptr<frmStowaway> m_form;
};

STOWAWAY_GUI_TEST_MAIN(TestLinuxHabits)
#include "test_linux_habits.moc"
