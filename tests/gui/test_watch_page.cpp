// The Watch tab: the switches and their picture, the watched folders with a scripted picker over
// an in-memory store, and the protocol panel on a protocol made here.
#include "gui_test.h"

#include "addin/folder_commands.h"
#include "addin/folder_watchers.h"
#include "data/data_files.h"
#include "data/protocol.h"
#include "data/watch_edits.h"
#include "dialogs/models/proto_model.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/proto_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QRadioButton>
#include <QToolButton>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {
template <class W> W* Child(QWidget* form, const QString& name) {
    W* w = form->findChild<W*>(name);
    if (!w) qFatal("no control %s", qPrintable(name));
    return w;
}

// A record of the store's folder whose path is `path` under any case, as an add would make it.
udtWatchFolder Watched(const QString& path, bool active = true) {
    udtWatchFolder wf;
    wf.Active = ToVb(active);
    wf.Name = path.section(u'|', -1);
    wf.Path = path;
    for (const QString& real : {u"Maildir|Inbox"_s, u"Maildir|Work"_s, u"Maildir|Work|Offers"_s}) {
        if (real.compare(path, Qt::CaseInsensitive) != 0) continue;
        const MailFolderPtr folder = StoreFolderByPath(real);
        wf.EntryID = folder->EntryID().value;
        wf.StoreID = folder->StoreID().value;
    }
    return wf;
}

udtProtoEntry Entry(double date, const QString& attachment, const QString& sender,
                    const QString& recipient, const QString& project, const QString& folder,
                    const QString& rule, const QString& state) {
    udtProtoEntry e;
    e.Date = date;
    e.Mail() = u"Mail about "_s + attachment;
    e.Attachment() = attachment;
    e.FileFormat() = attachment.section(u'.', -1).toUpper();
    e.Sender() = sender;
    e.Recipient() = recipient;
    e.Project() = project;
    e.Folder() = folder;
    e.Rule() = rule;
    e.State() = state;
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

QStringList Items(QComboBox* box) {
    QStringList out;
    for (int i = 0; i < box->count(); ++i)
        out << box->itemText(i);
    return out;
}

// Each shown row as "attachment/third column".
QStringList Shown(QTreeView* view) {
    QStringList out;
    for (int r = 0; r < view->model()->rowCount(); ++r)
        out << view->model()->index(r, 1).data().toString() + u'/' +
                   view->model()->index(r, 2).data().toString();
    return out;
}
} // namespace

class TestWatchPage : public QObject {
    Q_OBJECT
  private slots:
    void init() {
        TestEnv::resetAll();
        m_user = ScriptedUserInteraction();
        SetUserInteraction(&m_user);
        m_session = std::make_shared<FakeMailSession>();
        SetMailSession(m_session.get());
        FakeFolderPtr top = m_session->addStore(u"Maildir"_s, u"/mail"_s);
        top->addFolder(u"Inbox"_s);
        top->addFolder(u"Work"_s)->addFolder(u"Offers"_s);
    }
    void cleanup() {
        SetMailSession(nullptr);
        SetUserInteraction(nullptr);
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
        frmStowaway form;
        form.Form_Load();
        auto* cbActive = Child<QCheckBox>(&form, u"cbActive"_s);
        auto* cbTestmode = Child<QCheckBox>(&form, u"cbTestmode"_s);
        QVERIFY(!cbActive->isChecked() && cbTestmode->isChecked()); // the first start
        cbActive->click();
        if (!test) cbTestmode->click();
        if (!active) cbActive->click();
        QCOMPARE(Child<QLabel>(&form, u"imgOnOff"_s)->property("Picture").toString(), picture);
        QCOMPARE(cbTestmode->isEnabled(), active);
        QCOMPARE(cbTestmode->isChecked(), test);
        QCOMPARE(cbTestmode->font().bold(), test);
        QCOMPARE(SWActive, active);
        QCOMPARE(SWTest, test);
        QCOMPARE(GetSetting(u"SWTest"_s, u"unset"_s), test ? u"unset"_s : u"0"_s);
    }

    // The watch list: rows before, what the user does and answers, and what follows.
    void watchList_data() {
        QTest::addColumn<QStringList>("rows");   // paths; a leading "-" for an inactive row
        QTest::addColumn<QString>("action");     // add:PATH, del:ROW, uncheck:ROW, check:ROW
        QTest::addColumn<bool>("yes");           // the answer to a question
        QTest::addColumn<QStringList>("after");  // the paths after, with "-" as above
        QTest::addColumn<QString>("said");       // the question or message, "" for none
        QTest::addColumn<int>("selected");       // current row after
        QTest::addColumn<QString>("folderPath"); // lblFolderPath after
        const QStringList inbox{u"Maildir|Inbox"_s};
        QTest::newRow("add a folder: watched, none selected, the former path kept")
            << inbox << "add:Maildir|Work|Offers" << true
            << QStringList{u"Maildir|Inbox"_s, u"Maildir|Work|Offers"_s} << "" << -1
            << "Maildir|Inbox";
        QTest::newRow("add a folder watched under other case")
            << QStringList{u"maildir|WORK"_s, u"Maildir|Inbox"_s} << "add:Maildir|Work" << true
            << QStringList{u"maildir|WORK"_s, u"Maildir|Inbox"_s}
            << "'WORK' wird bereits überwacht..." << 0 << "maildir|WORK";
        QTest::newRow("add the store's top")
            << inbox << "add:Maildir" << true << inbox << "Ordner ist kein Nachrichtenordner!" << 0
            << "Maildir|Inbox";
        QTest::newRow("picker cancelled")
            << inbox << "add:" << true << inbox << "" << 0 << "Maildir|Inbox";
        QTest::newRow("remove the only row")
            << inbox << "del:0" << true << QStringList{} << "Ordner 'Inbox' wirklich entfernen?"
            << -1 << "Maildir|Inbox";
        QTest::newRow("remove answered no")
            << inbox << "del:0" << false << inbox << "Ordner 'Inbox' wirklich entfernen?" << 0
            << "Maildir|Inbox";
        QTest::newRow("remove the last row selects the new last")
            << QStringList{u"Maildir|Inbox"_s, u"Maildir|Work"_s} << "del:1" << true << inbox
            << "Ordner 'Work' wirklich entfernen?" << 0 << "Maildir|Inbox";
        QTest::newRow("clear a mark, answered no: restored, asked once")
            << inbox << "uncheck:0" << false << inbox
            << "Möchten Sie den Ordner 'Inbox' wirklich aus der Überwachung nehmen?" << 0
            << "Maildir|Inbox";
        QTest::newRow("clear a mark, answered yes")
            << inbox << "uncheck:0" << true << QStringList{u"-Maildir|Inbox"_s}
            << "Möchten Sie den Ordner 'Inbox' wirklich aus der Überwachung nehmen?" << 0
            << "Maildir|Inbox";
        QTest::newRow("a row whose folder a command removed meanwhile: the list is refilled")
            << QStringList{u"Maildir|Inbox"_s, u"Maildir|Work"_s} << "gone:0" << true
            << QStringList{u"Maildir|Work"_s} << "" << 0 << "Maildir|Work";
        QTest::newRow("setting a mark asks nothing")
            << QStringList{u"-Maildir|Inbox"_s} << "check:0" << false << inbox << "" << 0
            << "Maildir|Inbox";
    }
    void watchList() {
        QFETCH(QStringList, rows);
        QFETCH(QString, action);
        QFETCH(bool, yes);
        QFETCH(QStringList, after);
        QFETCH(QString, said);
        QFETCH(int, selected);
        QFETCH(QString, folderPath);
        WatchFolders.clear();
        for (const QString& row : rows)
            WatchFolders.append(
                Watched(row.startsWith(u'-') ? row.mid(1) : row, !row.startsWith(u'-')));
        frmStowaway form;
        form.Form_Load();
        auto* list = Child<QListWidget>(&form, u"lstWatchFolders"_s);
        QCOMPARE(list->currentRow(), rows.isEmpty() ? -1 : 0); // the first row after opening
        m_user.answerMessageBox(yes ? MsgAnswer::Yes : MsgAnswer::No);
        const QString verb = action.section(u':', 0, 0), arg = action.section(u':', 1);
        if (verb == u"add"_s) {
            m_user.answerText(arg);
            Child<QToolButton>(&form, u"btnFolderAdd"_s)->click();
        } else if (verb == u"del"_s) {
            list->setCurrentRow(arg.toInt());
            Child<QToolButton>(&form, u"btnFolderDel"_s)->click();
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
        QCOMPARE(Child<QLabel>(&form, u"lblFolderPath"_s)->text(), folderPath);
        QCOMPARE(WatchFolders.changed, now != rows);
    }

    // Each filter of clFilter: its values in clSelect, the third column's heading, and what
    // the first value shows.
    void protoFilters_data() {
        QTest::addColumn<int>("filter");
        QTest::addColumn<QStringList>("values");
        QTest::addColumn<QString>("heading");
        QTest::addColumn<QStringList>("shown"); // under clSelect's first value
        QTest::newRow("0 no filter") << 0 << QStringList{} << "Von" << QStringList{};
        QTest::newRow("2 sender: no empty one, case kept")
            << 2 << QStringList{u"Anna"_s, u"Bob"_s, u"anna"_s} << "Von"
            << QStringList{u"a.pdf/Anna"_s};
        QTest::newRow("3 recipient") << 3 << QStringList{u"me"_s, u"you"_s} << "An"
                                     << QStringList{u"a.pdf/me"_s, u"c.exe/me"_s, u"a.pdf/me"_s};
        QTest::newRow("4 project") << 4 << QStringList{u"Alpha"_s, u"Beta"_s} << "Projekt"
                                   << QStringList{u"a.pdf/Alpha"_s, u"a.pdf/Alpha"_s};
        QTest::newRow("5 file name") << 5 << QStringList{u"a.pdf"_s, u"b.doc"_s, u"c.exe"_s}
                                     << "Von" << QStringList{u"a.pdf/Anna"_s, u"a.pdf/anna"_s};
        QTest::newRow("6 format") << 6 << QStringList{u"PDF"_s, u"DOC"_s, u"EXE"_s} << "Von"
                                  << QStringList{u"a.pdf/Anna"_s, u"a.pdf/anna"_s};
        QTest::newRow("7 folder: one name for two folders")
            << 7 << QStringList{u"Offers"_s, u"Bills"_s} << "Ordner"
            << QStringList{u"a.pdf/Offers"_s, u"b.doc/Offers"_s};
        QTest::newRow("8 rule: no SpecialRule") << 8 << QStringList{u"Offers"_s, u"Bills"_s}
                                                << "Regel" << QStringList{u"a.pdf/Offers"_s};
        QTest::newRow("9 state") << 9 << QStringList{u"S"_s, u"T S"_s, u"! disk full"_s} << "Von"
                                 << QStringList{u"a.pdf/Anna"_s, u"a.pdf/anna"_s};
    }
    void protoFilters() {
        QFETCH(int, filter);
        QFETCH(QStringList, values);
        QFETCH(QString, heading);
        QFETCH(QStringList, shown);
        MakeProtocol();
        frmStowaway form;
        form.Form_Load();
        auto* clFilter = Child<QComboBox>(&form, u"clFilter"_s);
        auto* clSelect = Child<QComboBox>(&form, u"clSelect"_s);
        auto* lvProto = Child<QTreeView>(&form, u"lvProto"_s);
        QCOMPARE(clFilter->count(), 10);
        QCOMPARE(Shown(lvProto).size(), 4);
        clFilter->setCurrentIndex(filter);
        QCOMPARE(Items(clSelect), QStringList{u"<Alles>"_s} + values);
        QCOMPARE(clSelect->currentIndex(), 0);
        QCOMPARE(Shown(lvProto).size(), 4); // "<Alles>" shows every entry
        QCOMPARE(lvProto->model()->headerData(2, Qt::Horizontal).toString(), heading);
        if (values.isEmpty()) return;
        clSelect->setCurrentIndex(1);
        QCOMPARE(Shown(lvProto), shown);
        // The first row is selected and its details shown.
        QCOMPARE(Child<QLabel>(&form, u"lblProtoAttachm"_s)->text(), shown[0].section(u'/', 0, 0));
    }

    void dateFilterAndColours() {
        MakeProtocol();
        frmStowaway form;
        form.Form_Load();
        auto* lvProto = Child<QTreeView>(&form, u"lvProto"_s);
        Child<QComboBox>(&form, u"clFilter"_s)->setCurrentIndex(1);
        QCOMPARE(Child<QComboBox>(&form, u"clSelect"_s)->count(), 4); // three days and "<Alles>"
        Child<QComboBox>(&form, u"clSelect"_s)->setCurrentIndex(1);
        QCOMPARE(Shown(lvProto), (QStringList{u"a.pdf/Anna"_s, u"b.doc/"_s}));
        Child<QComboBox>(&form, u"clFilter"_s)->setCurrentIndex(0);
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
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("said");
        QTest::addColumn<QString>("opened");
        const QString nothing = u"Dies war ein Testlauf oder es ist ein Fehler aufgetreten, es "
                                u"wurde kein Anhang gespeichert!"_s;
        QTest::newRow("a saved file") << 0 << "btnProtoView"
                                      << ""
                                      << "/s/one/Offers/a.pdf";
        QTest::newRow("its folder") << 0 << "btnProtoOpenFolder"
                                    << ""
                                    << "/s/one/Offers";
        QTest::newRow("a test run") << 1 << "btnProtoView" << nothing << "";
        QTest::newRow("a test run's folder") << 1 << "btnProtoOpenFolder" << nothing << "";
        QTest::newRow("an error") << 2 << "btnProtoView" << nothing << "";
    }
    void protoOpen() {
        QFETCH(int, row);
        QFETCH(QString, button);
        QFETCH(QString, said);
        QFETCH(QString, opened);
        MakeProtocol();
        frmStowaway form;
        form.Form_Load();
        auto* lvProto = Child<QTreeView>(&form, u"lvProto"_s);
        lvProto->setCurrentIndex(lvProto->model()->index(row, 0));
        Child<QToolButton>(&form, button)->click();
        QCOMPARE(m_user.questions().empty() ? QString() : m_user.questions()[0].prompt, said);
        QCOMPARE(m_user.opened().isEmpty() ? QString() : m_user.opened()[0], opened);
    }

    void blockedFormatIsNotOpened() {
        MakeProtocol();
        ProtoEntries[3].State() = u"S"_s; // c.exe, saved
        BlockedFormats.assign({AddBlockedFormat(u"EXE"_s, u"Program"_s, true)});
        frmStowaway form;
        form.Form_Load();
        auto* lvProto = Child<QTreeView>(&form, u"lvProto"_s);
        lvProto->setCurrentIndex(lvProto->model()->index(2, 0));
        Child<QToolButton>(&form, u"btnProtoView"_s)->click();
        QCOMPARE(m_user.questions().at(0).prompt,
                 u"Dateien dieses Typs sind blockiert und können nicht geöffnet werden!"_s);
        QVERIFY(m_user.opened().isEmpty());
    }

    void selectEntryFromElsewhere() {
        MakeProtocol();
        frmStowaway form;
        form.Form_Load();
        form.showTab(2);
        Child<QComboBox>(&form, u"clFilter"_s)->setCurrentIndex(2);
        Child<QComboBox>(&form, u"clSelect"_s)->setCurrentIndex(2); // Bob: entry 3 alone
        form.SelectProtoEntry(4); // hidden by the filter: the filter goes off
        QCOMPARE(form.currentTab(), 0);
        QCOMPARE(Child<QComboBox>(&form, u"clFilter"_s)->currentIndex(), 0);
        auto* lvProto = Child<QTreeView>(&form, u"lvProto"_s);
        QCOMPARE(lvProto->currentIndex().row(), 3);
        QCOMPARE(Child<QLabel>(&form, u"lblProtoSender"_s)->text(), u"anna"_s);
    }

    // Entries added at the front or removed while the list shows a filter: each row keeps its
    // entry, and a new entry waits for the next rebuild.
    void modelFollowsTheTable() {
        MakeProtocol();
        frmStowaway form;
        form.Form_Load();
        Child<QComboBox>(&form, u"clFilter"_s)->setCurrentIndex(5);
        Child<QComboBox>(&form, u"clSelect"_s)->setCurrentIndex(1); // a.pdf: entries 1 and 4
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
        frmStowaway form;
        form.Form_Load();
        Child<QComboBox>(&form, u"clFilter"_s)->setCurrentIndex(2);
        m_user.answerMessageBox(yes ? MsgAnswer::Yes : MsgAnswer::No);
        Child<QToolButton>(&form, u"btnProtoDel"_s)->click();
        QCOMPARE(m_user.questions().at(0).prompt,
                 u"Möchten Sie das Protokoll wirklich komplett löschen?"_s);
        QCOMPARE(QFile::exists(prt), !yes);
        QCOMPARE(ProtoEntries.count(), yes ? 0 : 4);
        QCOMPARE(Child<QTreeView>(&form, u"lvProto"_s)->model()->rowCount(), yes ? 0 : 4);
        if (!yes) return;
        QCOMPARE(Child<QComboBox>(&form, u"clFilter"_s)->currentIndex(), 0);
        QCOMPARE(m_user.sounds(), QStringList{u"SystemAsterisk"_s});
        Child<QToolButton>(&form, u"btnProtoDel"_s)->click();
        QCOMPARE(m_user.questions().back().prompt, u"Das Protokoll ist leer..."_s);
        FlushProtocol(); // nothing pending writes the file again
        QVERIFY(!QFile::exists(prt));
    }

    void zoomAndLanguage() {
        MakeProtocol();
        frmStowaway form;
        form.Form_Load();
        form.show();
        auto* zoom = Child<QToolButton>(&form, u"imgZoomProto"_s);
        zoom->click();
        QVERIFY(Child<QWidget>(&form, u"frFolders"_s)->isHidden());
        QCOMPARE(zoom->property("Picture").toString(), u"ArrowsUp"_s);
        QVERIFY(Child<QLabel>(&form, u"lblProtoDate"_s)->isVisible());
        // The language switch zooms back first and refills the lists once.
        form.SwitchLanguage(1);
        QVERIFY(!Child<QWidget>(&form, u"frFolders"_s)->isHidden());
        QCOMPARE(zoom->property("Picture").toString(), u"ArrowsDown"_s);
        auto* clFilter = Child<QComboBox>(&form, u"clFilter"_s);
        QCOMPARE(clFilter->count(), 10);
        QCOMPARE(clFilter->itemText(5), u"file name"_s);
        QCOMPARE(Child<QComboBox>(&form, u"clSelect"_s)->itemText(0), u"<All>"_s);
        QCOMPARE(Child<QTreeView>(&form, u"lvProto"_s)->model()->headerData(2, Qt::Horizontal),
                 QVariant(u"From"_s));
        QCOMPARE(Child<QListWidget>(&form, u"lstWatchFolders"_s)->count(),
                 int(WatchFolders.count()));
    }

  private:
    ScriptedUserInteraction m_user;
    std::shared_ptr<FakeMailSession> m_session;
};

STOWAWAY_GUI_TEST_MAIN(TestWatchPage)
#include "test_watch_page.moc"
