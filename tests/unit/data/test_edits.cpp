// What the edit functions answer the options dialog beyond what the command line shows: input
// boxes cut an overlong text as the record does, a duplicate names the record that holds the
// name, and a refused edit leaves the table and its changed flag alone.
#include "data/defaults.h"
#include "data/globals.h"
#include "data/project_edits.h"
#include "data/rule_edits.h"
#include "support/builders.h"
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

// Every field's check, in the order a user might set them: a good value is stored as the field
// shows it, a bad one is refused with a message and changes nothing.
TEST_F(Edits, RuleFieldsStoreGoodValuesAndRefuseBadOnes) {
    BlockedFormats.append(AddBlockedFormat(u"EXE"_s, {}, true));
    Rules.append(MakeRule(u"All attachments"_s, SaveBy::Folder, u"/srv/saved"_s));
    const struct {
        QString field;
        QString value;
        QString stored; // empty: refused, and `message` is the refusal's
        QString message = {};
    } rows[] = {
        // Switches.
        {u"Active"_s, u"0"_s, u"0"_s},
        {u"hyperlink"_s, u"1"_s, u"1"_s},
        {u"Notify"_s, u"yes"_s, {}, u"Notify takes 1 (yes) or 0 (no)"_s},
        // Codes, by number or word; SaveFormat by the rule's SaveBy.
        {u"SaveBy"_s, u"Recipient"_s, u"2"_s},
        {u"SaveFormat"_s, u"address"_s, u"1"_s},
        {u"SaveFormat"_s,
         u"yyyy-mm"_s,
         {},
         u"SaveFormat of a rule that saves by recipient takes 0 name or 1 address"_s},
        {u"SaveBy"_s,
         u"5"_s,
         {},
         u"SaveBy takes 0 date, 1 sender, 2 recipient, 3 project or 4 folder"_s},
        {u"SaveBy"_s, u"0"_s, u"0"_s},
        {u"SaveFormat"_s, u"3"_s, u"3"_s},
        {u"FileExists"_s, u"date-time"_s, u"3"_s},
        {u"FileExists"_s,
         u"4"_s,
         {},
         u"FileExists takes 0 ask, 1 replace, 2 number or 3 date-time"_s},
        // Texts: length, code page, meaning.
        {u"Subject"_s, u"Angebot 5 €"_s, u"Angebot 5 €"_s},
        {u"Subject"_s, QString(101, u'x'), {}, u"Subject takes at most 100 characters"_s},
        {u"Name"_s, u"Zoë's 日本"_s, {}, u"Name takes only characters of Windows-1252"_s},
        {u"Name"_s, u" "_s, {}, u"Name can't be empty"_s},
        {u"FileFormat"_s, u"exe"_s, u"EXE"_s},
        {u"FileFormat"_s, u".pdf"_s, {}, u"FileFormat takes a file extension without its dot"_s},
        {u"FileFormat"_s, u"TOOLNG"_s, {}, u"FileFormat takes at most 5 characters"_s},
        {u"Folder"_s, u"/srv/here"_s, u"/srv/here"_s},
        {u"Folder"_s, u""_s, {}, u"Folder can't be empty"_s},
        // A program for a blocked format that the rule tests.
        {u"Execute"_s, u"xdg-open '%1'"_s, u"xdg-open '%1'"_s},
        {u"CheckFileFormat"_s, u"1"_s, u"1"_s},
        {u"Execute"_s, u"xdg-open '%1'"_s, {}, u"files of this type are blocked"_s},
        {u"Execute"_s, u""_s, u""_s},
    };
    for (const auto& row : rows) {
        const std::string line = S(row.field + u' ' + row.value);
        const std::optional<RuleField> field = FindRuleField(row.field);
        ASSERT_TRUE(field) << line;
        const udtRule before = Rules[1];
        Rules.changed = false;
        const EditResult result = SetRuleField(1, *field, row.value);
        EXPECT_EQ(result.ok(), !row.stored.isEmpty() || row.message.isEmpty()) << line;
        EXPECT_TRUE(result.message.contains(row.message)) << line << ": " << S(result.message);
        if (result.ok())
            EXPECT_EQ(RuleFieldValue(Rules[1], *field), row.stored) << line;
        else
            EXPECT_TRUE(Rules[1] == before && !Rules.changed) << line;
    }
}
