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

TEST_F(StowawayCommandTest, AnMbsyncTreeIsReadWithItsInboxAsTheInbox) {
    root = TestEnv::home() + u"/Mail/account"_s; // INBOX beside the other folders, none on top
    const QString target = TestEnv::home() + u"/Saved"_s;
    SampleMail mail;
    mail.attachments.push_back(SampleAttachment::file(u"a.pdf"_s, "application/pdf", "%PDF"));
    deliver(mail, u"INBOX"_s);
    folder(u"Sent"_s);
    useOnlyRule(SaveAllRule(target));

    CommandResult r = runStowaway({u"folders"_s});
    EXPECT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_TRUE(r.out.contains(u"1. account|INBOX"_s)) << S(r.out);
    r = runStowaway({u"run"_s, u"1"_s});
    EXPECT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_EQ(QStringList(filesUnder(target).keys()), QStringList{u"a.pdf"_s});

    root = TestEnv::home() + u"/Documents"_s;
    QDir().mkpath(root + u"/Letters"_s);
    r = runStowaway({u"folders"_s});
    EXPECT_TRUE(r.err.contains(u"expected a Maildir"_s)) << S(r.err);
}
