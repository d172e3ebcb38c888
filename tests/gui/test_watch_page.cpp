// The Watch tab: the switches and their picture, the watched folders with a scripted picker over
// an in-memory store, the protocol panel on a protocol made here, and the run buttons: their
// drop-downs and flags, which folders a run and a reset take, and the caption by test mode.
#include "gui_test.h"

#include "addin/folder_commands.h"
#include "addin/folder_watchers.h"
#include "data/data_files.h"
#include "data/protocol.h"
#include "data/watch_edits.h"
#include "dialogs/models/proto_model.h"
#include "dialogs/options/proto_panel.h"

namespace {
struct WatchRow {
    const char* name;
    QStringList rows;   // paths; a leading "-" for an inactive row
    QString action;     // add:PATH, del:ROW, uncheck:ROW, check:ROW, gone:ROW
    bool yes;           // the answer to a question
    QStringList after;  // the paths after, with "-" as above
    QString said;       // the question or message, "" for none
    int selected;       // current row after
    QString folderPath; // lblFolderPath after
};
struct FilterRow {
    const char* name;
    int filter;
    QStringList values;
    QString heading;   // of the third column
    QStringList shown; // under clSelect's first value
};
struct OpenRow {
    const char* name;
    int row; // 3: the error of row 2 as a saved file
    QString button, said, opened;
};

// A record of the store's folder whose path is `path` under any case, as an add would make it.
udtWatchFolder Watched(const QString& path, bool active = true) {
    for (const QString& real : {u"Maildir|Inbox"_s, u"Maildir|Work"_s, u"Maildir|Work|Offers"_s})
        if (real.compare(path, Qt::CaseInsensitive) == 0) {
            udtWatchFolder wf = WatchOf(StoreFolderByPath(real), active, path);
            wf.Name = path.section(u'|', -1);
            return wf;
        }
    return {};
}

udtProtoEntry Entry(double date, const QString& attachment, const QString& sender,
                    const QString& recipient, const QString& project, const QString& folder,
                    const QString& rule, const QString& state) {
    udtProtoEntry e = MakeEntry(date, attachment, sender, folder, rule, state);
    e.Recipient() = recipient;
    e.Project() = project;
    return e;
}

// Newest first, as the protocol keeps them.
void MakeProtocol() {
    ProtoEntries.assign({Entry(46000.5, u"a.pdf"_s, u"Anna"_s, u"me"_s, u"Alpha"_s,
                               u"/s/one/Offers/"_s, u"Offers"_s, u"S"_s),
                         Entry(46000.25, u"b.doc"_s, u""_s, u"you"_s, u""_s, u"/s/two/Offers/"_s,
                               u"SpecialRule"_s, u"T S"_s),
                         Entry(45999.75, u"c.exe"_s, u"Bob"_s, u"me"_s, u"Beta"_s, u"/s/Bills/"_s,
                               u"Bills"_s, u"! disk full"_s),
                         Entry(45998.5, u"a.pdf"_s, u"anna"_s, u"me"_s, u"Alpha"_s, u"/s/Bills/"_s,
                               u"Bills"_s, u"S"_s)});
}

// Each shown row as "attachment|third column".
QStringList Shown(QTreeView* view) {
    return Lines(view->model(), {1, 2});
}
} // namespace

class TestWatchPage : public GuiTest {
    Q_OBJECT
  private slots:
    void init() {
        GuiTest::init();
        m_session = std::make_shared<FakeMailSession>();
        SetMailSession(m_session.get());
        FakeFolderPtr top = m_session->addStore(u"Maildir"_s, u"/mail"_s);
        top->addFolder(u"Inbox"_s);
        top->addFolder(u"Work"_s)->addFolder(u"Offers"_s);
    }
    void switchesAndPicture_data() {
        QTest::addColumn<bool>("active");
        QTest::addColumn<bool>("test");
        QTest::addColumn<QString>("picture");
        QTest::newRow("first start: off, test mode kept") << false << true << "Off";
        QTest::newRow("on in test mode") << true << true << "Testmode";
        QTest::newRow("on") << true << false << "On";
        QTest::newRow("off, test mode cleared") << false << false << "Off";
    }
    void switchesAndPicture() {
        QFETCH(bool, active);
        QFETCH(bool, test);
        QFETCH(QString, picture);
        open();
        auto* cbActive = ctl<QCheckBox>(u"cbActive"_s);
        auto* cbTestmode = ctl<QCheckBox>(u"cbTestmode"_s);
        QVERIFY(!cbActive->isChecked() && cbTestmode->isChecked()); // the first start
        cbActive->click();
        if (!test) cbTestmode->click();
        if (!active) cbActive->click();
        QCOMPARE(ctl<QLabel>(u"imgOnOff"_s)->property("Picture").toString(), picture);
        QCOMPARE(cbTestmode->isEnabled(), active);
        QCOMPARE(cbTestmode->isChecked(), test);
        QCOMPARE(cbTestmode->font().bold(), test);
        QCOMPARE(SWActive, active);
        QCOMPARE(SWTest, test);
        QCOMPARE(GetSetting(u"SWTest"_s, u"unset"_s), test ? u"unset"_s : u"0"_s);
    }

    // The watch list: rows before, what the user does and answers, and what follows.
    void watchList_data() {
        const QStringList inbox{u"Maildir|Inbox"_s},
            inboxWork{u"Maildir|Inbox"_s, u"Maildir|Work"_s};
        const QString uncheck =
            u"Möchten Sie den Ordner 'Inbox' wirklich aus der Überwachung nehmen?"_s;
        // clang-format off
        Rows<WatchRow>({
            {"add a folder: watched, none selected, the former path kept", inbox,
             u"add:Maildir|Work|Offers"_s, true, {u"Maildir|Inbox"_s, u"Maildir|Work|Offers"_s},
             u""_s, -1, u"Maildir|Inbox"_s},
            {"add a folder watched under other case", {u"maildir|WORK"_s, u"Maildir|Inbox"_s},
             u"add:Maildir|Work"_s, true, {u"maildir|WORK"_s, u"Maildir|Inbox"_s},
             u"'WORK' wird bereits überwacht..."_s, 0, u"maildir|WORK"_s},
            {"add the store's top", inbox, u"add:Maildir"_s, true, inbox,
             u"Ordner ist kein Nachrichtenordner!"_s, 0, u"Maildir|Inbox"_s},
            {"picker cancelled", inbox, u"add:"_s, true, inbox, u""_s, 0, u"Maildir|Inbox"_s},
            {"remove the only row", inbox, u"del:0"_s, true, {},
             u"Ordner 'Inbox' wirklich entfernen?"_s, -1, u"Maildir|Inbox"_s},
            {"remove answered no", inbox, u"del:0"_s, false, inbox,
             u"Ordner 'Inbox' wirklich entfernen?"_s, 0, u"Maildir|Inbox"_s},
            {"remove the last row selects the new last", inboxWork, u"del:1"_s, true, inbox,
             u"Ordner 'Work' wirklich entfernen?"_s, 0, u"Maildir|Inbox"_s},
            {"clear a mark, answered no: restored, asked once", inbox, u"uncheck:0"_s, false, inbox,
             uncheck, 0, u"Maildir|Inbox"_s},
            {"clear a mark, answered yes", inbox, u"uncheck:0"_s, true, {u"-Maildir|Inbox"_s},
             uncheck, 0, u"Maildir|Inbox"_s},
            {"a row whose folder a command removed meanwhile: the list is refilled", inboxWork,
             u"gone:0"_s, true, {u"Maildir|Work"_s}, u""_s, 0, u"Maildir|Work"_s},
            {"setting a mark asks nothing", {u"-Maildir|Inbox"_s}, u"check:0"_s, false, inbox,
             u""_s, 0, u"Maildir|Inbox"_s},
        });
        // clang-format on
    }
    void watchList() {
        QFETCH(WatchRow, row);
        const auto& [name, rows, action, yes, after, said, selected, folderPath] = row;
        WatchFolders.clear();
        for (const QString& path : rows)
            WatchFolders.append(
                Watched(path.startsWith(u'-') ? path.mid(1) : path, !path.startsWith(u'-')));
        open();
        auto* list = ctl<QListWidget>(u"lstWatchFolders"_s);
        QCOMPARE(list->currentRow(), rows.isEmpty() ? -1 : 0); // the first row after opening
        m_user.answerMessageBox(yes ? MsgAnswer::Yes : MsgAnswer::No);
        const QString verb = action.section(u':', 0, 0), arg = action.section(u':', 1);
        if (verb == u"add"_s) {
            m_user.answerText(arg);
            ctl<QToolButton>(u"btnFolderAdd"_s)->click();
        } else if (verb == u"del"_s) {
            list->setCurrentRow(arg.toInt());
            ctl<QToolButton>(u"btnFolderDel"_s)->click();
        } else {
            if (verb == u"gone"_s) RemoveWatchFolder(1);
            list->item(arg.toInt())
                ->setCheckState(verb == u"check"_s ? Qt::Checked : Qt::Unchecked);
            QCoreApplication::processEvents(); // a refill waits for the event's end
        }
        QStringList now;
        for (int i = 1; i <= WatchFolders.count(); ++i)
            now << (IsTrue(WatchFolders[i].Active) ? u""_s : u"-"_s) + WatchFolders[i].Path.get();
        QCOMPARE(now, after);
        QCOMPARE(list->count(), int(after.size()));
        for (int i = 0; i < list->count(); ++i)
            QCOMPARE(list->item(i)->checkState() == Qt::Checked, !after[i].startsWith(u'-'));
        QStringList prompts;
        for (const AskedQuestion& q : m_user.questions(AskedQuestion::Kind::MessageBox))
            prompts << q.prompt;
        QCOMPARE(prompts, said.isEmpty() ? QStringList{} : QStringList{said});
        QCOMPARE(list->currentRow(), selected);
        QCOMPARE(ctl<QLabel>(u"lblFolderPath"_s)->text(), folderPath);
        QCOMPARE(WatchFolders.changed, now != rows);
    }

    // Each filter of clFilter: its values in clSelect, the third column's heading, and what
    // the first value shows.
    void protoFilters_data() {
        // clang-format off
        Rows<FilterRow>({
            {"0 no filter", 0, {}, u"Von"_s, {}},
            {"2 sender: no empty one, case kept", 2, {u"Anna"_s, u"Bob"_s, u"anna"_s}, u"Von"_s,
             {u"a.pdf|Anna"_s}},
            {"3 recipient", 3, {u"me"_s, u"you"_s}, u"An"_s,
             {u"a.pdf|me"_s, u"c.exe|me"_s, u"a.pdf|me"_s}},
            {"4 project", 4, {u"Alpha"_s, u"Beta"_s}, u"Projekt"_s,
             {u"a.pdf|Alpha"_s, u"a.pdf|Alpha"_s}},
            {"5 file name", 5, {u"a.pdf"_s, u"b.doc"_s, u"c.exe"_s}, u"Von"_s,
             {u"a.pdf|Anna"_s, u"a.pdf|anna"_s}},
            {"6 format", 6, {u"PDF"_s, u"DOC"_s, u"EXE"_s}, u"Von"_s,
             {u"a.pdf|Anna"_s, u"a.pdf|anna"_s}},
            {"7 folder: one name for two folders", 7, {u"Offers"_s, u"Bills"_s}, u"Ordner"_s,
             {u"a.pdf|Offers"_s, u"b.doc|Offers"_s}},
            {"8 rule: no SpecialRule", 8, {u"Offers"_s, u"Bills"_s}, u"Regel"_s,
             {u"a.pdf|Offers"_s}},
            {"9 state", 9, {u"S"_s, u"T S"_s, u"! disk full"_s}, u"Von"_s,
             {u"a.pdf|Anna"_s, u"a.pdf|anna"_s}},
        });
        // clang-format on
    }
    void protoFilters() {
        QFETCH(FilterRow, row);
        const auto& [name, filter, values, heading, shown] = row;
        MakeProtocol();
        open();
        auto* clFilter = ctl<QComboBox>(u"clFilter"_s);
        auto* clSelect = ctl<QComboBox>(u"clSelect"_s);
        auto* lvProto = ctl<QTreeView>(u"lvProto"_s);
        QCOMPARE(clFilter->count(), 10);
        QCOMPARE(Shown(lvProto).size(), 4);
        clFilter->setCurrentIndex(filter);
        QCOMPARE(Texts(clSelect), QStringList{u"<Alles>"_s} + values);
        QCOMPARE(clSelect->currentIndex(), 0);
        QCOMPARE(Shown(lvProto).size(), 4); // "<Alles>" shows every entry
        QCOMPARE(lvProto->model()->headerData(2, Qt::Horizontal).toString(), heading);
        if (values.isEmpty()) return;
        clSelect->setCurrentIndex(1);
        QCOMPARE(Shown(lvProto), shown);
        // The first row is selected and its details shown.
        QCOMPARE(ctl<QLabel>(u"lblProtoAttachm"_s)->text(), shown[0].section(u'|', 0, 0));
    }

    void dateFilterAndColours() {
        MakeProtocol();
        open();
        auto* lvProto = ctl<QTreeView>(u"lvProto"_s);
        ctl<QComboBox>(u"clFilter"_s)->setCurrentIndex(1);
        QCOMPARE(ctl<QComboBox>(u"clSelect"_s)->count(), 4); // three days and "<Alles>"
        ctl<QComboBox>(u"clSelect"_s)->setCurrentIndex(1);
        QCOMPARE(Shown(lvProto), (QStringList{u"a.pdf|Anna"_s, u"b.doc|"_s}));
        ctl<QComboBox>(u"clFilter"_s)->setCurrentIndex(0);
        const auto colour = [&](int row) {
            return lvProto->model()->index(row, 0).data(Qt::ForegroundRole).value<QColor>();
        };
        QCOMPARE(colour(1), QColor(0, 0, 255)); // a test run
        QCOMPARE(colour(2), QColor(255, 0, 0)); // an error
        QVERIFY(!colour(0).isValid());
        QCOMPARE(lvProto->model()->index(2, 1).data(Qt::ToolTipRole).toString(),
                 u"Mail about c.exe"_s);
    }

    // Opening an entry's file or folder: refused for a test run, an error, a blocked format.
    void protoOpen_data() {
        const QString nothing = u"Dies war ein Testlauf oder es ist ein Fehler aufgetreten, es "
                                u"wurde kein Anhang gespeichert!"_s;
        // clang-format off
        Rows<OpenRow>({
            {"a saved file", 0, u"btnProtoView"_s, u""_s, u"/s/one/Offers/a.pdf"_s},
            {"its folder", 0, u"btnProtoOpenFolder"_s, u""_s, u"/s/one/Offers"_s},
            {"a test run", 1, u"btnProtoView"_s, nothing, u""_s},
            {"a test run's folder", 1, u"btnProtoOpenFolder"_s, nothing, u""_s},
            {"an error", 2, u"btnProtoView"_s, nothing, u""_s},
            {"a blocked format", 3, u"btnProtoView"_s,
             u"Dateien dieses Typs sind blockiert und können nicht geöffnet werden!"_s, u""_s},
        });
        // clang-format on
    }
    void protoOpen() {
        QFETCH(OpenRow, row);
        MakeProtocol();
        // c.exe, saved this time, of a blocked format.
        if (row.row == 3) ProtoEntries[3].State() = u"S"_s;
        BlockedFormats.assign({AddBlockedFormat(u"EXE"_s, u"Program"_s, true)});
        open();
        auto* lvProto = ctl<QTreeView>(u"lvProto"_s);
        lvProto->setCurrentIndex(lvProto->model()->index(std::min(row.row, 2), 0));
        ctl<QToolButton>(row.button)->click();
        QCOMPARE(LastPrompt(m_user), row.said);
        QCOMPARE(m_user.opened().isEmpty() ? QString() : m_user.opened()[0], row.opened);
    }

    void selectEntryFromElsewhere() {
        MakeProtocol();
        frmStowaway& form = open();
        form.showTab(2);
        ctl<QComboBox>(u"clFilter"_s)->setCurrentIndex(2);
        ctl<QComboBox>(u"clSelect"_s)->setCurrentIndex(2); // Bob: entry 3 alone
        form.SelectProtoEntry(4);       // hidden by the filter: the filter goes off
        QCOMPARE(form.currentTab(), 2); // the Search tab asked and stays in front
        QCOMPARE(ctl<QComboBox>(u"clFilter"_s)->currentIndex(), 0);
        auto* lvProto = ctl<QTreeView>(u"lvProto"_s);
        QCOMPARE(lvProto->currentIndex().row(), 3);
        QCOMPARE(ctl<QLabel>(u"lblProtoSender"_s)->text(), u"anna"_s);
    }

    // Entries added at the front or removed while the list shows a filter: each row keeps its
    // entry, and a new entry waits for the next rebuild.
    void modelFollowsTheTable() {
        MakeProtocol();
        frmStowaway& form = open();
        ctl<QComboBox>(u"clFilter"_s)->setCurrentIndex(5);
        ctl<QComboBox>(u"clSelect"_s)->setCurrentIndex(1); // a.pdf: entries 1 and 4
        auto* model = form.findChild<ProtoModel*>();
        ProtoEntries.prepend(udtProtoEntry{});
        ProtoEntries.prepend(udtProtoEntry{});
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(model->entryAt(0), 3);
        QCOMPARE(model->entryAt(1), 6);
        ProtoEntries.removeRange(3, 4); // the first a.pdf and b.doc
        QCOMPARE(model->rowCount(), 1);
        QCOMPARE(model->entryAt(0), 4);
        QCOMPARE(model->index(0, 2).data().toString(), u"anna"_s);
        ProtoEntries.clear();
        QCOMPARE(model->rowCount(), 0);
    }

    void wipe_data() {
        QTest::addColumn<bool>("yes");
        QTest::newRow("answered no") << false;
        QTest::newRow("answered yes") << true;
    }
    void wipe() {
        QFETCH(bool, yes);
        MakeProtocol();
        ProtoEntries.changed = true;
        SaveData();
        const QString prt = DataFilePath(u".prt"_s);
        QVERIFY(QFile::exists(prt));
        open();
        ctl<QComboBox>(u"clFilter"_s)->setCurrentIndex(2);
        m_user.answerMessageBox(yes ? MsgAnswer::Yes : MsgAnswer::No);
        ctl<QToolButton>(u"btnProtoDel"_s)->click();
        QCOMPARE(m_user.questions().at(0).prompt,
                 u"Möchten Sie das Protokoll wirklich komplett löschen?"_s);
        QCOMPARE(QFile::exists(prt), !yes);
        QCOMPARE(ProtoEntries.count(), yes ? 0 : 4);
        QCOMPARE(ctl<QTreeView>(u"lvProto"_s)->model()->rowCount(), yes ? 0 : 4);
        if (!yes) return;
        QCOMPARE(ctl<QComboBox>(u"clFilter"_s)->currentIndex(), 0);
        QCOMPARE(m_user.sounds(), QStringList{u"SystemAsterisk"_s});
        ctl<QToolButton>(u"btnProtoDel"_s)->click();
        QCOMPARE(LastPrompt(m_user), u"Das Protokoll ist leer..."_s);
        FlushProtocol(); // nothing pending writes the file again
        QVERIFY(!QFile::exists(prt));
    }

    void zoomAndLanguage() {
        MakeProtocol();
        frmStowaway& form = open();
        form.show();
        auto* zoom = ctl<QToolButton>(u"imgZoomProto"_s);
        zoom->click();
        QVERIFY(ctl<QWidget>(u"frFolders"_s)->isHidden());
        QCOMPARE(zoom->property("Picture").toString(), u"ArrowsUp"_s);
        QVERIFY(ctl<QLabel>(u"lblProtoDate"_s)->isVisible());
        // The language switch zooms back first and refills the lists once.
        form.SwitchLanguage(1);
        QVERIFY(!ctl<QWidget>(u"frFolders"_s)->isHidden());
        QCOMPARE(zoom->property("Picture").toString(), u"ArrowsDown"_s);
        auto* clFilter = ctl<QComboBox>(u"clFilter"_s);
        QCOMPARE(clFilter->count(), 10);
        QCOMPARE(clFilter->itemText(5), u"file name"_s);
        QCOMPARE(ctl<QComboBox>(u"clSelect"_s)->itemText(0), u"<All>"_s);
        QCOMPARE(ctl<QTreeView>(u"lvProto"_s)->model()->headerData(2, Qt::Horizontal),
                 QVariant(u"From"_s));
        QCOMPARE(ctl<QListWidget>(u"lstWatchFolders"_s)->count(), int(WatchFolders.count()));
    }

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
        frmStowaway& form = open();
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        const auto value = [&] {
            return flag == u"bTestAllFolders"    ? form.bTestAllFolders
                   : flag == u"TestNotifies"     ? TestNotifies
                   : flag == u"bResetAllFolders" ? form.bResetAllFolders
                                                 : form.bSetUnread;
        };
        QCOMPARE(choose(button, entry), QString());
        QVERIFY(value());
        // The mark shows the flag, and a second choice clears it.
        QVERIFY(!choose(button, entry).isEmpty());
        QVERIFY(!value());
        // The flags outlive a new load of the dialog.
        choose(button, entry);
        form.Form_Load();
        QVERIFY(value());
        TestNotifies = false;
    }

    // The run over the folders and the reset are the folder commands'; the button runs all
    // watched folders or the selected one, and a reset takes the tab's choice of unread.
    void runs_data() {
        QTest::addColumn<bool>("all");
        QTest::addColumn<QStringList>("saved");
        QTest::newRow("all folders") << true << QStringList{"Archiv.pdf", "Eingang.pdf"};
        QTest::newRow("no folder selected beeps") << false << QStringList{};
    }
    void runs() {
        QFETCH(bool, all);
        QFETCH(QStringList, saved);
        setUpRuns();
        SaveSetting(u"SWTest"_s, u"0"_s);
        frmStowaway& form = open();
        form.bTestAllFolders = all;
        if (!all) ctl<QListWidget>(u"lstWatchFolders"_s)->setCurrentRow(-1);
        ctl<QPushButton>(u"btnTestOrRun"_s)->click();
        QCOMPARE(QDir(m_target.path()).entryList(QDir::Files), saved);
        QCOMPARE(ctl<QLabel>(u"lblLastAction"_s)->text(), gLastAction);
        // Without a folder the click only beeps (a run's notifications may beep too).
        if (!all) QCOMPARE(m_user.beeps(), 1);
    }

    void resetClearsTheMarks_data() {
        QTest::addColumn<bool>("setUnread");
        QTest::newRow("marks only") << false;
        QTest::newRow("and unread") << true;
    }
    void resetClearsTheMarks() {
        QFETCH(bool, setUnread);
        setUpRuns();
        for (const FakeFolderPtr& f : m_folders) {
            f->messages().front()->stored.mileage = u"QWKStowaway"_s;
            f->messages().front()->stored.unread = false;
        }
        frmStowaway& form = open();
        form.bResetAllFolders = true;
        form.bSetUnread = setUnread;
        ctl<QPushButton>(u"btnReset"_s)->click();
        for (const FakeFolderPtr& f : m_folders) {
            QCOMPARE(f->messages().front()->stored.mileage, QString());
            QCOMPARE(f->messages().front()->stored.unread, setUnread);
        }
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox),
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
        SaveSetting(u"SWActive"_s, u"1"_s); // test mode needs it
        frmStowaway& form = open(lang);
        auto* button = ctl<QPushButton>(u"btnTestOrRun"_s);
        QCOMPARE(button->text(), test);
        ctl<QCheckBox>(u"cbTestmode"_s)->click();
        form.UpdateOBs();
        QCOMPARE(button->text(), process);
        QCOMPARE(ctl<QPushButton>(u"btnReset"_s)->text(),
                 lang ? u"Reset processing flags"_s : u"Bearbeitungsflags zurücksetzen"_s);
    }

  private:
    std::shared_ptr<FakeMailSession> m_session;
    std::vector<FakeFolderPtr> m_folders;
    QTemporaryDir m_target;

    // Two watched folders in stores of their own, a mail with a file in each, and a rule that
    // saves everything into m_target.
    void setUpRuns() {
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        m_folders.clear();
        for (const QString& f : QDir(m_target.path()).entryList(QDir::Files))
            QFile::remove(m_target.filePath(f));
        watch(u"Eingang"_s);
        watch(u"Archiv"_s);
        Rules.append(MakeRule(u"Alles"_s, SaveBy::Folder, m_target.path(), FileExists::Replace));
    }
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
    QString choose(const QString& button, int entry) {
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
        ctl<QToolButton>(button)->click();
        return ticked;
    }
};

STOWAWAY_GUI_TEST_MAIN(TestWatchPage)
#include "test_watch_page.moc"
