// The program opens the store the test made and reads the data the test's home holds.
#include "stowaway_command.h"

#include "data/data_files.h"

using namespace Qt::StringLiterals;

TEST_F(StowawayCommandTest, FoldersListsTheStoreTreeAndTheDefaultWatchedInbox) {
    folder(u".Work"_s);
    const CommandResult r = runStowaway({u"folders"_s});
    EXPECT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_TRUE(r.out.contains(u"\n  Work  (0 mails)"_s)) << S(r.out);
    EXPECT_TRUE(r.out.contains(u"1. Mail|Inbox"_s)) << S(r.out);
    EXPECT_TRUE(logText().contains(u"! Startup Stowaway"_s)) << S(logText());
}

TEST_F(StowawayCommandTest, ARunWithoutRulesSaysWhyNothingHappened) {
    // An empty rule table on disk stays empty (no sample rules).
    QDir().mkpath(QFileInfo(DataFilePath(u".rls"_s)).path());
    QFile(DataFilePath(u".rls"_s)).open(QIODevice::WriteOnly);
    for (const char* command : {"run", "test"}) {
        const CommandResult r = runStowaway({QString::fromLatin1(command), u"--all"_s});
        EXPECT_EQ(r.exitCode, 3) << command;
        EXPECT_TRUE(r.err.contains(u"there are no rules"_s)) << S(r.err);
    }
}

TEST_F(StowawayCommandTest, CommandLinesAreCheckedAndSayWhatIsWrong) {
    const QString missing = TestEnv::home() + u"/NoMail"_s;
    environment = {u"LANGUAGE=en"_s};
    struct Row {
        QStringList args;
        int exitCode;
        QString inErr; // empty: nothing on stderr
        QString inOut;
    } rows[] = {
        {{u"--maildir="_s, u"rules"_s}, 2, u"--maildir needs a path"_s, {}},
        {{u"projects"_s, u"extra"_s},
         2,
         u"projects takes no arguments; 'extra' is one too many"_s,
         {}},
        {{u"blocked"_s, u"extra"_s}, 2, u"usage: stowaway blocked [add EXT DESCRIPTION"_s, {}},
        {{u"rules"_s, u"extra"_s}, 2, u"usage: stowaway rules [--json | import FILE.json]"_s, {}},
        {{u"settings"_s, u"SWActive"_s, u"yes"_s}, 2, u"SWActive takes 1 (yes) or 0 (no)"_s, {}},
        {{u"settings"_s, u"PaceSeconds"_s, u"abc"_s},
         2,
         u"PaceSeconds takes a number of seconds from 0 to 60"_s,
         {}},
        {{u"settings"_s, u"NotifyTime"_s, u"-5"_s},
         2,
         u"NotifyTime takes a whole number from 1 to 99"_s,
         {}},
        {{u"settings"_s, u"CurrLang"_s, u"7"_s}, 2, u"(0 German, 1 English)"_s, {}},
        {{u"settings"_s, u"Nonsense"_s, u"1"_s}, 2, u"unknown setting 'Nonsense'"_s, {}},
        {{u"--version"_s}, 0, {}, u"Quillworks Stowaway v2.50\nstowaway 2.50 (commit "_s},
        {{u"settings"_s, u"swactive"_s, u"1"_s}, 0, {}, u"SWActive=1"_s},
        {{u"settings"_s, u"MarkMail"_s, u"2"_s}, 0, {}, u"MarkMail=2"_s}, // the subject's end
        {{u"settings"_s, u"MarkMail"_s, u"3"_s},
         2,
         u"MarkMail takes a whole number from 0 to 2"_s,
         {}},
        {{u"settings"_s, u"PaceSeconds"_s}, 0, {}, u"0.5\n"_s}, // the bad value above left it
        // Without a store, the data are shown without a word about it.
        {{u"--maildir"_s, missing, u"rules"_s}, 0, {}, u"1. "_s},
        {{u"--maildir"_s, missing, u"settings"_s}, 0, {}, u"SWActive=1"_s},
        // The only watched folder needs no name.
        {{u"test"_s},
         0,
         u"No unread and unprocessed mails found in 'Inbox'"_s,
         u"Test run on 'Inbox'"_s},
    };
    for (const Row& row : rows) {
        const CommandResult r = runStowaway(row.args);
        const std::string line = S(row.args.join(u' '));
        EXPECT_EQ(r.exitCode, row.exitCode) << line << '\n' << S(r.err);
        if (row.inErr.isEmpty())
            EXPECT_EQ(r.err, QString()) << line;
        else
            EXPECT_TRUE(r.err.contains(row.inErr)) << line << '\n' << S(r.err);
        EXPECT_TRUE(r.out.contains(row.inOut)) << line << '\n' << S(r.out);
    }
    // A command that needs the store says once that it cannot open it.
    const CommandResult r = runStowaway({u"--maildir"_s, missing, u"folders"_s});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err.count(missing), 1) << S(r.err);
}

TEST_F(StowawayCommandTest, AFirstStartSpeaksTheDesktopsLanguageUntilOneIsChosen) {
    struct Row {
        const char* locale;
        QStringList args;
        QString out;
    } rows[] = {
        {"de_DE.UTF-8", {u"settings"_s, u"CurrLang"_s}, u"0\n"_s},
        {"C.UTF-8", {u"settings"_s, u"CurrLang"_s}, u"1\n"_s},
        {"de_DE.UTF-8", {u"rules"_s}, u"Testregel #1"_s},
        {"en_GB.UTF-8", {u"rules"_s}, u"Test rule #1"_s},
        {"C.UTF-8", {u"settings"_s, u"CurrLang"_s, u"0"_s}, u"CurrLang=0"_s},
        {"en_GB.UTF-8", {u"rules"_s}, u"Testregel #1"_s}, // chosen: the locale no longer counts
    };
    for (const Row& row : rows) {
        environment = {u"LANGUAGE="_s, u"LC_ALL="_s + QLatin1String(row.locale)};
        const CommandResult r = runStowaway(row.args);
        EXPECT_EQ(r.exitCode, 0) << row.locale << S(r.err);
        EXPECT_TRUE(r.out.contains(row.out)) << row.locale << ' ' << S(r.out);
    }
}

TEST_F(StowawayCommandTest, TheDemoStartsAfreshEachTimeAndLeavesTheUsersDataAlone) {
    environment = {u"PATH=/nonexistent"_s}; // the sample rule that opens a file finds no opener
    QString first;
    for (int round = 0; round < 2; ++round) {
        const CommandResult r = runStowaway({u"demo"_s});
        EXPECT_EQ(r.exitCode, 0) << S(r.err);
        const QString saved = r.out.section(u"\nSaved:\n"_s, 1);
        EXPECT_TRUE(saved.contains(u"Demo/Saved/"_s)) << S(r.out);
        if (round == 0)
            first = saved;
        else
            EXPECT_EQ(saved, first); // the same files again, not numbered copies
    }
    EXPECT_FALSE(QFile::exists(DataFilePath(u".prt"_s)));
    EXPECT_FALSE(QFile::exists(DataFilePath(u".rls"_s)));
}

// How such a tree is listed, and what is no store, the Maildir tests show; here a run on one.
TEST_F(StowawayCommandTest, ARunOnAnMbsyncTreeTakesItsInbox) {
    root = TestEnv::home() + u"/Mail/account"_s; // INBOX beside the other folders, none on top
    const QString target = TestEnv::home() + u"/Saved"_s;
    deliver(MailWithFile(u"m"_s, u"a.pdf"_s), u"INBOX"_s);
    folder(u"Sent"_s);
    useOnlyRule(SaveAllRule(target));
    const CommandResult r = runStowaway({u"run"_s, u"1"_s});
    EXPECT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_EQ(QStringList(filesUnder(target).keys()), QStringList{u"a.pdf"_s});
}
