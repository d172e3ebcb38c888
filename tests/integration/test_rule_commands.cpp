// The rule and project commands: the real program edits the real data files, checks every value
// before it writes, and changes nothing when one is wrong.
#include "stowaway_command.h"

#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/rule_edits.h"
#include "unit/data/data_test_util.h"

using namespace Qt::StringLiterals;

namespace {

class RuleCommandsTest : public StowawayCommandTest {
  protected:
    static QByteArray rls() { return ReadAll(DataFilePath(u".rls"_s)); }
    static QMap<QString, QByteArray> dataFiles() {
        QMap<QString, QByteArray> files;
        for (const QString& ext : {u".rls"_s, u".prj"_s, u".fld"_s, u".prt"_s, u".ble"_s})
            files.insert(ext, ReadAll(DataFilePath(ext)));
        return files;
    }
    // A command that must work.
    QString ok(const QStringList& args) {
        const CommandResult r = runStowaway(args);
        EXPECT_EQ(r.exitCode, 0) << S(args.join(u' ')) << '\n' << S(r.err);
        return r.out;
    }
    // The rules as the program left them on disk.
    static std::vector<udtRule> rulesOnDisk() {
        ResetGlobals();
        LoadData([] { return InboxInfo{}; });
        return {Rules.begin(), Rules.end()};
    }
};

// The checks themselves are the edit functions'; the command names the field in any case,
// takes a relative folder as the caller's, and refuses with nothing changed.
TEST_F(RuleCommandsTest, RuleSetStoresGoodValuesAndRefusesBadOnesWithNothingChanged) {
    useOnlyRule(SaveAllRule(TestEnv::home() + u"/Saved"_s));
    const QString rule = u"All attachments"_s;
    struct Row {
        QString field;
        QString value;
        QString stored; // empty: refused, and `message` is in the error
        QString message = {};
    } rows[] = {
        {u"hyperlink"_s, u"1"_s, u"1"_s},
        {u"FileExists"_s,
         u"4"_s,
         {},
         u"FileExists takes 0 ask, 1 replace, 2 number or 3 date-time"_s},
        {u"Folder"_s, u"Saved/Here"_s, QDir::current().absoluteFilePath(u"Saved/Here"_s)},
        {u"Folder"_s, u"~/Invoices"_s, TestEnv::home() + u"/Invoices"_s},
        {u"Colour"_s, u"1"_s, {}, u"a rule has no field 'Colour'"_s},
    };
    for (const Row& row : rows) {
        const QByteArray before = rls();
        const CommandResult r = runStowaway({u"rule"_s, u"set"_s, rule, row.field, row.value});
        const std::string line = S(row.field + u' ' + row.value);
        if (row.stored.isEmpty() && !row.message.isEmpty()) {
            EXPECT_EQ(r.exitCode, 2) << line;
            EXPECT_TRUE(r.err.contains(row.message)) << line << '\n' << S(r.err);
            EXPECT_EQ(rls(), before) << line;
            continue;
        }
        EXPECT_EQ(r.exitCode, 0) << line << '\n' << S(r.err);
        const std::optional<RuleField> field = FindRuleField(row.field);
        ASSERT_TRUE(field) << line;
        EXPECT_EQ(RuleFieldValue(rulesOnDisk().at(0), *field), row.stored) << line;
    }
}

TEST_F(RuleCommandsTest, EditedRulesLandAtTheOffsetsOfTheRecordLayout) {
    // An empty table on disk: no sample rules.
    QDir().mkpath(QFileInfo(DataFilePath(u".rls"_s)).path());
    WriteAll(DataFilePath(u".rls"_s), {});
    ok({u"rule"_s, u"add"_s, u"Rechnungen März"_s});
    // Its fields never set list as empty: no program to run.
    EXPECT_FALSE(ok({u"rules"_s}).contains(u"then:"_s));
    for (const auto& [field, value] : {std::pair{u"CheckSubj"_s, u"1"_s},
                                       {u"Subject"_s, u"Angebot €"_s},
                                       {u"SaveBy"_s, u"sender"_s},
                                       {u"SaveFormat"_s, u"address"_s},
                                       {u"FileExists"_s, u"number"_s},
                                       {u"Execute"_s, u"xdg-open '%1'"_s},
                                       {u"Hyperlink"_s, u"1"_s}})
        ok({u"rule"_s, u"set"_s, u"rechnungen märz"_s, field, value});
    // A fresh record: what no one set holds NULs (Sender, Recipient, FileFormat, reserved).
    const QByteArray expected =
        Record(1025, {{0, Le16(-1)},
                      {2, Padded("Rechnungen M\xe4rz", 100)},
                      {406, Le16(-1)},
                      {408, Padded("Angebot \x80", 100)},
                      {515, Le16(1)},
                      {517, Le16(1)},
                      {519, Padded(GetSpecialFolder(Csidl::Personal).toUtf8(), 200)},
                      {719, QByteArray(1, '\x02')},
                      {769, Padded("xdg-open '%1'", 250)},
                      {1023, Le16(-1)}});
    EXPECT_EQ(rls(), expected);

    // A second rule moved to the top, the first refused a move up, then the second removed.
    ok({u"rule"_s, u"add"_s, u"B"_s});
    ok({u"rule"_s, u"move"_s, u"B"_s, u"up"_s});
    EXPECT_EQ(rls().mid(1025), expected);
    const CommandResult top = runStowaway({u"rule"_s, u"move"_s, u"1"_s, u"up"_s});
    EXPECT_EQ(top.exitCode, 2);
    EXPECT_TRUE(top.err.contains(u"rule 'B' is the first one and can't move up"_s)) << S(top.err);
    const CommandResult twice = runStowaway({u"rule"_s, u"add"_s, u"b"_s});
    EXPECT_TRUE(twice.err.contains(u"a rule 'b' exists already"_s)) << S(twice.err);
    ok({u"rule"_s, u"remove"_s, u"1"_s});
    EXPECT_EQ(rls(), expected);
}

TEST_F(RuleCommandsTest, RulesJsonThenImportGivesByteIdenticalDataFilesAndABadFieldChangesNothing) {
    // The samples, a rule as the command line makes it, and one left by another writer: a name
    // padded with NULs and blanks in the reserved bytes.
    const std::vector<udtRule> samples = SampleRules();
    useRules({samples.begin() + 1, samples.end()});
    ok({u"rule"_s, u"add"_s, u"  Neu"_s});
    QByteArray foreign = Record(
        1025,
        {{0, Le16(-1)}, {2, "Fremd"}, {519, Padded("/srv/x", 200)}, {720, QByteArray(49, ' ')}});
    QFile file(DataFilePath(u".rls"_s));
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write(foreign);
    file.close();
    ok({u"project"_s, u"add"_s, u"Bau"_s, u"/srv/bau"_s});
    const QMap<QString, QByteArray> before = dataFiles();

    const QString json = TestEnv::home() + u"/rules.json"_s;
    ASSERT_TRUE(WriteAll(json, ok({u"rules"_s, u"--json"_s}).toUtf8()));
    ok({u"rule"_s, u"remove"_s, u"1"_s});
    ok({u"rules"_s, u"import"_s, json});
    EXPECT_TRUE(dataFiles() == before);

    const QByteArray exported = ReadAll(json);
    struct Bad {
        QByteArray from, to;
        QString message;
    } bads[] = {
        {"\"FileExists\": 0", "\"FileExists\": 9", u"rule 1 ('Testregel #1'): FileExists takes"_s},
        {"\"Hyperlink\": false", "\"Colour\": false",
         u"rule 1 ('Testregel #1'): unknown field 'Colour'"_s},
        {"\"Name\": \"Fremd", "\"Name\": \"\xe6\x97\xa5",
         u"rule 6 ('日'): Name takes only characters of Windows-1252"_s},
        {"\"rules\"", "\"regeln\"", u"no list of rules"_s},
    };
    for (const Bad& bad : bads) {
        QByteArray changed = exported;
        changed.replace(changed.indexOf(bad.from), bad.from.size(), bad.to);
        ASSERT_TRUE(WriteAll(json, changed));
        const CommandResult r = runStowaway({u"rules"_s, u"import"_s, json});
        EXPECT_EQ(r.exitCode, 2) << S(bad.message);
        EXPECT_TRUE(r.err.contains(bad.message) && r.err.contains(u"nothing was imported"_s))
            << S(r.err);
        EXPECT_TRUE(dataFiles() == before);
    }
}

TEST_F(RuleCommandsTest, AProjectInUseIsRemovedOnlyWhenTheQuestionIsAnsweredYes) {
    // The sample rule #3 saves into the sample project "Project logos".
    const QString used = u"project logos"_s;
    const CommandResult kept = runStowaway({u"project"_s, u"remove"_s, used});
    EXPECT_EQ(kept.exitCode, 1);
    EXPECT_TRUE(kept.err.contains(u"is used by rule 'Test rule #3'"_s)) << S(kept.err);
    EXPECT_FALSE(QFile::exists(DataFilePath(u".prj"_s))); // the samples are still unsaved

    const CommandResult gone = runStowaway({u"--yes"_s, u"project"_s, u"remove"_s, used});
    EXPECT_EQ(gone.exitCode, 0) << S(gone.err);
    EXPECT_TRUE(gone.err.contains(u"rule 'Test rule #3' saves nothing"_s)) << S(gone.err);
    EXPECT_EQ(ReadAll(DataFilePath(u".prj"_s)).size(), 350);
    // A project not in use goes without a question; a duplicate or relative one is checked.
    const QString documents = GetSpecialFolder(Csidl::Personal);
    EXPECT_TRUE(ok({u"project"_s, u"add"_s, u"Bau"_s, u"Bau"_s})
                    .contains(QDir::current().absoluteFilePath(u"Bau"_s)));
    EXPECT_TRUE(runStowaway({u"project"_s, u"add"_s, u"BAU"_s, documents})
                    .err.contains(u"a project 'BAU' exists already"_s));
    EXPECT_TRUE(ok({u"project"_s, u"folder"_s, u"bau"_s, u"/srv/bau"_s}).contains(u"/srv/bau"_s));
    ok({u"project"_s, u"remove"_s, u"Bau"_s});
    // A rule that comes to save by project takes the first one; leaving, it keeps its folder.
    const QString samplewright = u"Samplewright Inc."_s;
    EXPECT_TRUE(ok({u"rule"_s, u"set"_s, u"1"_s, u"SaveBy"_s, u"project"_s})
                    .contains(u"Folder="_s + samplewright + u'\n'));
    EXPECT_TRUE(ok({u"rule"_s, u"set"_s, u"1"_s, u"SaveBy"_s, u"folder"_s})
                    .contains(u"Folder="_s + documents + u'/' + samplewright + u'\n'));
    EXPECT_EQ(ok({u"projects"_s}),
              u"1. Samplewright Inc.  ->  "_s + documents + u"/Samplewright Inc.\n"_s);
}

TEST_F(RuleCommandsTest, EditsBesideTheServiceAreMadeByItAndReachTheDisk) {
    auto watch = startStowaway({u"watch"_s});
    ASSERT_TRUE(WaitFor(*watch, [&] { return watch->peek(4096).contains("Watching"); }));
    ok({u"rule"_s, u"add"_s, u"Beside"_s});
    ok({u"rule"_s, u"set"_s, u"Beside"_s, u"Subject"_s, u"offer"_s});
    EXPECT_TRUE(ok({u"rules"_s}).contains(u"5. Beside"_s));
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(60000));
    const std::vector<udtRule> rules = rulesOnDisk();
    ASSERT_EQ(rules.size(), 5u);
    EXPECT_EQ(rules.back().Subject.get(), u"offer"_s);
}

} // namespace
