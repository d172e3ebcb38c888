// Each command job against a scripted server: a QTcpServer in the test's own thread that checks
// every line the client sends and answers as the script says, misbehaviour included.
#include "host/imap/imap_jobs.h"
#include "support/test_env.h"

#include <QTcpServer>
#include <QTcpSocket>

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <thread>

namespace {

struct Step {
    char who; // 'C' the client sends this line, 'S' the server sends these bytes, 'X' it hangs up
    QByteArray bytes;
};

class ScriptedServer {
  public:
    explicit ScriptedServer(std::vector<Step> script) : script_(std::move(script)) {
        std::mutex m;
        std::condition_variable ready;
        bool listening = false;
        thread_ = std::thread([&, this] {
            QTcpServer server;
            server.listen(QHostAddress::LocalHost, 0);
            {
                std::lock_guard lock(m);
                port_ = server.serverPort();
                listening = true;
            }
            ready.notify_one();
            if (!server.waitForNewConnection(10000)) return fail("no client came");
            std::unique_ptr<QTcpSocket> client(server.nextPendingConnection());
            QByteArray buffer;
            for (const Step& step : script_) {
                if (step.who == 'S') {
                    client->write(step.bytes);
                    client->waitForBytesWritten(5000);
                } else if (step.who == 'X') {
                    client->disconnectFromHost();
                    return;
                } else {
                    qsizetype eol;
                    while ((eol = buffer.indexOf("\r\n")) < 0) {
                        if (!client->waitForReadyRead(5000))
                            return fail("waited for: " + step.bytes.toStdString());
                        buffer += client->readAll();
                    }
                    const QByteArray line = buffer.left(eol);
                    buffer.remove(0, eol + 2);
                    if (line != step.bytes)
                        return fail("expected \"" + step.bytes.toStdString() + "\", got \"" +
                                    line.toStdString() + '"');
                }
            }
            client->waitForDisconnected(2000);
        });
        std::unique_lock lock(m);
        ready.wait(lock, [&] { return listening; });
    }
    ~ScriptedServer() { join(); }
    void join() {
        if (thread_.joinable()) thread_.join();
    }
    quint16 port() const { return port_; }
    std::string failure() const { return failure_; }

  private:
    void fail(const std::string& why) { failure_ = why; }
    std::vector<Step> script_;
    std::thread thread_;
    quint16 port_ = 0;
    std::string failure_;
};

const QByteArray kGreeting =
    "* OK [CAPABILITY IMAP4rev1 SASL-IR AUTH=PLAIN AUTH=XOAUTH2 UIDPLUS] ready\r\n";

struct JobCase {
    const char* name;
    std::vector<Step> script; // after the greeting
    // Runs the job; what came of it, in a word or two.
    std::function<QString(ImapConnection&)> run;
    const char* outcome;
};

QString Outcome(const OpError& e, const QString& good) {
    return e ? QStringLiteral("error: ") + e.description : good;
}

class JobAgainstScript : public testing::TestWithParam<JobCase> {};

TEST_P(JobAgainstScript, SendsTheScriptAndKeepsTheAnswer) {
    const JobCase& c = GetParam();
    std::vector<Step> script{{'S', kGreeting}};
    script.insert(script.end(), c.script.begin(), c.script.end());
    ScriptedServer server(script);
    ImapLimits limits;
    limits.maxLiteral = 1000;
    ImapConnection conn({QStringLiteral("127.0.0.1"), server.port(), ImapSecurity::Plain}, limits,
                        5000);
    const OpError opened = conn.open();
    const QString outcome = opened ? QStringLiteral("open: ") + opened.description : c.run(conn);
    conn.close();
    server.join();
    EXPECT_EQ(server.failure(), "");
    EXPECT_TRUE(outcome.contains(QString::fromUtf8(c.outcome))) << outcome.toStdString();
}

template <class Job> std::function<QString(ImapConnection&)> Plain(Job job) {
    return [job](ImapConnection& conn) mutable {
        return Outcome(conn.run(job), QStringLiteral("ok"));
    };
}

const JobCase kJobCases[] = {
    {"LoginQuotesTheSecret",
     {{'C', "s1 LOGIN \"bob\" \"p\\\"w\""}, {'S', "s1 OK done\r\n"}},
     Plain(LoginJob("bob", "p\"w")),
     "ok"},
    {"LoginSendsAnEightBitSecretAsLiteralAfterGoAhead",
     {{'C', "s1 LOGIN \"bob\" {2}"}, {'S', "+ go\r\n"}, {'C', "\xc3\xa4"}, {'S', "s1 OK done\r\n"}},
     Plain(LoginJob("bob", "\xc3\xa4")),
     "ok"},
    {"LoginRefusedSaysWhy",
     {{'C', "s1 LOGIN \"bob\" \"x\""},
      {'S', "s1 NO [AUTHENTICATIONFAILED] Authentication failed.\r\n"}},
     Plain(LoginJob("bob", "x")),
     "the server answered NO Authentication failed. to LOGIN"},
    {"AuthenticatePlainWithInitialResponse",
     {{'C', "s1 AUTHENTICATE PLAIN AGJvYgBzZWNyZXQ="},
      {'S', "s1 OK [CAPABILITY IMAP4rev1 IDLE] in\r\n"}},
     [](ImapConnection& conn) {
         AuthenticateJob job(AuthenticateJob::Mechanism::Plain, "bob", "secret", true);
         const OpError e = conn.run(job);
         return Outcome(e, conn.hasCapability("IDLE") ? QStringLiteral("caps updated")
                                                      : QStringLiteral("caps kept"));
     },
     "caps updated"},
    {"AuthenticateXOAuth2ErrorIsAnsweredWithAnEmptyLine",
     {{'C', "s1 AUTHENTICATE XOAUTH2"},
      {'S', "+\r\n"},
      {'C', "dXNlcj1ib2IBYXV0aD1CZWFyZXIgdG9rAQE="},
      {'S', "+ eyJzdGF0dXMiOiI0MDEifQ==\r\n"},
      {'C', ""},
      {'S', "s1 NO [AUTHENTICATIONFAILED] bad token\r\n"}},
     Plain(AuthenticateJob(AuthenticateJob::Mechanism::XOAuth2, "bob", "tok", false)),
     "NO bad token"},
    {"SelectReadsValidityAndKeywordPermission",
     {{'C', "s1 SELECT \"Archiv/2024\""},
      {'S',
       "* FLAGS (\\Seen \\Deleted)\r\n* OK [PERMANENTFLAGS (\\Seen \\Deleted)] x\r\n* 4 EXISTS\r\n"
       "* OK [UIDVALIDITY 77] x\r\n* OK [UIDNEXT 9] x\r\ns1 OK [READ-WRITE] done\r\n"}},
     [](ImapConnection& conn) {
         SelectJob job("Archiv/2024", false);
         const OpError e = conn.run(job);
         return Outcome(e, QStringLiteral("validity=%1 next=%2 exists=%3 keywords=%4")
                               .arg(job.state.uidValidity)
                               .arg(job.state.uidNext)
                               .arg(job.state.exists)
                               .arg(job.state.keywordsAllowed()));
     },
     "validity=77 next=9 exists=4 keywords=0"},
    {"ExamineWithCondStoreReadsHighestModSeq",
     {{'C', "s1 EXAMINE \"INBOX\" (CONDSTORE)"},
      {'S', "* OK [UIDVALIDITY 5] x\r\n* OK [HIGHESTMODSEQ 90000000001] x\r\ns1 OK done\r\n"}},
     [](ImapConnection& conn) {
         SelectJob job("INBOX", true, true);
         const OpError e = conn.run(job);
         return Outcome(e, QStringLiteral("modseq=%1 none=%2")
                               .arg(job.state.highestModSeq)
                               .arg(job.state.noModSeq));
     },
     "modseq=90000000001 none=0"},
    {"ExamineWithCondStoreHearsNoModSeq",
     {{'C', "s1 EXAMINE \"INBOX\" (CONDSTORE)"},
      {'S', "* OK [UIDVALIDITY 5] x\r\n* OK [NOMODSEQ] x\r\ns1 OK done\r\n"}},
     [](ImapConnection& conn) {
         SelectJob job("INBOX", true, true);
         const OpError e = conn.run(job);
         return Outcome(e, QStringLiteral("none=%1").arg(job.state.noModSeq));
     },
     "none=1"},
    {"SelectWithoutUidValidityIsRefused",
     {{'C', "s1 EXAMINE \"INBOX\""}, {'S', "* 0 EXISTS\r\ns1 OK done\r\n"}},
     Plain(SelectJob("INBOX", true)),
     "a mailbox without UIDVALIDITY"},
    {"FetchKeepsFlagsAndBodyByUid",
     {{'C', "s1 UID FETCH 5:* (UID FLAGS BODY.PEEK[])"},
      {'S', "* 2 FETCH (UID 5 FLAGS (\\Seen QWKStowaway) BODY[] {4}\r\nab\r\n)\r\n"
            "* 3 FETCH (FLAGS () UID 6 BODY[] {1}\r\nz)\r\ns1 OK done\r\n"}},
     [](ImapConnection& conn) {
         UidFetchJob job("5:*", "FLAGS BODY.PEEK[]");
         const OpError e = conn.run(job);
         QStringList seen;
         for (const auto& [uid, m] : job.mails)
             seen << QStringLiteral("%1:%2:%3")
                         .arg(uid)
                         .arg(m.flags.size())
                         .arg(QString::fromLatin1(m.body.toHex()));
         return Outcome(e, seen.join(QLatin1Char(' ')));
     },
     "5:2:61620d0a 6:0:7a"},
    {"FetchChangedSinceKeepsEachModSeq",
     {{'C', "s1 UID FETCH 1:* (UID FLAGS MODSEQ) (CHANGEDSINCE 40)"},
      {'S', "* 2 FETCH (UID 5 FLAGS () MODSEQ (41))\r\n"
            "* 7 FETCH (MODSEQ (44) UID 9 FLAGS (\\Seen))\r\ns1 OK done\r\n"}},
     [](ImapConnection& conn) {
         UidFetchJob job("1:*", "FLAGS MODSEQ", 40);
         const OpError e = conn.run(job);
         QStringList seen;
         for (const auto& [uid, m] : job.mails)
             seen << QStringLiteral("%1:%2").arg(uid).arg(m.modSeq);
         return Outcome(e, seen.join(QLatin1Char(' ')));
     },
     "5:41 9:44"},
    {"FetchAnswerWithoutUidIsAnError",
     {{'C', "s1 UID FETCH 1:* (UID FLAGS)"}, {'S', "* 1 FETCH (FLAGS (\\Seen))\r\ns1 OK done\r\n"}},
     Plain(UidFetchJob("1:*", "FLAGS")),
     "a FETCH answer without UID"},
    {"StoreAddsKeywordSilently",
     {{'C', "s1 UID STORE 12 +FLAGS.SILENT (QWKStowaway)"}, {'S', "s1 OK done\r\n"}},
     Plain(UidStoreJob("12", true, {"QWKStowaway"})),
     "ok"},
    {"AppendSendsCrlfWaitsForGoAheadAndKeepsAppendUid",
     {{'C', "s1 APPEND \"INBOX\" (\\Seen QWKStowaway) \" 5-Mar-2024 10:20:30 +0000\" {6}"},
      {'S', "+ OK\r\n"},
      {'C', "a"},
      {'C', "b"},
      {'C', ""}, // the literal's own line end, then the command's
      {'S', "s1 OK [APPENDUID 77 31] done\r\n"}},
     [](ImapConnection& conn) {
         AppendJob job("INBOX", {"\\Seen", "QWKStowaway"},
                       QDateTime(QDate(2024, 3, 5), QTime(10, 20, 30), Qt::UTC), "a\nb\r\n");
         const OpError e = conn.run(job);
         return Outcome(e, QStringLiteral("%1/%2").arg(job.uidValidity).arg(job.uid));
     },
     "77/31"},
    {"AppendRefusedBeforeTheLiteral",
     {{'C', "s1 APPEND \"INBOX\" () {1}"}, {'S', "s1 NO [OVERQUOTA] Quota exceeded\r\n"}},
     Plain(AppendJob("INBOX", {}, QDateTime(), "x")),
     "NO Quota exceeded to APPEND"},
    {"ExpungeNamesTheUidOnly",
     {{'C', "s1 UID EXPUNGE 31"}, {'S', "* 3 EXPUNGE\r\ns1 OK done\r\n"}},
     Plain(UidExpungeJob("31")),
     "ok"},
    {"ListDecodesModifiedUtf7",
     {{'C', "s1 LIST \"\" \"*\""},
      {'S', "* LIST (\\HasChildren) \".\" INBOX\r\n* LIST (\\HasNoChildren) \".\" "
            "\"INBOX.Entw&APw-rfe\"\r\n"
            "* LIST (\\Noselect) \".\" Archiv\r\ns1 OK done\r\n"}},
     [](ImapConnection& conn) {
         ListJob job;
         const OpError e = conn.run(job);
         QStringList names;
         for (const ImapMailbox& b : job.mailboxes)
             names << b.name + (b.selectable() ? QString() : QStringLiteral("(x)"));
         return Outcome(e, names.join(QLatin1Char(',')));
     },
     "INBOX,INBOX.Entwürfe,Archiv(x)"},
    {"ListWithABadMailboxNameIsAnError",
     {{'C', "s1 LIST \"\" \"*\""}, {'S', "* LIST () \".\" \"bad&AP\"\r\ns1 OK done\r\n"}},
     Plain(ListJob()),
     "not modified UTF-7"},
    {"NoopSeesNewMail",
     {{'C', "s1 NOOP"}, {'S', "* 5 EXISTS\r\ns1 OK done\r\n"}},
     [](ImapConnection& conn) {
         NoopJob job;
         const OpError e = conn.run(job);
         return Outcome(e, QStringLiteral("exists=%1").arg(job.exists));
     },
     "exists=5"},
    {"DroppedConnectionMidCommand",
     {{'C', "s1 UID FETCH 1 (UID BODY.PEEK[])"},
      {'S', "* 1 FETCH (UID 1 BODY[] {50}\r\nonly a part"},
      {'X', ""}},
     Plain(UidFetchJob("1", "BODY.PEEK[]")),
     "the server closed the connection"},
    {"AnswerToAnotherTag",
     {{'C', "s1 NOOP"}, {'S', "s9 OK done\r\n"}},
     Plain(NoopJob()),
     "an answer to a command never sent"},
    {"OversizedLiteralIsRefused",
     {{'C', "s1 UID FETCH 1 (UID BODY.PEEK[])"}, {'S', "* 1 FETCH (UID 1 BODY[] {5000}\r\n"}},
     Plain(UidFetchJob("1", "BODY.PEEK[]")),
     "a literal of more than 1000 bytes"},
    {"UnexpectedContinuation",
     {{'C', "s1 NOOP"}, {'S', "+ what\r\n"}},
     Plain(NoopJob()),
     "an unexpected continuation during NOOP"},
};

INSTANTIATE_TEST_SUITE_P(Imap, JobAgainstScript, testing::ValuesIn(kJobCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct OpenCase {
    const char* name;
    ImapSecurity security;
    std::vector<Step> script;
    const char* error;
};

class OpenAgainstScript : public testing::TestWithParam<OpenCase> {};

TEST_P(OpenAgainstScript, RefusesWhatIsNotAnImapServer) {
    ScriptedServer server(GetParam().script);
    ImapConnection conn({QStringLiteral("127.0.0.1"), server.port(), GetParam().security}, {},
                        5000);
    const OpError e = conn.open();
    conn.close();
    server.join();
    EXPECT_EQ(server.failure(), "");
    EXPECT_TRUE(e.description.contains(QString::fromUtf8(GetParam().error)))
        << e.description.toStdString();
}

const OpenCase kOpenCases[] = {
    {"ByeGreeting",
     ImapSecurity::Plain,
     {{'S', "* BYE too many connections\r\n"}},
     "refused the connection: too many"},
    {"NotImap", ImapSecurity::Plain, {{'S', "220 smtp.example ESMTP\r\n"}}, "malformed data"},
    {"NoImap4rev1",
     ImapSecurity::Plain,
     {{'S', "* OK hi\r\n"}, {'C', "s1 CAPABILITY"}, {'S', "* CAPABILITY IMAP2\r\ns1 OK done\r\n"}},
     "does not speak IMAP4rev1"},
    {"NoStartTls",
     ImapSecurity::StartTls,
     {{'S', "* OK [CAPABILITY IMAP4rev1] hi\r\n"}},
     "does not offer STARTTLS"},
    {"TlsAgainstPlainServer",
     ImapSecurity::Tls,
     {{'S', "* OK [CAPABILITY IMAP4rev1] hi\r\n"}},
     "the secure connection was refused"},
};

INSTANTIATE_TEST_SUITE_P(Imap, OpenAgainstScript, testing::ValuesIn(kOpenCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ImapInternalDate, RoundTripsThroughTheServerForm) {
    const QDateTime when(QDate(2024, 3, 5), QTime(10, 20, 30), Qt::UTC);
    EXPECT_EQ(FormatInternalDate(when), QByteArray(" 5-Mar-2024 10:20:30 +0000"));
    EXPECT_EQ(ParseInternalDate("05-Mar-2024 12:20:30 +0200").toUTC(), when);
    EXPECT_FALSE(ParseInternalDate("5-Foo-2024 10:20:30 +0000").isValid());
}

} // namespace
