// The small common dialogs and the Qt side of the user-interaction seam: frmMsgBoxEx's buttons
// and results, frmInpBoxEx's text, the popup drop-down's marks and numbers, the store's folder
// picker, the plain message box's answers, the file filter, and file icons by name alone.
#include "gui_test.h"

#include "common/file_icons.h"
#include "dialogs/common/msgboxex.h"
#include "dialogs/common/pick_folder.h"
#include "dialogs/common/popup_dropdown.h"
#include "dialogs/icons.h"
#include "dialogs/qt_interaction.h"

#include <QFile>
#include <QMessageBox>

Q_DECLARE_METATYPE(MsgButtons)
Q_DECLARE_METATYPE(MsgAnswer)

class TestCommonDialogs : public GuiTest {
    Q_OBJECT
  private slots:
    void msgBoxExResult_data() {
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<bool>("tick");
        QTest::addColumn<int>("cancelBtn");
        QTest::addColumn<QStringList>("actions");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("expected");
        const QStringList two{u"Ok"_s, u"Öffnen"_s};
        const QStringList three{u"A"_s, u"B"_s, u"C"_s};
        QTest::newRow("second of two") << two << false << -1 << QStringList{"btn2"} << "110" << 2;
        QTest::newRow("fourth caption never seen")
            << QStringList{"A", "B", "C", "D"} << false << -1 << QStringList{"btn3"} << "111" << 3;
        QTest::newRow("empty second keeps the numbers")
            << QStringList{"A", "", "C"} << false << -1 << QStringList{"btn3"} << "101" << 3;
        QTest::newRow("close box") << three << false << -1 << QStringList{"close"} << "111" << 99;
        QTest::newRow("ticked, third")
            << three << true << -1 << QStringList{"btn3"} << "111" << 259;
        QTest::newRow("ticked, close box")
            << three << true << -1 << QStringList{"close"} << "111" << 355;
        QTest::newRow("escape without cancel button does nothing")
            << three << false << -1 << QStringList{"escape", "btn1"} << "111" << 1;
        QTest::newRow("escape with cancel button 2")
            << three << false << 2 << QStringList{"escape"} << "111" << 2;
    }
    void msgBoxExResult() {
        QFETCH(QStringList, buttons);
        QFETCH(bool, tick);
        QFETCH(int, cancelBtn);
        QFETCH(QStringList, actions);
        QFETCH(QString, shown);
        QFETCH(int, expected);
        MsgBoxExRequest request;
        request.prompt = u"Prompt"_s;
        request.buttons = buttons;
        request.dontShow = tick;
        request.cancelBtn = cancelBtn;
        QString seen;
        WhenShown<frmMsgBoxEx>([&](frmMsgBoxEx* box) {
            for (int i = 1; i <= 3; ++i)
                seen += box->findChild<QPushButton*>(u"btn%1"_s.arg(i))->isVisible() ? u'1' : u'0';
            if (tick) box->findChild<QCheckBox*>(u"cbDontShow"_s)->setChecked(true);
            for (const QString& action : actions) {
                if (action == u"close"_s)
                    box->close();
                else if (action == u"escape"_s)
                    QTest::keyClick(box, Qt::Key_Escape);
                else
                    box->findChild<QPushButton*>(action)->click();
            }
        });
        QCOMPARE(MsgBoxEx(request), expected);
        QCOMPARE(seen, shown);
    }

    void msgBoxExLayout_data() {
        QTest::addColumn<bool>("dontShow");
        QTest::addColumn<QString>("help");
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("checkText");
        QTest::newRow("no help, German")
            << true << QString() << 0 << "Diese Meldung nicht mehr anzeigen";
        QTest::newRow("blank help, English")
            << true << "   " << 1 << "Don't show this message again";
        QTest::newRow("help text") << false << "Some help" << 0 << "";
    }
    void msgBoxExLayout() {
        QFETCH(bool, dontShow);
        QFETCH(QString, help);
        QFETCH(int, language);
        QFETCH(QString, checkText);
        CurrLang = static_cast<uint8_t>(language);
        frmMsgBoxEx box;
        MsgBoxExRequest request;
        request.prompt = u"Prompt"_s;
        request.buttons = {u"Ok"_s};
        request.dontShow = dontShow;
        request.helpText = help;
        request.title = u"Title"_s;
        box.prepare(request);
        box.show();
        auto* cb = box.findChild<QCheckBox*>(u"cbDontShow"_s);
        QCOMPARE(cb->isVisible(), dontShow);
        if (dontShow) QCOMPARE(cb->text(), checkText);
        QCOMPARE(box.findChild<QPushButton*>(u"btnHelp"_s)->isVisible(), !help.trimmed().isEmpty());
        QCOMPARE(box.windowTitle(), u"Title"_s);
    }

    void inpBoxExAnswer_data() {
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
    void inpBoxExAnswer() {
        QFETCH(QString, typed);
        QFETCH(QString, action);
        QFETCH(QString, expected);
        InpBoxExRequest request;
        request.prompt = u"Extension?"_s;
        request.defaultText = u"ZIP"_s;
        WhenShown<frmInpBoxEx>([&](frmInpBoxEx* box) {
            auto* input = box->findChild<QLineEdit*>(u"txtInput"_s);
            if (!typed.isEmpty()) QTest::keyClicks(input, typed);
            if (action == u"close"_s)
                box->close();
            else
                box->findChild<QPushButton*>(action)->click();
        });
        QCOMPARE(InpBoxEx(request), expected);
    }

    void popupChosen_data() {
        QTest::addColumn<QStringList>("items");
        QTest::addColumn<QStringList>("clicks"); // entry texts as shown; "" presses Escape
        QTest::addColumn<int>("expected");
        QTest::addColumn<QString>("ticked");
        QTest::newRow("plain") << QStringList{"a", "b", "c"} << QStringList{"b"} << 2 << "";
        QTest::newRow("separator has no number")
            << QStringList{"a", "=", "b"} << QStringList{"b"} << 2 << "";
        QTest::newRow("ticked entry")
            << QStringList{"+Alle Ordner", "Ordner"} << QStringList{"Ordner"} << 2 << "Alle Ordner";
        QTest::newRow("new column") << QStringList{"a", ">b"} << QStringList{"b"} << 2 << "";
        QTest::newRow("greyed can't be chosen")
            << QStringList{"~a", "b"} << QStringList{"a", ""} << 0 << "";
        QTest::newRow("greyed keeps its number")
            << QStringList{"~a", "b"} << QStringList{"b"} << 2 << "";
        QTest::newRow("cancelled") << QStringList{"a"} << QStringList{""} << 0 << "";
    }
    void popupChosen() {
        QFETCH(QStringList, items);
        QFETCH(QStringList, clicks);
        QFETCH(int, expected);
        QFETCH(QString, ticked);
        QWidget window;
        auto* anchor = new QPushButton(u"v"_s, &window);
        anchor->move(40, 30);
        window.resize(300, 200);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QPoint at;
        QString tickedSeen;
        WhenShown<QMenu>(
            [&](QMenu* menu) {
                at = menu->pos();
                for (QAction* a : menu->actions())
                    if (a->isChecked()) tickedSeen = a->text();
                for (const QString& text : clicks) {
                    if (text.isEmpty()) {
                        QTest::keyClick(menu, Qt::Key_Escape);
                        continue;
                    }
                    for (QAction* a : menu->actions())
                        if (a->text() == text)
                            QTest::mouseClick(menu, Qt::LeftButton, {},
                                              menu->actionGeometry(a).center());
                }
            },
            true);
        QCOMPARE(ShowPopupDropdown(items, {}, anchor), expected);
        QCOMPARE(tickedSeen, ticked);
        QCOMPARE(at, anchor->mapToGlobal(anchor->rect().bottomLeft()));
    }

    void popupEmptyShowsNothing() { QCOMPARE(ShowPopupDropdown({}), 0); }

    void pickFolderPath_data() {
        QTest::addColumn<QStringList>("route"); // item texts from the top
        QTest::addColumn<bool>("accept");
        QTest::addColumn<QString>("expected");
        QTest::newRow("a sub-folder")
            << QStringList{"Maildir", "Work", "Sub"} << true << "Maildir|Work|Sub";
        QTest::newRow("the inbox") << QStringList{"Maildir", "Inbox"} << true << "Maildir|Inbox";
        QTest::newRow("the store itself is no folder") << QStringList{"Maildir"} << true << "";
        QTest::newRow("cancelled") << QStringList{"Maildir", "Inbox"} << false << "";
    }
    void pickFolderPath() {
        QFETCH(QStringList, route);
        QFETCH(bool, accept);
        QFETCH(QString, expected);
        FakeMailSession session;
        FakeFolderPtr store = session.addStore(u"Maildir"_s, u"/mail"_s);
        store->addFolder(u"Inbox"_s);
        store->addFolder(u"Work"_s)->addFolder(u"Sub"_s);
        SetMailSession(&session);
        WhenShown<dlgPickFolder>([&](dlgPickFolder* dialog) {
            auto* tree = dialog->findChild<QTreeWidget*>(u"tvFolders"_s);
            QTreeWidgetItem* item = nullptr;
            for (const QString& text : route) {
                QTreeWidgetItem* parent = item ? item : tree->invisibleRootItem();
                item = nullptr;
                for (int i = 0; i < parent->childCount(); ++i)
                    if (parent->child(i)->text(0) == text) item = parent->child(i);
                if (!item) break;
            }
            if (item) tree->setCurrentItem(item);
            if (accept)
                dialog->accept();
            else
                dialog->reject();
        });
        QCOMPARE(PickMailFolder(u"Ordner"_s), expected);
        SetMailSession(nullptr);
    }

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
        QCOMPARE(user.messageBox(u"Prompt"_s, buttons, MsgIcon::Question,
                                 u"Quillworks Stowaway v2.50"_s),
                 expected);
        QCOMPARE(title, u"Quillworks Stowaway v2.50"_s);
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

    // Every kind of file has an icon of its own, never the generic one, with the desktop's
    // icon theme and with none at all; an existing file gets the icon of its name, not of its
    // content.
    void fileIconsByKind_data() {
        QTest::addColumn<bool>("theme");
        QTest::newRow("desktop's icon theme") << true;
        QTest::newRow("no icon theme") << false;
    }
    void fileIconsByKind() {
        QFETCH(bool, theme);
        SetUpIconTheme();
        if (!theme) QIcon::setThemeSearchPaths({TestEnv::home() + u"/no-icons"_s});
        auto image = [](const QString& name) {
            return GetFileIcon(257, name).pixmap(16, 16).toImage();
        };
        QList<QImage> seen{image(u"data.qqqzz"_s)};
        for (const char* name :
             {"Rechnung.pdf", "scan.png", "backup.zip", "notes.txt", "song.mp3", "clip.mp4",
              "table.ods", "slides.pptx", "card.vcf", "invite.ics", "forwarded.eml", "setup.exe"}) {
            const QImage icon = image(QString::fromLatin1(name));
            QVERIFY2(!seen.contains(icon), name);
            seen << icon;
        }
        const QString path = TestEnv::home() + u"/looks-like.png"_s;
        QFile f(path);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("plain text, not a picture");
        f.close();
        QCOMPARE(image(path), image(u"other.png"_s));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestCommonDialogs)
#include "test_common_dialogs.moc"
