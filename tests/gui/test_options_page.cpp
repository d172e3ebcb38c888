// The Options tab: the blocked formats' list and its add and delete rules, the notification's
// enabling and test, and the LOG buttons.
#include "gui_test.h"

#include "data/defaults.h"
#include "data/protocol.h"
#include "dialogs/options/options_page.h"

#include <QClipboard>
#include <QGuiApplication>

namespace {
QTreeWidgetItem* RowOf(QTreeWidget* list, const QString& text) {
    const QList<QTreeWidgetItem*> found = list->findItems(text, Qt::MatchExactly, 0);
    return found.isEmpty() ? nullptr : found.back();
}
struct BlockedAddRow {
    const char* name;
    QString answer;
    QString rowText; // the new row, "" for none
    QString stored;  // the new record's extension, "" for none
    QString said;
};
struct NotificationEnablingRow {
    const char* name;
    int option;
    bool test;
    bool time;
};
struct LogButtonsRow {
    const char* name;
    QString button;
    bool exists;
    QString said;
    bool existsAfter;
};
} // namespace

class TestOptionsPage : public GuiTest {
    Q_OBJECT
  private slots:
    void init() {
        GuiTest::init();
        std::vector<udtBlockedFormat> blocked = DefaultBlockedFormats();
        blocked.erase(blocked.begin()); // the defaults' empty row 0
        BlockedFormats.assign(std::move(blocked));
    }

    // Adding: the answer, and what follows in the list and the table.
    void blockedAdd_data() {
        // clang-format off
        Rows<BlockedAddRow>({
            {"a new one", "zip", " ZIP", "ZIP", ""},
            {"four letters: all shown, three stored", "tool", " TOOL", "TOO", ""},
            {"a path is no extension", "../x", "", "", "'../X' ist keine Dateierweiterung."},
            {"cancelled", "", "", "", ""},
        });
        // clang-format on
    }
    void blockedAdd() {
        QFETCH(BlockedAddRow, row);
        auto [name, answer, rowText, stored, said] = row;
        open(0, 4);
        auto* list = ctl<QTreeWidget>(u"lvBlocked"_s);
        QCOMPARE(list->topLevelItemCount(), 51);
        m_user.answerText(answer);
        ctl<QToolButton>(u"btnBlockExtAdd"_s)->click();
        QCOMPARE(list->topLevelItemCount(), rowText.isEmpty() ? 51 : 52);
        QCOMPARE(BlockedFormats.count(), stored.isEmpty() ? 51 : 52);
        QCOMPARE(BlockedFormats.changed, !stored.isEmpty());
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox), said);
        if (rowText.isEmpty()) return;
        QTreeWidgetItem* added = list->topLevelItem(51);
        QCOMPARE(added->text(0), rowText);
        QCOMPARE(added->checkState(0), Qt::Checked);
        QCOMPARE(list->currentItem(), added);
        QVERIFY(!added->font(0).bold()); // the standard style until the next load
        QCOMPARE(BlockedFormats[52].Extension.get(), stored);
        QVERIFY(!IsTrue(BlockedFormats[52].System));
        QVERIFY(IsTrue(BlockedFormats[52].Active));
        QVERIFY(ctl<QToolButton>(u"btnBlockExtDel"_s)->isEnabled());
    }

    void blockedDelete_data() {
        QTest::addColumn<QString>("row");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<bool>("yes");
        QTest::addColumn<int>("countAfter");
        QTest::newRow("a built-in row can't be deleted") << " EXE" << false << true << 52;
        QTest::newRow("a user row, answered no") << " ZIP" << true << false << 52;
        QTest::newRow("a user row, answered yes") << " ZIP" << true << true << 51;
    }
    void blockedDelete() {
        QFETCH(QString, row);
        QFETCH(bool, enabled);
        QFETCH(bool, yes);
        QFETCH(int, countAfter);
        BlockedFormats.append(AddBlockedFormat(u"ZIP"_s, u"Archiv"_s, false));
        open(0, 4);
        auto* list = ctl<QTreeWidget>(u"lvBlocked"_s);
        QTreeWidgetItem* item = RowOf(list, row);
        QVERIFY(item);
        QCOMPARE(item->font(0).bold(), enabled); // the user's rows: bold and blue
        list->setCurrentItem(item);
        auto* del = ctl<QToolButton>(u"btnBlockExtDel"_s);
        QCOMPARE(del->isEnabled(), enabled);
        m_user.answerMessageBox(yes ? MsgAnswer::Yes : MsgAnswer::No);
        del->click();
        QCOMPARE(BlockedFormats.count(), countAfter);
        QCOMPARE(list->topLevelItemCount(), countAfter);
        if (!enabled) return;
        QCOMPARE(m_user.questions().at(0).prompt, u"Blockierung von ' ZIP' wirklich löschen?"_s);
        QCOMPARE(IsFormatBlocked(u"ZIP"_s), !yes);
    }

    void blockedLoadedOnceAndMarks() {
        frmStowaway& form = open();
        auto* list = ctl<QTreeWidget>(u"lvBlocked"_s);
        QCOMPARE(list->topLevelItemCount(), 0); // not before the tab is entered
        form.showTab(4);
        QCOMPARE(list->topLevelItemCount(), 51);
        QCOMPARE(list->topLevelItem(0)->text(0), u" ADE"_s);
        QVERIFY(!list->topLevelItem(0)->icon(0).isNull());
        QVERIFY(!BlockedFormats.changed);
        list->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
        QVERIFY(!IsTrue(BlockedFormats[1].Active));
        QVERIFY(BlockedFormats.changed);
        // A second entry and a language switch leave the list as it is.
        BlockedFormats[2].Description = u"changed"_s;
        form.showTab(0);
        form.showTab(4);
        form.SwitchLanguage(1);
        form.showTab(4);
        QCOMPARE(list->topLevelItemCount(), 51);
        QCOMPARE(list->topLevelItem(1)->text(1), u"Access-Projekt"_s);
        QCOMPARE(list->headerItem()->text(1), u"Descr"_s);
    }

    void notificationEnabling_data() {
        // clang-format off
        Rows<NotificationEnablingRow>({
            {"none", 0, false, false},
            {"message", 1, true, false},
            {"tray", 2, true, true},
        });
        // clang-format on
    }
    void notificationEnabling() {
        QFETCH(NotificationEnablingRow, row);
        auto [name, option, test, time] = row;
        open();
        ctl<QRadioButton>(u"obNoti_%1"_s.arg(option))->click();
        ctl<QRadioButton>(u"obNoti_%1"_s.arg(option))->click(); // from any state
        auto* button = ctl<QPushButton>(u"btnTestNoti"_s);
        QCOMPARE(button->isEnabled(), test);
        QCOMPARE(ctl<QWidget>(u"clSystrayTime"_s)->isEnabled(), time);
        if (!test) return;
        button->click();
        // The sample notification names a file in the documents folder and saves nothing.
        const QString shown = m_user.transcript().join(u'\n');
        QVERIFY2(shown.contains(u"Infos.pdf"_s), qPrintable(shown));
    }

    // The LOG buttons with the file there or not.
    void logButtons_data() {
        // clang-format off
        Rows<LogButtonsRow>({
            {"editor, no file", "btnLOGNotepad", false, "LOG-Datei nicht gefunden...", false},
            {"editor", "btnLOGNotepad", true, "", true},
            {"copy, no file", "btnCopyToClipboard", false, "LOG-Datei nicht gefunden...", false},
            {"copy", "btnCopyToClipboard", true,
             "Inhalt aus LOG-Datei wurde in Zwischenablage kopiert...", true},
            {"delete, no file", "btnDelLOG", false, "LOG-Datei nicht gefunden...", false},
            {"delete", "btnDelLOG", true, LogFilePath() + u"\n\nwirklich löschen?"_s, false},
        });
        // clang-format on
    }
    void logButtons() {
        QFETCH(LogButtonsRow, row);
        auto [name, button, exists, said, existsAfter] = row;
        if (exists) {
            QFile log(LogFilePath());
            QVERIFY(log.open(QIODevice::WriteOnly));
            log.write("01.01.2026 - 10:00:00 - Gr\xfc\xdf"
                      "e\r\n"); // Windows-1252
        }
        open();
        ctl<QToolButton>(button)->click();
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox), said);
        QCOMPARE(QFile::exists(LogFilePath()), existsAfter);
        if (button == u"btnCopyToClipboard"_s && exists)
            QCOMPARE(QGuiApplication::clipboard()->text(), u"01.01.2026 - 10:00:00 - Grüße\r\n"_s);
        if (button == u"btnLOGNotepad"_s && exists)
            QCOMPARE(m_user.opened(), QStringList{LogFilePath()});
    }
};

STOWAWAY_GUI_TEST_MAIN(TestOptionsPage)
#include "test_options_page.moc"
