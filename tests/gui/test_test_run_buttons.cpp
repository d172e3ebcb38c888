// The run buttons of the Watch tab: their drop-downs and flags, a test or real run over the
// watched folders, the reset of the processing marks, and the caption by test mode.
#include "gui_test.h"

#include "dialogs/options/frm_stowaway.h"

#include <QCheckBox>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QToolButton>

class TestTestRunButtons : public QObject {
    Q_OBJECT
  private:
    ScriptedUserInteraction m_user;
    std::shared_ptr<FakeMailSession> m_session;
    std::vector<FakeFolderPtr> m_folders;
    QTemporaryDir m_target;

    void watch(const QString& name) {
        FakeFolderPtr folder =
            m_session->addStore(u"Store "_s + name, u"/mail/"_s + name)->addFolder(name);
        FakeMessageData data;
        data.subject = u"Post für "_s + name;
        data.senderName = u"Anna Berg"_s;
        data.senderAddress = u"anna@berg.example"_s;
        folder->addMessage(data)->addAttachment(name + u".pdf"_s, "pdf");
        WatchFolders.append(WatchOf(folder));
        m_folders.push_back(folder);
    }
    // Chooses entry `entry` (1-based) of the drop-down that `button` opens; "" for the ticks.
    QString choose(frmStowaway& form, const QString& button, int entry) {
        QString ticked;
        WhenShown<QMenu>(
            [&](QMenu* menu) {
                const QList<QAction*> actions = menu->actions();
                for (QAction* a : actions)
                    if (a->isChecked()) ticked += a->text() + u';';
                QTest::mouseClick(menu, Qt::LeftButton, {},
                                  menu->actionGeometry(actions.at(entry - 1)).center());
            },
            true);
        Child<QToolButton>(&form, button)->click();
        return ticked;
    }

  private slots:
    void init() {
        TestEnv::resetAll();
        m_user = ScriptedUserInteraction();
        SetUserInteraction(&m_user);
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        m_session = std::make_shared<FakeMailSession>();
        SetMailSession(m_session.get());
        m_folders.clear();
        for (const QString& f : QDir(m_target.path()).entryList(QDir::Files))
            QFile::remove(m_target.filePath(f));
        watch(u"Eingang"_s);
        watch(u"Archiv"_s);
        Rules.append(MakeRule(u"Alles"_s, SaveBy::Folder, m_target.path(), FileExists::Replace));
    }
    void cleanup() { SetMailSession(nullptr); }

    void dropDowns_data() {
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("entry");
        QTest::addColumn<QString>("flag");
        QTest::newRow("test all folders") << "btnTestDropDown" << 1 << "bTestAllFolders";
        QTest::newRow("test notifies") << "btnTestDropDown" << 2 << "TestNotifies";
        QTest::newRow("reset all folders") << "btnResetDropDown" << 1 << "bResetAllFolders";
        QTest::newRow("set unread") << "btnResetDropDown" << 2 << "bSetUnread";
    }
    void dropDowns() {
        QFETCH(QString, button);
        QFETCH(int, entry);
        QFETCH(QString, flag);
        frmStowaway form;
        form.Form_Load();
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        const auto value = [&] {
            return flag == u"bTestAllFolders"    ? form.bTestAllFolders
                   : flag == u"TestNotifies"     ? TestNotifies
                   : flag == u"bResetAllFolders" ? form.bResetAllFolders
                                                 : form.bSetUnread;
        };
        QCOMPARE(choose(form, button, entry), QString());
        QVERIFY(value());
        // The mark shows the flag, and a second choice clears it.
        QVERIFY(!choose(form, button, entry).isEmpty());
        QVERIFY(!value());
        // The flags outlive a new load of the dialog.
        choose(form, button, entry);
        form.Form_Load();
        QVERIFY(value());
        TestNotifies = false;
    }

    void runs_data() {
        QTest::addColumn<bool>("testMode");
        QTest::addColumn<bool>("all");
        QTest::addColumn<QStringList>("saved");
        QTest::addColumn<QString>("lastAction");
        QTest::newRow("test run over all folders saves nothing")
            << true << true << QStringList{} << "Testlauf für 'Archiv', ";
        QTest::newRow("real run over all folders")
            << false << true << QStringList{"Archiv.pdf", "Eingang.pdf"}
            << "Ausführung für 'Archiv', ";
        QTest::newRow("no folder selected beeps") << false << false << QStringList{} << "";
    }
    void runs() {
        QFETCH(bool, testMode);
        QFETCH(bool, all);
        QFETCH(QStringList, saved);
        QFETCH(QString, lastAction);
        SaveSetting(u"SWTest"_s, testMode ? u"1"_s : u"0"_s);
        frmStowaway form;
        form.Form_Load();
        form.bTestAllFolders = all;
        if (!all) Child<QListWidget>(&form, u"lstWatchFolders"_s)->setCurrentRow(-1);
        const int beepsBefore = m_user.beeps();
        Child<QPushButton>(&form, u"btnTestOrRun"_s)->click();
        QCOMPARE(QDir(m_target.path()).entryList(QDir::Files), saved);
        QVERIFY(lastAction.isEmpty() ? gLastAction.isEmpty() : gLastAction.startsWith(lastAction));
        QCOMPARE(Child<QLabel>(&form, u"lblLastAction"_s)->text(), gLastAction);
        // Without a folder the click only beeps (a run's notifications may beep too).
        if (!all) QCOMPARE(m_user.beeps() - beepsBefore, 1);
        QVERIFY(!SWRun);
    }

    void resetClearsTheMarks_data() {
        QTest::addColumn<bool>("setUnread");
        QTest::newRow("marks only") << false;
        QTest::newRow("and unread") << true;
    }
    void resetClearsTheMarks() {
        QFETCH(bool, setUnread);
        for (const FakeFolderPtr& f : m_folders) {
            f->messages().front()->stored.mileage = u"QWKStowaway"_s;
            f->messages().front()->stored.unread = false;
        }
        frmStowaway form;
        form.Form_Load();
        form.bResetAllFolders = true;
        form.bSetUnread = setUnread;
        Child<QPushButton>(&form, u"btnReset"_s)->click();
        for (const FakeFolderPtr& f : m_folders) {
            QCOMPARE(f->messages().front()->stored.mileage, QString());
            QCOMPARE(f->messages().front()->stored.unread, setUnread);
        }
        QCOMPARE(m_user.questions(AskedQuestion::Kind::MessageBox).back().prompt,
                 u"2 Nachrichte(n) zurückgesetzt..."_s);
        QVERIFY(gLastAction.startsWith(u"Bearbeitungsflags zurückgesetzt für 'Archiv'"_s));
    }

    void captionFollowsTestMode_data() {
        QTest::addColumn<int>("lang");
        QTest::addColumn<QString>("test");
        QTest::addColumn<QString>("process");
        QTest::newRow("German") << 0 << "Testen"
                                << "Ausführen";
        QTest::newRow("English") << 1 << "Test"
                                 << "Process";
    }
    void captionFollowsTestMode() {
        QFETCH(int, lang);
        QFETCH(QString, test);
        QFETCH(QString, process);
        SaveSetting(u"CurrLang"_s, QString::number(lang));
        CurrLang = static_cast<uint8_t>(lang);
        SaveSetting(u"SWActive"_s, u"1"_s); // test mode needs it
        frmStowaway form;
        form.Form_Load();
        auto* button = Child<QPushButton>(&form, u"btnTestOrRun"_s);
        QCOMPARE(button->text(), test);
        Child<QCheckBox>(&form, u"cbTestmode"_s)->click();
        form.UpdateOBs();
        QCOMPARE(button->text(), process);
        QCOMPARE(Child<QPushButton>(&form, u"btnReset"_s)->text(),
                 lang ? u"Reset processing flags"_s : u"Bearbeitungsflags zurücksetzen"_s);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestTestRunButtons)
#include "test_test_run_buttons.moc"
