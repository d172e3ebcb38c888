// `stowaway watch` on many mailboxes of a real Dovecot: the connections it holds stay within the
// account's budget, the mailboxes beyond it are looked at in turn, and an IDLE connection the
// server stops answering is given up and made anew.
#include "stowaway_command.h"

#include "data/data_files.h"
#include "data/settings.h"
#include "data/watch_edits.h"
#include "host/imap/imap_jobs.h"
#include "host/imap/imap_session.h"
#include "host/imap/imap_watch.h"
#include "support/dovecot_server.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>

#include <csignal>
#include <iostream>

using namespace Qt::StringLiterals;

namespace {

class CreateJob : public ImapJob {
  public:
    explicit CreateJob(QByteArray box) : box_(std::move(box)) {}
    std::vector<ImapArg> command() const override { return {{"CREATE " + box_}}; }
    QByteArray name() const override { return "CREATE"; }

  private:
    QByteArray box_;
};

// The established connections to `port` on this machine, counted at the clients' end.
int ClientConnections(quint16 port) {
    QFile table(u"/proc/net/tcp"_s);
    if (!table.open(QIODevice::ReadOnly)) return -1;
    int count = 0;
    const QByteArray remote = ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
    for (const QByteArray& line : table.readAll().split('\n')) {
        const QList<QByteArray> f = line.simplified().split(' ');
        if (f.size() > 3 && f[2].endsWith(remote) && f[3] == "01") ++count;
    }
    return count;
}

class ImapWatchingTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        dovecot = std::make_unique<DovecotServer>(TestEnv::home() + u"/dovecot"_s);
        const QString why = dovecot->start();
        ASSERT_TRUE(why.isEmpty()) << S(why);
        target = TestEnv::home() + u"/Saved"_s;
    }
    void TearDown() override {
        dovecot.reset();
        StowawayCommandTest::TearDown();
    }
    QStringList storeArgs() const {
        return {u"--store"_s, dovecot->url(u"bob"_s), u"--password-command"_s, u"echo secret"_s};
    }
    // Runs jobs over a connection of the test's own, as another mail program would.
    void runAsOther(std::initializer_list<ImapJob*> jobs) {
        ImapConnection conn({u"127.0.0.1"_s, dovecot->port(), ImapSecurity::Plain});
        ASSERT_FALSE(conn.open());
        LoginJob login("bob", DovecotServer::kPassword);
        ASSERT_FALSE(conn.run(login));
        for (ImapJob* job : jobs) {
            const OpError e = conn.run(*job);
            ASSERT_FALSE(e) << S(e.description);
        }
    }
    void append(const QByteArray& box, const QString& file) {
        AppendJob job(box, {}, {}, BuildSampleMail(MailWithFile(u"To "_s + file, file)));
        runAsOther({&job});
    }
    bool saved(const QString& file) const { return QFile::exists(target + u'/' + file); }

    std::unique_ptr<DovecotServer> dovecot;
    QString target;
};

// 20 watched mailboxes on the default budget of 5 connections: the inbox and three others
// idle, the rest are looked at every second (the poll period made short here).
TEST_F(ImapWatchingTest, WatchKeepsToTheConnectionBudgetAndLooksAtTheRestInTurn) {
    useOnlyRule(SaveAllRule(target));
    SaveSetting(u"SWActive"_s, u"1"_s);
    SaveSetting(u"ImapPollSeconds"_s, u"1"_s);
    for (int i = 1; i <= 18; ++i) {
        CreateJob create("F" + QByteArray::number(i));
        runAsOther({&create});
    }
    CreateJob create("F18.Sub");
    runAsOther({&create});
    // Most are written into the list here; `folders add` takes the others in each of its forms:
    // the path, the name, the server's own name.
    const QString account = u"bob@127.0.0.1"_s;
    const QString storeId = u"imap://bob@127.0.0.1:%1"_s.arg(dovecot->port());
    ASSERT_TRUE(AddWatchFolder(u"INBOX"_s, account + u"|INBOX"_s, u"INBOX"_s, storeId).ok());
    for (int i = 3; i <= 18; ++i)
        ASSERT_TRUE(
            AddWatchFolder(u"F%1"_s.arg(i), account + u"|F%1"_s.arg(i), u"F%1"_s.arg(i), storeId)
                .ok());
    SaveData();
    for (const QString& folder : {account + u"|F1"_s, u"F2"_s, u"F18.Sub"_s}) {
        const CommandResult r =
            runStowaway(storeArgs() + QStringList{u"folders"_s, u"add"_s, folder});
        ASSERT_EQ(r.exitCode, 0) << S(folder) << S(r.err);
    }

    auto watch = startStowaway(storeArgs() + QStringList{u"watch"_s});
    QByteArray said;
    ASSERT_TRUE(WaitFor(*watch,
                        [&] {
                            said += watch->readAllStandardOutput();
                            return said.contains("Watching 20 folder(s)");
                        }))
        << said.toStdString() << S(logText());
    const int connections = ClientConnections(dovecot->port());
    std::cout << "watch on 20 mailboxes holds " << connections << " connection(s)\n";
    EXPECT_EQ(connections, 5);

    append("F18.Sub", u"polled.pdf"_s);
    append("INBOX", u"idled.pdf"_s);
    EXPECT_TRUE(WaitFor(*watch, [&] { return saved(u"polled.pdf"_s) && saved(u"idled.pdf"_s); }))
        << S(logText());
    EXPECT_EQ(ClientConnections(dovecot->port()), 5);
    EXPECT_TRUE(logText().contains(u"F18.Sub is looked at every 1 s"_s)) << S(logText());
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(30000));
}

// The server stops answering (its processes stopped, the connection left open, as a network
// that drops it without a word): the missing answer to DONE ends the connection, and a new one
// takes the mail that came meanwhile. The deadlines are made short here.
TEST_F(ImapWatchingTest, AnIdleConnectionThatFallsSilentIsMadeAnew) {
    ImapMailboxWatch::idleRenewMs = 300;
    ImapMailboxWatch::answerMs = 500;
    const Result<std::shared_ptr<MailSession>> session =
        OpenImapStore(dovecot->url(u"bob"_s), u"echo secret"_s);
    ASSERT_TRUE(session.ok()) << S(session.error.description);
    const ImapStorePtr store = static_cast<ImapSession&>(*session.value).store();
    int reported = 0;
    const auto inbox = std::make_shared<ImapWatchPool>(store)->subscribe(
        store->mailboxByName(u"INBOX"_s).value, [&](const MailItemPtr&) { ++reported; });
    ASSERT_TRUE(inbox.ok()) << S(inbox.error.description);
    const auto spin = [](const std::function<bool()>& done) {
        QElapsedTimer clock;
        clock.start();
        while (!done() && clock.elapsed() < 20000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
        return done();
    };

    QElapsedTimer idling;
    idling.start();
    spin([&] { return idling.elapsed() > 1000; }); // IDLE runs, renewed a few times
    const pid_t group = pid_t(dovecot->processGroup());
    ::kill(-group, SIGSTOP);
    EXPECT_TRUE(spin([&] { return logText().contains(u"no answer to DONE within"_s); }))
        << S(logText());
    ::kill(-group, SIGCONT);
    append("INBOX", u"meanwhile.pdf"_s);
    // Reported by the new connection: the old one is closed.
    EXPECT_TRUE(spin([&] { return reported == 1; })) << S(logText());
    ImapMailboxWatch::idleRenewMs = 80 * 1000;
    ImapMailboxWatch::answerMs = 30 * 1000;
}

} // namespace
