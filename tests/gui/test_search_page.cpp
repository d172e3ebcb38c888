// The Search tab over target folders made by the test: the folder list from the rules, the walk
// up to an existing folder, the file list, the name search, the file and protocol facts, the
// buttons, and "send" through a recording xdg-email on the PATH.
#include "gui_test.h"

#include "common/dates.h"
#include "dialogs/models/found_files_model.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/search_page.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>

using namespace Qt::StringLiterals;

namespace {
void Write(const QString& path, qint64 size) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    QVERIFY(f.resize(size)); // sparse: a file past 4 GB costs nothing
}

udtRule Rule(int16_t saveBy, const QString& folder) {
    udtRule rule;
    rule.Active = vbTrue;
    rule.SaveBy = saveBy;
    rule.Folder = folder;
    return rule;
}

QStringList Column(const QAbstractItemModel* model, int column) {
    QStringList texts;
    for (int r = 0; r < model->rowCount(); ++r)
        texts << model->index(r, column).data().toString();
    return texts;
}
} // namespace

class TestSearchPage : public QObject {
    Q_OBJECT
  private slots:
    void initTestCase() {
        QLocale::setDefault(QLocale::c());
        // A mail program that writes down what it was asked, and fails when told to.
        m_bin = m_binDir.path();
        QFile script(m_bin + u"/xdg-email"_s);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"$XDG_EMAIL_LOG\"\n"
                     "exit \"${XDG_EMAIL_EXIT:-0}\"\n");
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeUser);
        qputenv("PATH", (m_bin + u":"_s).toLocal8Bit() + qgetenv("PATH"));
    }
    void init() {
        TestEnv::resetAll();
        m_user = ScriptedUserInteraction();
        SetUserInteraction(&m_user);
        m_a = TestEnv::home() + u"/Targets/A"_s;
        Write(m_a + u"/b.pdf"_s, 0);
        Write(m_a + u"/a.txt"_s, 2048);
        Write(m_a + u"/.hidden.pdf"_s, 10);
        Write(m_a + u"/noext"_s, 1);
        Write(m_a + u"/Sub.dir/inner.pdf"_s, 1);
        Write(m_a + u"/Sub2/deep.pdf"_s, 1);
        Write(m_a + u"/Sub2/.secret/x.pdf"_s, 1);
        m_log = m_bin + u"/xdg-email.log"_s;
        QFile::remove(m_log);
        qputenv("XDG_EMAIL_LOG", m_log.toLocal8Bit());
        qunsetenv("XDG_EMAIL_EXIT");
        Rules.assign({Rule(SaveBy::Folder, m_a), Rule(SaveBy::Date, m_a.toUpper()),
                      Rule(SaveBy::Project, u"Proj"_s), Rule(SaveBy::Project, u"Gone"_s),
                      Rule(SaveBy::Folder, m_a)});
        udtProject project;
        project.Name = u"PROJ"_s;
        project.Folder = TestEnv::home() + u"/Targets/P/not yet"_s;
        Projects.assign({project});
        m_form = std::make_unique<frmStowaway>();
    }
    void cleanup() { m_form.reset(); }

    void folderListAndWalkUp_data() {
        QTest::addColumn<int>("lang");
        QTest::addColumn<QString>("message");
        QTest::newRow("de") << 0
                            << "Mindestens ein Ordner wurde nicht im angegebenen Pfad gefunden:\n"
                               "%1\nVermutlich ist der Pfad einer Regel zugeordnet, aber es "
                               "wurden noch keine Dateien darin gespeichert...";
        QTest::newRow("en") << 1
                            << "At least one folder not found in specified path:\n%1\nProbably "
                               "the path is assigned to a rule but 'til now there are no files "
                               "saved to it...";
    }
    void folderListAndWalkUp() {
        QFETCH(int, lang);
        QFETCH(QString, message);
        SearchPage* page = open(lang);
        // The same folder in other case once; the deleted project's rule gives nothing.
        QStringList items;
        for (int i = 0; i < page->lstStowawayFolders->count(); ++i)
            items << page->lstStowawayFolders->item(i)->text();
        const QString missing = TestEnv::home() + u"/Targets/P/not yet"_s;
        QCOMPARE(items, (QStringList{m_a, missing}));
        QCOMPARE(page->currentFolder(), m_a);
        QVERIFY(m_user.questions().empty());
        page->lstStowawayFolders->setCurrentRow(1);
        QCOMPARE(page->currentFolder(), TestEnv::home() + u"/Targets"_s);
        QCOMPARE(m_user.questions().size(), size_t(1));
        QCOMPARE(m_user.questions().front().prompt, message.arg(missing));
    }

    void fileList() {
        Write(m_a + u"/huge.iso"_s, 5'000'000'000LL);
        SearchPage* page = open(1);
        const QAbstractItemModel* model = page->lvFiles->model();
        // Up, folders, files, each sorted; hidden files never; an empty file is 1 Kb; sizes
        // past 4 GB.
        QCOMPARE(Column(model, 0), (QStringList{u".."_s, u"Sub.dir"_s, u"Sub2"_s, u"a.txt"_s,
                                                u"b.pdf"_s, u"huge.iso"_s, u"noext"_s}));
        QCOMPARE(Column(model, 2), (QStringList{QString(), QString(), QString(), u"3 Kb"_s,
                                                u"1 Kb"_s, u"4,882,813 Kb"_s, u"1 Kb"_s}));
        QCOMPARE(model->index(3, 0).data(Qt::ToolTipRole).toString(), m_a + u"/a.txt"_s);
        QVERIFY(!model->index(3, 1).data().toString().isEmpty());
        select(page, u"huge.iso"_s);
        QVERIFY(page->lblSearchFileInfos[0]->toolTip().startsWith(
            u"Size: 5,000,000,000 Bytes, Created: "_s));
        // Into a folder and back up.
        page->lvFiles->doubleClicked(model->index(2, 0));
        QCOMPARE(page->currentFolder(), m_a + u"/Sub2"_s);
        QCOMPARE(Column(model, 0), (QStringList{u".."_s, u"deep.pdf"_s}));
        page->lvFiles->doubleClicked(model->index(0, 0));
        QCOMPARE(page->currentFolder(), m_a);
    }

    void search_data() {
        QTest::addColumn<QString>("mask");
        QTest::addColumn<QStringList>("found"); // below the folder A
        QTest::newRow("a mask over the subfolders")
            << "*.PDF" << QStringList{u"/Sub.dir/inner.pdf"_s, u"/Sub2/deep.pdf"_s, u"/b.pdf"_s};
        QTest::newRow("a whole name") << "deep.pdf" << QStringList{u"/Sub2/deep.pdf"_s};
        QTest::newRow("a word is no mask") << "deep" << QStringList{};
        QTest::newRow("hidden files are never found") << "x.pdf" << QStringList{};
    }
    void search() {
        QFETCH(QString, mask);
        QFETCH(QStringList, found);
        SearchPage* page = open(0);
        page->txtSearch->setText(mask);
        page->btnSearch->click();
        if (found.isEmpty()) {
            QCOMPARE(m_user.questions().back().prompt, u"Keine passenden Anhänge gefunden!"_s);
            QVERIFY(page->lstFoundFiles->isHidden());
            return;
        }
        QStringList paths;
        for (int i = 0; i < page->lstFoundFiles->count(); ++i)
            paths << page->lstFoundFiles->item(i)->text().mid(m_a.size());
        paths.sort();
        QCOMPARE(paths, found);
        QVERIFY(page->lvFiles->isHidden());
        QCOMPARE(page->selectedPath(), page->lstFoundFiles->item(0)->text());
        page->btnSearchBack->click();
        QVERIFY(page->lstFoundFiles->isHidden());
        QVERIFY(!page->lvFiles->isHidden());
        QVERIFY(!page->btnSearchBack->isEnabled());
    }

    void buttons_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("opened"); // below A; "!" and a text: a box with that text
        QTest::newRow("view a file") << "a.txt"
                                     << "btnSearchView"
                                     << "/a.txt";
        QTest::newRow("a file without extension is taken for a folder") << "noext"
                                                                        << "btnSearchOpenFolder"
                                                                        << "/noext";
        QTest::newRow("the folder of a file") << "a.txt"
                                              << "btnSearchOpenFolder"
                                              << "";
        QTest::newRow("a folder with a dot is taken for a file") << "Sub.dir"
                                                                 << "btnSearchOpenFolder"
                                                                 << "";
        QTest::newRow("the upward entry opens the folder") << ".."
                                                           << "btnSearchView"
                                                           << "";
        QTest::newRow("a blocked type") << "b.pdf"
                                        << "btnSearchView"
                                        << "!Dateien dieses Typs sind blockiert und können "
                                           "nicht geöffnet werden!";
        QTest::newRow("rename") << "a.txt"
                                << "btnSearchRenFile"
                                << "!Keine Datei markiert!";
        QTest::newRow("delete") << "a.txt"
                                << "btnSearchDelFile"
                                << "!Keine Datei markiert!";
    }
    void buttons() {
        QFETCH(QString, name);
        QFETCH(QString, button);
        QFETCH(QString, opened);
        udtBlockedFormat pdf;
        pdf.Active = vbTrue;
        pdf.Extension = u"PDF"_s;
        BlockedFormats.assign({pdf});
        SearchPage* page = open(0);
        select(page, name);
        page->findChild<QToolButton*>(button)->click();
        if (opened.startsWith(u'!')) {
            QCOMPARE(m_user.questions().back().prompt, opened.mid(1));
            QVERIFY(m_user.opened().isEmpty());
        } else {
            QCOMPARE(m_user.opened(), QStringList{m_a + opened});
        }
        QVERIFY(QFileInfo::exists(m_a + u"/a.txt"_s));
    }

    void protocolFacts_data() {
        QTest::addColumn<int>("lang");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("facts");
        QTest::addColumn<QString>("senderTip");
        QTest::newRow("de") << 0 << "a.txt"
                            << "Empfangen am 15.03.2024 von Anna Berg"
                            << "Anna Berg (anna@berg.example)";
        QTest::newRow("en") << 1 << "a.txt"
                            << "Received on %1 from Anna Berg"
                            << "Anna Berg (anna@berg.example)";
        QTest::newRow("nothing recorded") << 0 << "noext"
                                          << "Nichts protokolliert..."
                                          << "";
    }
    void protocolFacts() {
        QFETCH(int, lang);
        QFETCH(QString, name);
        QFETCH(QString, facts);
        QFETCH(QString, senderTip);
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
        m_form->InitProtoList();
        SearchPage* page = open(lang);
        select(page, name);
        // The long date in the language's own form.
        QCOMPARE(page->lblSearchFileInfos[1]->text(),
                 facts.replace(u"%1"_s, FormatDate(newer.Date, u"Long Date"_s)));
        QCOMPARE(page->lblSearchFileInfos[1]->toolTip(), senderTip);
        QCOMPARE(page->lblSearchFileInfos[0]->text(), page->AdjustedPath(m_a + u'/' + name));
    }

    void adjustedPathKeepsBothEnds() {
        SearchPage* page = open(0);
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
        QTest::addColumn<QStringList>("ticked"); // names in lvFiles; "found:" a search result
        QTest::addColumn<QString>("exitCode");
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QStringList>("arguments");
        const QString subject = u"Weitergeleitete Anhänge..."_s;
        QTest::newRow("two files")
            << QStringList{u"b.pdf"_s, u"a.txt"_s} << "0"
            << "" << QStringList{u"--subject"_s, subject,       u"--attach"_s,
                                 u"%1/a.txt"_s,  u"--attach"_s, u"%1/b.pdf"_s};
        QTest::newRow("selected search results")
            << QStringList{u"found:deep.pdf"_s} << "0"
            << "" << QStringList{u"--subject"_s, subject, u"--attach"_s, u"%1/Sub2/deep.pdf"_s};
        QTest::newRow("a folder") << QStringList{u"a.txt"_s, u"Sub2"_s} << "0"
                                  << "Es können nur Dateien versendet werden, keine Ordner..."
                                  << QStringList{};
        QTest::newRow("nothing ticked") << QStringList{} << "0"
                                        << "Keine Datei(en) markiert!" << QStringList{};
        QTest::newRow("no mail program")
            << QStringList{u"a.txt"_s} << "3"
            << "Es ist kein E-Mail-Programm eingerichtet, das die Nachricht öffnen kann "
               "(xdg-email: kein Programm gefunden)."
            << QStringList{u"--subject"_s, subject, u"--attach"_s, u"%1/a.txt"_s};
    }
    void send() {
        QFETCH(QStringList, ticked);
        QFETCH(QString, exitCode);
        QFETCH(QString, prompt);
        QFETCH(QStringList, arguments);
        qputenv("XDG_EMAIL_EXIT", exitCode.toLatin1());
        SearchPage* page = open(0);
        for (const QString& name : ticked) {
            if (name.startsWith(u"found:"_s)) {
                page->txtSearch->setText(name.mid(6));
                page->btnSearch->click();
                page->lstFoundFiles->item(0)->setSelected(true);
                continue;
            }
            const int row = int(Column(page->lvFiles->model(), 0).indexOf(name));
            page->lvFiles->model()->setData(page->lvFiles->model()->index(row, 0), Qt::Checked,
                                            Qt::CheckStateRole);
        }
        page->btnSearchSend->click();
        QCOMPARE(m_user.questions().empty() ? QString() : m_user.questions().back().prompt, prompt);
        QFile log(m_log);
        QStringList got;
        if (log.open(QIODevice::ReadOnly))
            got = QString::fromUtf8(log.readAll()).split(u'\n', Qt::SkipEmptyParts);
        for (QString& a : arguments)
            a.replace(u"%1"_s, m_a);
        QCOMPARE(got, arguments);
    }

  private:
    SearchPage* open(int lang) {
        SaveSetting(u"CurrLang"_s, QString::number(lang));
        CurrLang = uint8_t(lang);
        m_form->Form_Load();
        m_form->showTab(2);
        return m_form->searchPage();
    }
    void select(SearchPage* page, const QString& name) {
        const int row = int(Column(page->lvFiles->model(), 0).indexOf(name));
        QVERIFY(row >= 0);
        page->lvFiles->setCurrentIndex(page->lvFiles->model()->index(row, 0));
    }

    ScriptedUserInteraction m_user;
    QTemporaryDir m_binDir;
    QString m_bin;
    QString m_log;
    QString m_a;
    std::unique_ptr<frmStowaway> m_form;
};

STOWAWAY_GUI_TEST_MAIN(TestSearchPage)
#include "test_search_page.moc"
