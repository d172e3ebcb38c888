// What the edit functions answer the options dialog beyond what the command line shows: input
// boxes cut an overlong text as the record does, a duplicate names the record that holds the
// name, and a refused edit leaves the table and its changed flag alone.
#include "data/globals.h"
#include "data/project_edits.h"
#include "data/rule_edits.h"
#include "support/test_env.h"

using namespace Qt::StringLiterals;

class Edits : public FreshState {};

TEST_F(Edits, OverlongTextsAreCutOrRefusedAndDuplicatesNameTheHolder) {
    const QString longName = QString(120, u'n');
    ASSERT_TRUE(AddProject(u"Bau"_s, u"/srv/bau"_s).ok());
    ASSERT_TRUE(AddRule(u"Rechnungen"_s).ok());
    Rules.changed = Projects.changed = false;
    const struct {
        const char* what;
        std::function<EditResult()> edit;
        EditRefusal refusal;
        int index;
    } rows[] = {
        {"rule cut", [&] { return AddRule(longName, Overlong::Cut); }, EditRefusal::None, 2},
        {"rule refused", [&] { return AddRule(longName + u'x'); }, EditRefusal::TooLong, 0},
        {"rule twice", [] { return AddRule(u" RECHNUNGEN "_s); }, EditRefusal::Duplicate, 1},
        {"field cut",
         [] { return SetRuleField(1, RuleField::Subject, QString(101, u's'), Overlong::Cut); },
         EditRefusal::None, 1},
        {"project twice", [] { return AddProject(u"bau"_s, u"/srv/b"_s); }, EditRefusal::Duplicate,
         1},
        {"project cut", [&] { return RenameProject(1, longName, Overlong::Cut); },
         EditRefusal::None, 1},
        {"project folder", [] { return SetProjectFolder(1, u"relative"_s); },
         EditRefusal::Meaningless, 0},
        {"move up", [] { return MoveRule(1, -1); }, EditRefusal::AtEnd, 1},
        {"move down", [] { return MoveRule(1, +1); }, EditRefusal::None, 2},
    };
    for (const auto& row : rows) {
        const std::vector<udtRule> rules = Rules.rows();
        const std::vector<udtProject> projects = Projects.rows();
        Rules.changed = Projects.changed = false;
        const EditResult result = row.edit();
        EXPECT_EQ(result.refusal, row.refusal) << row.what << ": " << result.message.toStdString();
        EXPECT_EQ(result.index, row.index) << row.what;
        if (!result.ok()) {
            EXPECT_FALSE(Rules.changed || Projects.changed) << row.what;
            EXPECT_TRUE(Rules.rows() == rules && Projects.rows() == projects) << row.what;
        }
    }
    EXPECT_EQ(Rules[1].Name.get(), longName.left(100));
    EXPECT_EQ(Rules[2].Subject.get(), QString(100, u's'));
    EXPECT_EQ(Projects[1].Name.get(), longName.left(100));
    EXPECT_EQ(Rules.count(), 2);
    EXPECT_EQ(Projects.count(), 1);
}
