// frmProjects: adding, renaming, deleting projects and their folders, through the one set of
// project edits that the command line uses too.
#include "gui_test.h"

#include "data/project_edits.h"
#include "data/rule_edits.h"
#include "dialogs/forms/frm_projects.h"

namespace {
QStringList ProjectNames() {
    QStringList names;
    for (int i = 1; i <= Projects.count(); ++i)
        names << Projects[static_cast<size_t>(i)].Name.get();
    return names;
}
struct FolderRow {
    const char* name;
    QString how;
    QString input;
    QString stored;
    QString box;
};
} // namespace

class TestFrmProjects : public GuiTest {
    Q_OBJECT
  private slots:
    void init() {
        GuiTest::init();
        AddProject(u"Kunden"_s, u"/srv/kunden"_s);
        AddProject(u"Lieferanten"_s, u"/srv/lief"_s);
        // A rule that saves into "Lieferanten".
        AddRule(u"Bestellungen"_s);
        SetRuleField(1, RuleField::SaveBy, u"project"_s);
        SetRuleField(1, RuleField::Folder, u"Lieferanten"_s);
        Projects.changed = false;
    }

    void edits_data() {
        QTest::addColumn<QString>("button");
        QTest::addColumn<int>("row");
        QTest::addColumn<QStringList>("answers"); // texts, then "yes"/"no" for the question
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<int>("selected");
        QTest::addColumn<QString>("box");
        QTest::newRow("add") << "btnProjectAdd" << 0 << QStringList{"Intern"}
                             << QStringList{"Kunden", "Lieferanten", "Intern"} << 2 << "";
        QTest::newRow("add in other case selects the existing one")
            << "btnProjectAdd" << 0 << QStringList{"lieferanten"}
            << QStringList{"Kunden", "Lieferanten"} << 1
            << "Ein Projekt 'lieferanten' existiert bereits...";
        QTest::newRow("add cancelled") << "btnProjectAdd" << 0 << QStringList{""}
                                       << QStringList{"Kunden", "Lieferanten"} << 0 << "";
        QTest::newRow("rename") << "btnProjectEdit" << 1 << QStringList{"Zulieferer"}
                                << QStringList{"Kunden", "Zulieferer"} << 1 << "";
        QTest::newRow("delete in use, answered no")
            << "btnProjectDel" << 1 << QStringList{"no"} << QStringList{"Kunden", "Lieferanten"}
            << 1 << "Projekt 'Lieferanten' wirklich löschen?";
        QTest::newRow("delete in use, answered yes")
            << "btnProjectDel" << 1 << QStringList{"yes"} << QStringList{"Kunden"} << 0
            << "Projekt 'Lieferanten' wirklich löschen?";
    }
    void edits() {
        QFETCH(QString, button);
        QFETCH(int, row);
        QFETCH(QStringList, answers);
        QFETCH(QStringList, names);
        QFETCH(int, selected);
        QFETCH(QString, box);
        frmProjects form;
        form.lstProjects->setCurrentRow(row);
        for (const QString& a : answers) {
            if (a == u"yes" || a == u"no")
                m_user.answerMessageBox(a == u"yes" ? MsgAnswer::Yes : MsgAnswer::No);
            else
                m_user.answerText(a);
        }
        Child<QToolButton>(&form, button)->click();
        QCOMPARE(ProjectNames(), names);
        QCOMPARE(form.lstProjects->currentRow(), selected);
        QCOMPARE(form.txtFolder->text(), Projects[static_cast<size_t>(selected + 1)].Folder.get());
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox), box);
        QCOMPARE(Projects.changed, (names != QStringList{"Kunden", "Lieferanten"}));
        // The rule keeps the name it had, whatever became of the project.
        QCOMPARE(Rules[1].Folder.get(), u"Lieferanten"_s);
    }

    void deletingTheLastLeavesAnEmptyForm() {
        frmProjects form;
        m_user.answerMessageBox(MsgAnswer::Yes);
        m_user.answerMessageBox(MsgAnswer::Yes);
        form.btnProjectDel->click();
        form.btnProjectDel->click();
        QCOMPARE(form.lstProjects->count(), 0);
        QCOMPARE(form.txtFolder->text(), QString());
        form.btnProjectDel->click(); // nothing selected: nothing asked
        QCOMPARE(m_user.questions().size(), size_t(2));
    }

    void folder_data() {
        // clang-format off
        Rows<FolderRow>({
            {"typed", "type", "/srv/neu", "/srv/neu", ""},
            {"typed empty is refused", "type", "", "/srv/kunden", "Feld darf nicht leer sein!"},
            {"chosen", "choose", "/srv/gewaehlt", "/srv/gewaehlt", ""},
            {"choice cancelled", "choose", "", "/srv/kunden", ""},
        });
        // clang-format on
    }
    void folder() {
        QFETCH(FolderRow, row);
        auto [name, how, input, stored, box] = row;
        frmProjects form(u"KUNDEN"_s);
        QCOMPARE(form.lstProjects->currentRow(), 0);
        if (how == u"type") {
            form.txtFolder->setText(input);
            form.txtFolder->setModified(true);
            emit form.txtFolder->editingFinished();
        } else {
            m_user.answerText(input);
            form.btnChooseFolder->click();
        }
        QCOMPARE(Projects[1].Folder.get(), stored);
        QCOMPARE(Projects.changed, stored != u"/srv/kunden");
        QCOMPARE(LastPrompt(m_user, AskedQuestion::Kind::MessageBox), box);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestFrmProjects)
#include "test_frm_projects.moc"
