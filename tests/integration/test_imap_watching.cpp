// `stowaway watch` on many mailboxes of a real Dovecot: the connections it holds stay within the
// account's budget, the mailboxes beyond it are looked at in turn, and an IDLE connection the
// server stops answering is given up and made anew.
#include "stowaway_command.h"

#include "data/data_files.h"
#include "data/settings.h"
#include "data/watch_edits.h"
#include "host/imap/imap_session.h"
#include "host/imap/imap_watch.h"
#include "host/maildir/mail_builder.h"
#include "support/dovecot_server.h"

#include <QFile>
#include <QtCore/qtestsupport_core.h>

#include <csignal>
#include <iostream>

using namespace Qt::StringLiterals;

namespace {

// The established connections to `port` on this machine, counted at the clients' end.
int ClientConnections(quint16 port) {
    QProcess ss;
    ss.start(u"ss"_s,
             {u"-Htn"_s, u"state"_s, u"established"_s, u"dport"_s, u"="_s, u":%1"_s.arg(port)});
    return ss.waitForFinished() ? int(ss.readAllStandardOutput().count('\n')) : -1;
}

class ImapWatchingTest : public StowawayCommandTest {
  protected:
    // Dovecot with bob's inbox and 19 more mailboxes.
    void SetUp() override {
        StowawayCommandTest::SetUp();
        for (int i = 1; i <= 18; ++i)
            boxes << u"F%1"_s.arg(i);
        dovecot = std::make_unique<DovecotServer>(TestEnv::home() + u"/dovecot"_s);
        for (const QString& box : boxes + QStringList{u"F18.Sub"_s})
            ASSERT_FALSE(EnsureMaildirFolder(dovecot->maildir(u"bob"_s, box)));
        const QString why = dovecot->start();
        ASSERT_TRUE(why.isEmpty()) << S(why);
    }
    // Appends a mail with one file, as another mail program would.
    void append(const QByteArray& box, const QString& file) {
        ImapConnection conn({u"127.0.0.1"_s, dovecot->port(), ImapSecurity::Plain});
        LoginJob login("bob", DovecotServer::kPassword);
        AppendJob job(box, {}, {}, BuildSampleMail(MailWithFile(file, file)));
        ASSERT_FALSE(conn.open() || conn.run(login) || conn.run(job));
    }

    QStringList boxes{u"INBOX"_s};
    std::unique_ptr<DovecotServer> dovecot;
    const QString target = TestEnv::home() + u"/Saved"_s;
};

// 20 watched mailboxes on the default budget of 5 connections: the inbox and three others
// idle, the rest are looked at every second (the poll period made short here).
TEST_F(ImapWatchingTest, WatchKeepsToTheConnectionBudgetAndLooksAtTheRestInTurn) {
    useOnlyRule(SaveAllRule(target));
    SaveSetting(u"ImapPollSeconds"_s, u"1"_s);
    // All but one written into the list here; `folders add` takes that one by the server's name.
    const QString storeId = u"imap://bob@127.0.0.1:%1"_s.arg(dovecot->port());
    for (const QString& box : boxes)
        ASSERT_TRUE(AddWatchFolder(box, u"bob@127.0.0.1|"_s + box, box, storeId).ok());
    SaveData();
    const QStringList store{u"--store"_s, dovecot->url(u"bob"_s), u"--password-command"_s,
                            u"echo secret"_s};
    const CommandResult added =
        runStowaway(store + QStringList{u"folders"_s, u"add"_s, u"F18.Sub"_s});
    ASSERT_EQ(added.exitCode, 0) << S(added.err);

    auto watch = startStowaway(store + QStringList{u"watch"_s});
    QByteArray said;
    ASSERT_TRUE(WaitFor(*watch, [&] {
        said += watch->readAllStandardOutput();
        return said.contains("Watching 20 folder(s)");
    })) << said.toStdString();
    const int connections = ClientConnections(dovecot->port());
    std::cout << "watch on 20 mailboxes holds " << connections << " connection(s)\n";
    EXPECT_EQ(connections, 5);
    append("F18.Sub", u"polled.pdf"_s);
    EXPECT_TRUE(WaitFor(*watch, [&] { return QFile::exists(target + u"/polled.pdf"_s); }))
        << S(logText());
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(30000));
}

// The server stops answering (its processes stopped, the connection left open, as a network
// that drops it without a word): the missing answer to DONE ends the connection, and a new one
// takes the mail that came meanwhile. The deadlines are made short here.
TEST_F(ImapWatchingTest, AnIdleConnectionThatFallsSilentIsMadeAnew) {
    ImapMailboxWatch::idleRenewMs = 300;
    ImapMailboxWatch::answerMs = 500;
    const auto session = OpenImapStore(dovecot->url(u"bob"_s), u"echo secret"_s);
    ASSERT_TRUE(session.ok()) << S(session.error.description);
    const ImapStorePtr store = static_cast<ImapSession&>(*session.value).store();
    int reported = 0;
    const auto inbox = std::make_shared<ImapWatchPool>(store)->subscribe(
        store->mailboxByName(u"INBOX"_s).value, [&](const MailItemPtr&) { ++reported; });
    ASSERT_TRUE(inbox.ok()) << S(inbox.error.description);
    QTest::qWait(1000); // IDLE runs, renewed a few times
    ::kill(pid_t(-dovecot->processGroup()), SIGSTOP);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return logText().contains(u"no answer to DONE within"_s); }, 20000))
        << S(logText());
    ::kill(pid_t(-dovecot->processGroup()), SIGCONT);
    append("INBOX", u"meanwhile.pdf"_s);
    // Reported by the new connection: the old one is closed.
    EXPECT_TRUE(QTest::qWaitFor([&] { return reported == 1; }, 20000)) << S(logText());
    ImapMailboxWatch::idleRenewMs = 80 * 1000;
    ImapMailboxWatch::answerMs = 30 * 1000;
}

} // namespace
