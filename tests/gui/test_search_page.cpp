// The Search tab over target folders made by the test: the folder list from the rules, the walk
// up to an existing folder, the file list, the name search, the file and protocol facts, the
// buttons, and "send" through a recording xdg-email on the PATH.
#include "gui_test.h"

#include "common/dates.h"
#include "dialogs/options/search_page.h"

namespace {
void Write(const QString& path, qint64 size) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    QVERIFY(f.resize(size)); // sparse: a file past 4 GB costs nothing
}

struct LangRow {
    const char* name;
    int lang;
    QString walkUp, size, dates; // dates: "prefix|rest"
};
struct SearchRow {
    const char* name;
    QString mask;
    QStringList found; // below the folder A
};
struct ButtonRow {
    const char* name;
    QString file, button;
    QString opened; // below A; "!" and a text: a box with that text
};
struct ProtoRow {
    const char* name;
    int lang;
    QString file, facts, senderTip;
};
struct SendRow {
    const char* name;
    QStringList ticked; // names in lvFiles; "found:" a search result
    QByteArray exitCode;
    QString prompt;
    QStringList attached; // below A
};
} // namespace

class TestSearchPage : public GuiTest {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale::c());
        // A mail program that writes down what it was asked, and fails when told to.
        QFile script(m_binDir.path() + u"/xdg-email"_s);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$XDG_EMAIL_LOG\"\n"
                     "exit \"${XDG_EMAIL_EXIT:-0}\"\n");
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeUser);
        qputenv("PATH", (m_binDir.path() + u":"_s).toLocal8Bit() + qgetenv("PATH"));
        m_log = m_binDir.path() + u"/xdg-email.log"_s;
        qputenv("XDG_EMAIL_LOG", m_log.toLocal8Bit());
    }
    void init() {
        GuiTest::init();
        m_a = TestEnv::home() + u"/Targets/A"_s;
        Write(m_a + u"/b.pdf"_s, 0);
        Write(m_a + u"/a.txt"_s, 2048);
        Write(m_a + u"/.hidden.pdf"_s, 10);
        Write(m_a + u"/noext"_s, 1);
        Write(m_a + u"/Sub.dir/inner.pdf"_s, 1);
        Write(m_a + u"/Sub2/deep.pdf"_s, 1);
        Write(m_a + u"/Sub2/.secret/x.pdf"_s, 1);
        QFile::remove(m_log);
        qunsetenv("XDG_EMAIL_EXIT");
        Rules.assign({MakeRule({}, SaveBy::Folder, m_a), MakeRule({}, SaveBy::Date, m_a.toUpper()),
                      MakeRule({}, SaveBy::Project, u"Proj"_s),
                      MakeRule({}, SaveBy::Project, u"Gone"_s), MakeRule({}, SaveBy::Folder, m_a)});
        Projects.assign({MakeProject(u"PROJ"_s, TestEnv::home() + u"/Targets/P/not yet"_s)});
    }

    void folderListWalkUpAndFileFacts_data() {
        Rows<LangRow>(
            {{"de", 0,
              u"Mindestens ein Ordner wurde nicht im angegebenen Pfad gefunden:\n%1\nVermutlich "
              u"ist der Pfad einer Regel zugeordnet, aber es wurden noch keine Dateien darin "
              u"gespeichert..."_s,
              u"Größe: 5,000,000,000 Bytes"_s,
              u"Angelegt: |, Letzter Zugriff: %1, Letzte Änderung: %1"_s},
             {"en", 1,
              u"At least one folder not found in specified path:\n%1\nProbably the path is "
              u"assigned to a rule but 'til now there are no files saved to it..."_s,
              u"Size: 5,000,000,000 Bytes"_s,
              u"Created: |, Last accessed: %1, Last edited: %1"_s}});
    }
    void folderListWalkUpAndFileFacts() {
        QFETCH(LangRow, row);
        Write(m_a + u"/huge.iso"_s, 5'000'000'000LL);
        const QDateTime stamp(QDate(2024, 3, 15), QTime(10, 30));
        QFile huge(m_a + u"/huge.iso"_s);
        QVERIFY(huge.open(QIODevice::ReadWrite));
        for (auto kind : {QFileDevice::FileAccessTime, QFileDevice::FileModificationTime})
            QVERIFY(huge.setFileTime(stamp, kind));
        huge.close();
        SearchPage* page = openTab(row.lang);
        // The same folder in other case once; the deleted project's rule gives nothing.
        const QString missing = TestEnv::home() + u"/Targets/P/not yet"_s;
        QCOMPARE(Texts(page->lstStowawayFolders), (QStringList{m_a, missing}));
        QCOMPARE(page->currentFolder(), m_a);
        // The hidden folder list box holds the folder: the folders down to it, its subfolders.
        QVERIFY(page->Dir1->isHidden());
        QCOMPARE(page->Dir1->currentItem()->text(), m_a);
        QCOMPARE(Texts(page->Dir1).mid(page->Dir1->currentRow()),
                 (QStringList{m_a, m_a + u"/Sub.dir"_s, m_a + u"/Sub2"_s}));
        QVERIFY(m_user.questions().empty());

        // All four facts of a file, and none of them left over from it on the upward entry.
        select(page, u"huge.iso"_s);
        // The creation time is the file system's own; the other two are set above.
        const QString dates = page->lblSearchFileInfos[3]->text();
        QVERIFY2(dates.startsWith(row.dates.section(u'|', 0, 0)), qPrintable(dates));
        QVERIFY2(dates.endsWith(row.dates.section(u'|', 1).arg(
                     FormatDate(DateToOle(stamp), u"General Date"_s))),
                 qPrintable(dates));
        QCOMPARE(page->lblSearchFileInfos[2]->text(), row.size);
        QCOMPARE(page->lblSearchFileInfos[0]->toolTip(), row.size + u", "_s + dates);
        QCOMPARE(page->lblSearchFileInfos[1]->text(),
                 row.lang ? u"Nothing recorded..."_s : u"Nichts protokolliert..."_s);
        select(page, u".."_s);
        QVERIFY(page->lblSearchFileInfos[2]->text() != row.size);

        page->lstStowawayFolders->setCurrentRow(1);
        QCOMPARE(page->currentFolder(), TestEnv::home() + u"/Targets"_s);
        QCOMPARE(page->Dir1->currentItem()->text(), page->currentFolder());
        QCOMPARE(LastPrompt(m_user), row.walkUp.arg(missing));
    }

    void fileList() {
        Write(m_a + u"/huge.iso"_s, 5'000'000'000LL);
        SearchPage* page = openTab(1);
        const QAbstractItemModel* model = page->lvFiles->model();
        // Up, folders, files, each sorted; hidden files never; an empty file is 1 Kb; sizes
        // past 4 GB.
        QCOMPARE(Texts(model), (QStringList{u".."_s, u"Sub.dir"_s, u"Sub2"_s, u"a.txt"_s,
                                            u"b.pdf"_s, u"huge.iso"_s, u"noext"_s}));
        QCOMPARE(Texts(model, 2), (QStringList{QString(), QString(), QString(), u"3 Kb"_s,
                                               u"1 Kb"_s, u"4,882,813 Kb"_s, u"1 Kb"_s}));
        QCOMPARE(model->index(3, 0).data(Qt::ToolTipRole).toString(), m_a + u"/a.txt"_s);
        QVERIFY(!model->index(3, 1).data().toString().isEmpty());
        // Into a folder and back up.
        page->lvFiles->doubleClicked(model->index(2, 0));
        QCOMPARE(page->currentFolder(), m_a + u"/Sub2"_s);
        QCOMPARE(Texts(model), (QStringList{u".."_s, u"deep.pdf"_s}));
        page->lvFiles->doubleClicked(model->index(0, 0));
        QCOMPARE(page->currentFolder(), m_a);
    }

    void search_data() {
        // clang-format off
        Rows<SearchRow>({
            {"a mask over the subfolders", u"*.PDF"_s,
             {u"/Sub.dir/inner.pdf"_s, u"/Sub2/deep.pdf"_s, u"/b.pdf"_s}},
            {"a whole name", u"deep.pdf"_s, {u"/Sub2/deep.pdf"_s}},
            {"a word is no mask", u"deep"_s, {}},
            {"hidden files are never found", u"x.pdf"_s, {}},
        });
        // clang-format on
    }
    void search() {
        QFETCH(SearchRow, row);
        SearchPage* page = openTab(0);
        page->txtSearch->setText(row.mask);
        page->btnSearch->click();
        if (row.found.isEmpty()) {
            QCOMPARE(LastPrompt(m_user), u"Keine passenden Anhänge gefunden!"_s);
            QVERIFY(page->lstFoundFiles->isHidden());
            return;
        }
        QStringList paths;
        for (const QString& path : Texts(page->lstFoundFiles))
            paths << path.mid(m_a.size());
        paths.sort();
        QCOMPARE(paths, row.found);
        QVERIFY(page->lvFiles->isHidden());
        QCOMPARE(page->selectedPath(), page->lstFoundFiles->item(0)->text());
        page->btnSearchBack->click();
        QVERIFY(page->lstFoundFiles->isHidden());
        QVERIFY(!page->lvFiles->isHidden());
        QVERIFY(!page->btnSearchBack->isEnabled());
    }

    void buttons_data() {
        const QString none = u"!Keine Datei markiert!"_s;
        Rows<ButtonRow>(
            {{"view a file", u"a.txt"_s, u"btnSearchView"_s, u"/a.txt"_s},
             {"a file without extension is taken for a folder", u"noext"_s,
              u"btnSearchOpenFolder"_s, u"/noext"_s},
             {"the folder of a file", u"a.txt"_s, u"btnSearchOpenFolder"_s, u""_s},
             {"a folder with a dot is taken for a file", u"Sub.dir"_s, u"btnSearchOpenFolder"_s,
              u""_s},
             {"the upward entry opens the folder", u".."_s, u"btnSearchView"_s, u""_s},
             {"a blocked type", u"b.pdf"_s, u"btnSearchView"_s,
              u"!Dateien dieses Typs sind blockiert und können nicht geöffnet werden!"_s},
             {"rename", u"a.txt"_s, u"btnSearchRenFile"_s, none},
             {"delete", u"a.txt"_s, u"btnSearchDelFile"_s, none}});
    }
    void buttons() {
        QFETCH(ButtonRow, row);
        BlockedFormats.assign({AddBlockedFormat(u"PDF"_s, {}, false)});
        SearchPage* page = openTab(0);
        select(page, row.file);
        Child<QToolButton>(page, row.button)->click();
        if (row.opened.startsWith(u'!')) {
            QCOMPARE(LastPrompt(m_user), row.opened.mid(1));
            QVERIFY(m_user.opened().isEmpty());
        } else {
            QCOMPARE(m_user.opened(), QStringList{m_a + row.opened});
        }
        QVERIFY(QFileInfo::exists(m_a + u"/a.txt"_s));
    }

    void protocolFacts_data() {
        const QString anna = u"Anna Berg (anna@berg.example)"_s;
        // clang-format off
        Rows<ProtoRow>({
            {"de", 0, u"a.txt"_s, u"Empfangen am 15.03.2024 von Anna Berg"_s, anna},
            {"en", 1, u"a.txt"_s, u"Received on %1 from Anna Berg"_s, anna},
            {"nothing recorded", 0, u"noext"_s, u"Nichts protokolliert..."_s, u""_s},
        });
        // clang-format on
    }
    void protocolFacts() {
        QFETCH(ProtoRow, row);
        // Newest first: the first match wins, compared in lower case.
        udtProtoEntry newer;
        newer.Date = DateToOle(QDateTime(QDate(2024, 3, 15), QTime(10, 0)));
        newer.Attachment() = u"A.TXT"_s;
        newer.Folder() = m_a.toUpper() + u'/';
        newer.Sender() = u"Anna Berg (anna@berg.example)"_s;
        udtProtoEntry older = newer;
        older.Sender() = u"Bert Cole"_s;
        ProtoEntries.assign({udtProtoEntry{}, newer, older});
        ProtoEntries[1].Attachment() = u"a.txt"_s;
        ProtoEntries[1].Folder() = u"/elsewhere"_s;
        SearchPage* page = openTab(row.lang);
        m_form->InitProtoList();
        select(page, row.file);
        // The long date in the language's own form.
        QCOMPARE(page->lblSearchFileInfos[1]->text(),
                 row.facts.replace(u"%1"_s, FormatDate(newer.Date, u"Long Date"_s)));
        QCOMPARE(page->lblSearchFileInfos[1]->toolTip(), row.senderTip);
        QCOMPARE(m_form->currentTab(), 2);
        QCOMPARE(page->lblSearchFileInfos[0]->text(), page->AdjustedPath(m_a + u'/' + row.file));
    }

    void adjustedPathKeepsBothEnds() {
        SearchPage* page = openTab(0);
        page->lblSearchFileInfos[0]->setFixedWidth(120);
        const QString path = u"/home/someone/a/very/long/path/to/the/saved/attachments/file.pdf"_s;
        const QString shown = page->AdjustedPath(path);
        QVERIFY(shown.contains(u"[...]"_s));
        QVERIFY(path.startsWith(shown.section(u"[...]"_s, 0, 0)));
        QVERIFY(path.endsWith(shown.section(u"[...]"_s, 1)));
        QVERIFY(page->lblSearchFileInfos[0]->fontMetrics().horizontalAdvance(shown) <= 120);
        QCOMPARE(page->AdjustedPath(u"/a.pdf"_s), u"/a.pdf"_s);
    }

    void send_data() {
        Rows<SendRow>(
            {{"two files", {u"b.pdf"_s, u"a.txt"_s}, "0", u""_s, {u"/a.txt"_s, u"/b.pdf"_s}},
             {"selected search results", {u"found:deep.pdf"_s}, "0", u""_s, {u"/Sub2/deep.pdf"_s}},
             {"a folder",
              {u"a.txt"_s, u"Sub2"_s},
              "0",
              u"Es können nur Dateien versendet werden, keine Ordner..."_s,
              {}},
             {"nothing ticked", {}, "0", u"Keine Datei(en) markiert!"_s, {}},
             {"no mail program",
              {u"a.txt"_s},
              "3",
              u"Es ist kein E-Mail-Programm eingerichtet, das die Nachricht öffnen kann "
              u"(xdg-email: kein Programm gefunden)."_s,
              {u"/a.txt"_s}}});
    }
    void send() {
        QFETCH(SendRow, row);
        qputenv("XDG_EMAIL_EXIT", row.exitCode);
        SearchPage* page = openTab(0);
        for (const QString& name : row.ticked) {
            if (name.startsWith(u"found:"_s)) {
                page->txtSearch->setText(name.mid(6));
                page->btnSearch->click();
                page->lstFoundFiles->item(0)->setSelected(true);
                continue;
            }
            QAbstractItemModel* model = page->lvFiles->model();
            model->setData(model->index(int(Texts(model).indexOf(name)), 0), Qt::Checked,
                           Qt::CheckStateRole);
        }
        page->btnSearchSend->click();
        QCOMPARE(LastPrompt(m_user), row.prompt);
        QFile log(m_log);
        QStringList got;
        if (log.open(QIODevice::ReadOnly))
            got = QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
        QStringList expected;
        if (!row.attached.isEmpty()) expected << u"--subject"_s << u"Weitergeleitete Anhänge..."_s;
        for (const QString& file : row.attached)
            expected << u"--attach"_s << m_a + file;
        QCOMPARE(got, expected);
    }

  private:
    SearchPage* openTab(int lang) { return open(lang, 2).searchPage(); }
    void select(SearchPage* page, const QString& name) {
        const int row = int(Texts(page->lvFiles->model()).indexOf(name));
        QVERIFY(row >= 0);
        page->lvFiles->setCurrentIndex(page->lvFiles->model()->index(row, 0));
    }

    QTemporaryDir m_binDir;
    QString m_log;
    QString m_a;
};

STOWAWAY_GUI_TEST_MAIN(TestSearchPage)
#include "test_search_page.moc"
