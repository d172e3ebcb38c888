// `stowaway` on an IMAP account of a real server started by the test, Dovecot and Cyrus: real and
// test runs, removal with links, the stamp as keyword and as header, IDLE while `watch` runs and
// its reconnect after the server restarts; on Dovecot also XOAUTH2, TLS and what the client sent
// (its rawlog); on Cyrus two mailboxes with one UIDVALIDITY. What the server holds is read over
// IMAP; every byte a client sent Dovecot is checked for a bare LF (Cyrus refuses those itself).
#include "stowaway_command.h"

#include "data/settings.h"
#include "host/imap/imap_jobs.h"
#include "host/imap/imap_store.h"
#include "support/cyrus_server.h"
#include "support/dovecot_server.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <arpa/inet.h>
#include <atomic>
#include <map>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <iostream>

using namespace Qt::StringLiterals;

namespace {

enum class Server { Dovecot, Cyrus };

void PrintTo(Server server, std::ostream* os) {
    *os << (server == Server::Dovecot ? "Dovecot" : "Cyrus");
}
std::string ServerName(const ::testing::TestParamInfo<Server>& info) {
    return ::testing::PrintToString(info.param);
}

// A mail as the server holds it.
struct StoredMail {
    quint64 uid = 0;
    QSet<QByteArray> flags;
    QDateTime internalDate;
    QByteArray body;
    bool operator==(const StoredMail&) const = default;
};
void PrintTo(const StoredMail& m, std::ostream* os) {
    *os << m.uid << ' '
        << QList<QByteArray>(m.flags.begin(), m.flags.end()).join(' ').toStdString();
}
// By subject.
using Mailbox = std::map<QByteArray, StoredMail>;

qsizetype BareLineFeeds(const QByteArray& bytes) {
    qsizetype n = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i)
        n += bytes[i] == '\n' && (i == 0 || bytes[i - 1] != '\r');
    return n;
}

class ImapStoreTest : public StowawayCommandTest, public ::testing::WithParamInterface<Server> {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        const QString dir = TestEnv::home() + u"/server"_s;
        if (GetParam() == Server::Dovecot)
            server = std::make_unique<DovecotServer>(dir);
        else
            server = std::make_unique<CyrusServer>(dir);
        const QString why = server->start();
        ASSERT_TRUE(why.isEmpty()) << S(why);
        ASSERT_EQ(server->addUser(u"bob"_s), QString());
        target = TestEnv::home() + u"/Saved"_s;
    }
    void TearDown() override {
        if (server) server->stop(); // Dovecot writes out the rawlogs of the sessions it ends
        if (server && GetParam() == Server::Dovecot) {
            EXPECT_EQ(BareLineFeeds(dovecot().clientLines()), 0) << "CRLF only, APPEND included";
        }
        server.reset();
        StowawayCommandTest::TearDown();
    }
    DovecotServer& dovecot() const { return static_cast<DovecotServer&>(*server); }

    QStringList storeArgs(const QString& user = u"bob"_s, const QString& query = {}) const {
        return {u"--store"_s, server->url(user) + query, u"--password-command"_s, u"echo secret"_s};
    }
    CommandResult runOn(const QStringList& command, const QString& user = u"bob"_s) {
        return runStowaway(storeArgs(user) + command);
    }
    // `stowaway watch` on the account, once it watches: mails there before are not new.
    std::unique_ptr<QProcess> startWatch() {
        auto watch = startStowaway(storeArgs() + QStringList{u"watch"_s});
        QByteArray said;
        EXPECT_TRUE(WaitFor(*watch, [&] {
            said += watch->readAllStandardOutput();
            return said.contains("Watching 1 folder(s)");
        })) << said.toStdString();
        return watch;
    }

    // Runs jobs over a connection of the test's own, as another mail program would.
    void runAsOther(std::initializer_list<ImapJob*> jobs, const QString& user = u"bob"_s) {
        ImapConnection conn({u"127.0.0.1"_s, server->port(), ImapSecurity::Plain});
        ASSERT_FALSE(conn.open());
        LoginJob login(user.toUtf8(), ImapTestServer::kPassword);
        ASSERT_FALSE(conn.run(login));
        for (ImapJob* job : jobs) {
            const OpError e = conn.run(*job);
            ASSERT_FALSE(e) << S(e.description);
        }
    }
    void append(const SampleMail& mail, const QString& user = u"bob"_s,
                const QByteArray& box = "INBOX", const QList<QByteArray>& flags = {}) {
        AppendJob job(box, flags, mail.date, BuildSampleMail(mail));
        runAsOther({&job}, user);
    }
    // The mails of a mailbox on the server, by subject; two of one subject fail the test.
    Mailbox mailsIn(const QString& user = u"bob"_s, const QByteArray& box = "INBOX") {
        SelectJob examine(box, true);
        UidFetchJob fetch("1:*", "FLAGS INTERNALDATE BODY.PEEK[]");
        runAsOther({&examine, &fetch}, user);
        Mailbox mails;
        for (const auto& [uid, m] : fetch.mails) {
            const qsizetype at = m.body.indexOf("\nSubject: ") + 10;
            QSet<QByteArray> flags = m.flags;
            flags.remove("\\Recent");
            const QByteArray subject = m.body.mid(at, m.body.indexOf('\r', at) - at);
            EXPECT_FALSE(mails.count(subject)) << "two copies of " << subject.toStdString();
            mails[subject] = {uid, flags, m.internalDate, m.body};
        }
        return mails;
    }
    QStringList savedFiles() const {
        QStringList names;
        QDirIterator it(target, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            names << QFileInfo(it.next()).fileName();
        names.sort();
        return names;
    }

    // What the clients sent, once the server wrote it: it writes a session's rawlog out as the
    // session ends.
    QByteArray linesSent() const {
        QByteArray sent = dovecot().clientLines();
        for (int quiet = 0, tries = 0; quiet < 5 && tries < 50; ++tries) {
            QThread::msleep(100);
            const QByteArray now = dovecot().clientLines();
            quiet = now == sent ? quiet + 1 : 0;
            sent = now;
        }
        return sent;
    }

    std::unique_ptr<ImapTestServer> server;
    QString target;
};
using DovecotStoreTest = ImapStoreTest;
using CyrusStoreTest = ImapStoreTest;

INSTANTIATE_TEST_SUITE_P(, ImapStoreTest, ::testing::Values(Server::Dovecot, Server::Cyrus),
                         ServerName);
INSTANTIATE_TEST_SUITE_P(, DovecotStoreTest, ::testing::Values(Server::Dovecot), ServerName);
INSTANTIATE_TEST_SUITE_P(, CyrusStoreTest, ::testing::Values(Server::Cyrus), ServerName);

// A real run stamps each mail by keyword where the mailbox takes keywords (the mail's bytes
// untouched unless the file is taken out), else by header in a rewrite; the new copy keeps the
// flags and the internal date, and the user's own \Deleted mail stays. A second run finds every
// mail done and changes nothing.
TEST_P(ImapStoreTest, RealRunSavesTheFilesAndStampsEachMailOnce) {
    const struct {
        const char* name;
        bool removeAndLink;
        bool keywords; // else the user lacks the right to write flags in the inbox
    } cases[] = {
        {"stamp by keyword", false, true},
        {"file taken out, link added", true, true},
        {"stamp by header", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString user = QString::fromLatin1(c.name).section(u' ', -1) + u"user"_s;
        ASSERT_EQ(server->addUser(user), QString());
        QDir(target).removeRecursively();
        useOnlyRule(SaveAllRule(target, c.removeAndLink));
        if (!c.keywords) {
            ASSERT_EQ(server->withholdKeywords(user), QString());
        }
        // What the server keeps of these flags is kept by a rewrite too.
        append(MailWithFile(u"Invoice"_s, u"invoice.pdf"_s), user, "INBOX",
               {"\\Flagged", "\\Answered"});
        append(MailWithFile(u"Report"_s, u"report.pdf"_s), user);
        SampleMail thrownAway;
        thrownAway.subject = u"Thrown away"_s;
        append(thrownAway, user, "INBOX", {"\\Deleted"});
        const Mailbox before = mailsIn(user);
        ASSERT_EQ(before.size(), 3u);

        const CommandResult r = runOn({u"run"_s, u"1"_s}, user);
        ASSERT_EQ(r.exitCode, 0) << S(r.err) << S(logText());
        EXPECT_EQ(savedFiles(), (QStringList{u"invoice.pdf"_s, u"report.pdf"_s}));
        EXPECT_EQ(readFile(target + u"/invoice.pdf"_s), QByteArray("%PDF-1.4 Invoice"));
        const Mailbox after = mailsIn(user);
        ASSERT_EQ(after.size(), 3u) << "exactly one copy of each";
        EXPECT_EQ(after.at("Thrown away"), before.at("Thrown away"));
        for (const char* subject : {"Invoice", "Report"}) {
            const StoredMail &was = before.at(subject), &now = after.at(subject);
            EXPECT_EQ(now.internalDate, was.internalDate) << subject;
            QSet<QByteArray> flags = now.flags;
            EXPECT_EQ(flags.remove(kStampKeyword), c.keywords) << subject;
            EXPECT_EQ(flags, was.flags) << subject;
            EXPECT_EQ(now.body.contains("X-Mileage"), !c.keywords) << subject;
            if (c.removeAndLink) {
                EXPECT_FALSE(now.body.contains("%PDF-1.4")) << subject;
                EXPECT_TRUE(now.body.contains(("file://" + target + "/").toUtf8())) << subject;
            } else if (c.keywords) {
                EXPECT_EQ(now.body, was.body) << "stamped without a rewrite";
            } else {
                EXPECT_TRUE(now.body.contains("filename=")) << "the file stays in the mail";
            }
        }
        ASSERT_EQ(runOn({u"run"_s, u"1"_s}, user).exitCode, 0);
        EXPECT_EQ(mailsIn(user), after) << "nothing written again";
        EXPECT_EQ(savedFiles().size(), 2);
    }
}

TEST_P(ImapStoreTest, TestRunChangesNothingOnTheServer) {
    udtRule rule = SaveAllRule(target, true);
    useOnlyRule(rule);
    append(MailWithFile(u"Invoice"_s, u"invoice.pdf"_s));
    ASSERT_EQ(runOn({u"rules"_s}).exitCode, 0);
    const Mailbox before = mailsIn();

    const CommandResult r = runOn({u"test"_s, u"1"_s, u"--yes"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_EQ(mailsIn(), before);
}

// Cyrus takes a new mailbox's UIDVALIDITY from the clock: two made in the same second share it,
// and so do their first mails' UIDs. A rule for the mail of each acts on that mail alone.
TEST_P(CyrusStoreTest, TwoMailboxesWithOneUidValidityKeepTheirMailsApart) {
    StatusJob keep("Keep"), strip("Strip");
    for (int tries = 0; tries < 3; ++tries) {
        ASSERT_EQ(server->runCommands(u"bob"_s, {u"CREATE Keep"_s, u"CREATE Strip"_s}), QString());
        runAsOther({&keep, &strip});
        if (keep.uidValidity == strip.uidValidity) break;
        ASSERT_EQ(server->runCommands(u"bob"_s, {u"DELETE Keep"_s, u"DELETE Strip"_s}), QString());
    }
    ASSERT_EQ(keep.uidValidity, strip.uidValidity) << "made in one second";
    append(MailWithFile(u"Keep this"_s, u"kept.pdf"_s), u"bob"_s, "Keep");
    append(MailWithFile(u"Strip this"_s, u"stripped.pdf"_s), u"bob"_s, "Strip");
    udtRule save = SaveAllRule(target + u"/kept"_s),
            remove = SaveAllRule(target + u"/stripped"_s, true);
    save.CheckSubj = remove.CheckSubj = vbTrue;
    save.Subject = u"keep this"_s;
    remove.Subject = u"strip this"_s;
    useRules({save, remove});
    for (const QString& box : {u"Keep"_s, u"Strip"_s})
        ASSERT_EQ(runOn({u"folders"_s, u"add"_s, box}).exitCode, 0);

    const Mailbox keptBefore = mailsIn(u"bob"_s, "Keep");
    const CommandResult r = runOn({u"run"_s, u"--all"_s});
    EXPECT_EQ(r.exitCode, 0) << S(r.err) << S(logText());
    QStringList saved;
    for (const auto& [path, bytes] : filesUnder(target).asKeyValueRange())
        saved << path + u": "_s + QString::fromUtf8(bytes);
    EXPECT_EQ(saved, (QStringList{u"kept/kept.pdf: %PDF-1.4 Keep this"_s,
                                  u"stripped/stripped.pdf: %PDF-1.4 Strip this"_s}))
        << S(logText());
    const Mailbox kept = mailsIn(u"bob"_s, "Keep"), stripped = mailsIn(u"bob"_s, "Strip");
    ASSERT_EQ(kept.size(), 1u);
    ASSERT_EQ(stripped.size(), 1u);
    EXPECT_EQ(kept.at("Keep this").body, keptBefore.at("Keep this").body) << "stamped by keyword";
    EXPECT_FALSE(stripped.at("Strip this").body.contains("filename="));
    EXPECT_TRUE(stripped.at("Strip this").body.contains(("file://" + target).toUtf8()));
}

TEST_P(DovecotStoreTest, XOAuth2TakesTheTokenFromThePasswordCommand) {
    useOnlyRule(SaveAllRule(target));
    append(MailWithFile(u"Invoice"_s, u"invoice.pdf"_s));
    const CommandResult r =
        runStowaway(storeArgs(u"bob"_s, u"?auth=xoauth2"_s) + QStringList{u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_EQ(savedFiles(), QStringList{u"invoice.pdf"_s});
    EXPECT_TRUE(readFile(dovecot().dir() + u"/dovecot.log"_s).contains("method=XOAUTH2"));
}

// How often the clients fetched the header or the whole mail of each UID, by the server's rawlog.
using Fetches = std::map<int, int>;
Fetches BodiesFetched(const QByteArray& sent) {
    Fetches uids;
    for (const QByteArray& line : sent.split('\n'))
        if (const qsizetype at = line.indexOf("UID FETCH "); at >= 0 && line.contains("BODY.PEEK["))
            ++uids[line.mid(at + 10).split(' ').first().toInt()];
    return uids;
}

TEST_P(DovecotStoreTest, ANewMailEventFetchesOnlyTheNewMailOnceTheOldAreNotedDone) {
    useOnlyRule(SaveAllRule(target));
    SaveSetting(u"SWActive"_s, u"1"_s);
    SaveSetting(u"DoProto"_s, u"0"_s); // a LOG of every mail would read every mail
    for (int i = 1; i <= 5; ++i)
        append(MailWithFile(u"Old %1"_s.arg(i), u"old%1.pdf"_s.arg(i)));
    ASSERT_EQ(runOn({u"run"_s, u"1"_s}).exitCode, 0); // saves and stamps them
    ASSERT_EQ(runOn({u"run"_s, u"1"_s}).exitCode, 0); // passes over them, noting that

    // `watch` is told of one new mail; the UIDs whose header or body it then fetched.
    const auto newMailEvent = [&](int n) {
        auto watch = startWatch();
        dovecot().clearClientLines();
        const QString file = u"new%1.pdf"_s.arg(n);
        append(MailWithFile(u"New %1"_s.arg(n), file));
        EXPECT_TRUE(WaitFor(*watch, [&] { return savedFiles().contains(file); })) << S(logText());
        watch->terminate();
        EXPECT_TRUE(watch->waitForFinished(30000));
        return BodiesFetched(linesSent());
    };
    // Each mail looked at costs its header once and the whole mail once.
    EXPECT_EQ(newMailEvent(6), (Fetches{{6, 2}}));

    // A damaged cache is said in the LOG, and the walk reads all and builds it anew.
    QDirIterator it(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation),
                    QDir::Files, QDirIterator::Subdirectories);
    QString cache;
    while (it.hasNext())
        if (const QString f = it.next(); f.contains(u"/imap/"_s) && f.contains(u"/done/"_s))
            cache = f;
    ASSERT_FALSE(cache.isEmpty());
    {
        QFile file(cache);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        file.resize(file.size() / 2);
    }
    EXPECT_EQ(newMailEvent(7), (Fetches{{1, 2}, {2, 2}, {3, 2}, {4, 2}, {5, 2}, {6, 2}, {7, 2}}));
    EXPECT_TRUE(logText().contains(u"! IMAP: the cache %1 is damaged (cut off)"_s.arg(cache)))
        << S(logText());
    // 7, saved by the last event, is looked at once more (stamped now) and noted done.
    EXPECT_EQ(newMailEvent(8), (Fetches{{7, 2}, {8, 2}}));
    EXPECT_EQ(newMailEvent(9), (Fetches{{8, 2}, {9, 2}}));
    EXPECT_EQ(savedFiles().size(), 9);
}

// Within one `watch`, a walk after the first asks the server only for the mails changed since
// the last (CONDSTORE), and a mail another program marked read, or unread again, is looked at anew.
TEST_P(DovecotStoreTest, LaterNewMailEventsAskOnlyForWhatChanged) {
    useOnlyRule(SaveAllRule(target));
    SaveSetting(u"SWActive"_s, u"1"_s);
    SaveSetting(u"DoProto"_s, u"0"_s);
    for (int i = 1; i <= 4; ++i)
        append(MailWithFile(u"Old %1"_s.arg(i), u"old%1.pdf"_s.arg(i)));
    ASSERT_EQ(runOn({u"run"_s, u"1"_s}).exitCode, 0);
    ASSERT_EQ(runOn({u"run"_s, u"1"_s}).exitCode, 0);

    auto watch = startWatch();
    dovecot().clearClientLines();
    const struct {
        const char* flagChange; // of mail 3 before the new mail comes
        bool add;
    } events[] = {{nullptr, false}, {"\\Seen", true}, {"\\Seen", false}};
    int n = 4;
    for (const auto& event : events) {
        if (event.flagChange) {
            SelectJob select("INBOX", false);
            UidStoreJob store("3", event.add, {event.flagChange});
            runAsOther({&select, &store});
        }
        const QString file = u"new%1.pdf"_s.arg(++n);
        append(MailWithFile(u"New %1"_s.arg(n), file));
        ASSERT_TRUE(WaitFor(*watch, [&] { return savedFiles().contains(file); })) << S(logText());
    }
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(30000));
    const QByteArray sent = linesSent();
    QStringList walks;
    for (const QByteArray& line : sent.split('\n'))
        if (const qsizetype at = line.indexOf("UID FETCH 1:* "); at >= 0)
            walks << QString::fromLatin1(line.mid(at).trimmed())
                         .replace(QRegularExpression(u"[0-9]+\\)$"_s), u"n)"_s);
    EXPECT_EQ(walks, (QStringList{u"UID FETCH 1:* (UID FLAGS MODSEQ)"_s,
                                  u"UID FETCH 1:* (UID FLAGS MODSEQ) (CHANGEDSINCE n)"_s,
                                  u"UID FETCH 1:* (UID FLAGS MODSEQ) (CHANGEDSINCE n)"_s}))
        << sent.toStdString();
    // Of the old mails only 3 is read, at the event after each change of its flags (by its id,
    // its flags first); 5 and 6, stamped at their own events, are looked at once more.
    QList<int> read;
    for (const auto& entry : BodiesFetched(sent))
        read << entry.first;
    EXPECT_EQ(read, (QList<int>{3, 5, 6, 7}));
    EXPECT_EQ(sent.count("UID FETCH 3 (UID FLAGS)"), 2) << sent.toStdString();
    EXPECT_EQ(savedFiles().size(), 7);
}

struct RefusedCase {
    const char* name;
    QStringList args;
    const char* message;
};

TEST_P(DovecotStoreTest, AnAccountThatCannotBeUsedIsRefusedWithAClearMessage) {
    const RefusedCase cases[] = {
        {"wrong password",
         {u"--store"_s, dovecot().url(u"bob"_s), u"--password-command"_s, u"echo wrong"_s},
         "login as bob refused"},
        {"failing command",
         {u"--store"_s, dovecot().url(u"bob"_s), u"--password-command"_s, u"exit 3"_s},
         "The password command failed (exit status 3)"},
        {"plain to another host",
         {u"--store"_s, u"imap+plain://bob@example.org"_s, u"--password-command"_s, u"echo x"_s},
         "an unencrypted connection is allowed only to this computer"},
        {"password in the URL",
         {u"--store"_s, u"imap://bob:pw@127.0.0.1"_s},
         "a password does not belong"},
        {"nobody listening",
         {u"--store"_s, u"imap+plain://bob@127.0.0.1:1"_s, u"--password-command"_s, u"echo x"_s},
         "cannot connect"},
        {"TLS to a plain server",
         {u"--store"_s, u"imap://bob@127.0.0.1:%1"_s.arg(dovecot().port()), u"--password-command"_s,
          u"echo x"_s},
         "IMAP 127.0.0.1: the secure connection was refused"},
    };
    for (const RefusedCase& c : cases) {
        const CommandResult r = runStowaway(c.args + QStringList{u"folders"_s});
        EXPECT_NE(r.exitCode, 0) << c.name;
        EXPECT_TRUE((r.out + r.err + logText()).contains(QString::fromUtf8(c.message)))
            << c.name << "\n"
            << S(r.out + r.err);
        EXPECT_FALSE(logText().contains(u"wrong"_s)) << "the secret is never logged";
    }
}

// Dovecot over TLS with a certificate the test makes: refused with the host and the reason
// unless trusted (SSL_CERT_FILE) and made out to the host connected to.
TEST_P(DovecotStoreTest, AServerCertificateIsCheckedAndCanBeTrustedByFile) {
    const struct {
        const char* name;
        const char* altName; // whom the certificate is for
        bool trusted;
        const char* refusal; // empty: the account is used
    } cases[] = {
        {"self-signed", "IP:127.0.0.1", false,
         "IMAP 127.0.0.1: the secure connection was refused: The certificate is self-signed, "
         "and untrusted"},
        {"trusted", "IP:127.0.0.1", true, ""},
        {"another host's", "DNS:mail.example.org", true,
         "IMAP 127.0.0.1: the secure connection was refused: The host name did not match any of "
         "the valid hosts for this certificate"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString cert = dovecot().dir() + u"/cert.pem"_s,
                      key = dovecot().dir() + u"/key.pem"_s;
        QProcess openssl;
        openssl.setProcessChannelMode(QProcess::MergedChannels);
        openssl.start(u"openssl"_s,
                      {u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s,
                       u"ec_paramgen_curve:prime256v1"_s, u"-nodes"_s, u"-keyout"_s, key, u"-out"_s,
                       cert, u"-days"_s, u"2"_s, u"-subj"_s, u"/CN=Stowaway test"_s, u"-addext"_s,
                       u"subjectAltName="_s + QLatin1String(c.altName)});
        ASSERT_TRUE(openssl.waitForFinished() && openssl.exitCode() == 0)
            << openssl.readAll().toStdString();
        dovecot().stop();
        dovecot().useCertificate(cert, key);
        ASSERT_TRUE(dovecot().start().isEmpty());
        if (c.trusted) qputenv("SSL_CERT_FILE", cert.toLocal8Bit());
        const CommandResult r =
            runStowaway({u"--store"_s, u"imap://bob@127.0.0.1:%1"_s.arg(dovecot().tlsPort()),
                         u"--password-command"_s, u"echo secret"_s, u"folders"_s});
        qunsetenv("SSL_CERT_FILE");
        if (*c.refusal) {
            EXPECT_NE(r.exitCode, 0);
            EXPECT_TRUE((r.out + r.err).contains(QString::fromUtf8(c.refusal))) << S(r.out + r.err);
        } else {
            EXPECT_EQ(r.exitCode, 0) << S(r.out + r.err);
            EXPECT_TRUE(r.out.contains(u"INBOX"_s)) << S(r.out);
        }
    }
}

TEST_P(ImapStoreTest, WatchTakesMailAppendedMeanwhileAndAfterTheServerRestarts) {
    useOnlyRule(SaveAllRule(target));
    SaveSetting(u"SWActive"_s, u"1"_s);
    // The first start watches the inbox.
    ASSERT_EQ(runOn({u"folders"_s}).exitCode, 0);
    auto watch = startWatch();

    QElapsedTimer clock;
    clock.start();
    append(MailWithFile(u"First"_s, u"first.pdf"_s));
    ASSERT_TRUE(WaitFor(*watch, [&] { return savedFiles().contains(u"first.pdf"_s); }))
        << S(logText());
    const qint64 latency = clock.elapsed();
    RecordProperty("idle_latency_ms", int(latency));
    std::cout << "IDLE: the appended mail was saved after " << latency << " ms\n";

    // Once the mail is stamped (a mail saved but not stamped yet is taken again), the server goes
    // away and comes back; the mail that came meanwhile is found by the walk.
    ASSERT_TRUE(
        WaitFor(*watch, [&] { return mailsIn().at("First").flags.contains(kStampKeyword); }));
    server->stop();
    ASSERT_TRUE(server->start().isEmpty());
    append(MailWithFile(u"Second"_s, u"second.pdf"_s));
    ASSERT_TRUE(WaitFor(*watch, [&] { return savedFiles().contains(u"second.pdf"_s); }))
        << S(logText());
    EXPECT_TRUE(logText().contains(u"IMAP: watching INBOX again"_s)) << S(logText());

    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(30000));
    EXPECT_EQ(watch->exitCode(), 0) << S(QString::fromUtf8(watch->readAllStandardError()));
    EXPECT_EQ(savedFiles(), (QStringList{u"first.pdf"_s, u"second.pdf"_s})) << S(logText());
    EXPECT_EQ(mailsIn().size(), 2u);
}

// Passes a connection through to the server and cuts both ends the moment the client sends a
// line that starts with `cutAt` (after the tag): the network failing in the middle of a rewrite.
class CuttingProxy {
  public:
    CuttingProxy(quint16 serverPort, QByteArray cutAt) : cutAt_(std::move(cutAt)) {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in a{};
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::bind(listener_, reinterpret_cast<sockaddr*>(&a), sizeof a);
        ::listen(listener_, 4);
        socklen_t len = sizeof a;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&a), &len);
        port_ = ntohs(a.sin_port);
        thread_ = std::thread([this, serverPort] { serve(serverPort); });
    }
    ~CuttingProxy() {
        stop_ = true;
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }
    quint16 port() const { return port_; }
    bool cut() const { return cut_; }

  private:
    void serve(quint16 serverPort) {
        while (!stop_) {
            const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
            if (client < 0) return;
            const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            a.sin_port = htons(serverPort);
            if (::connect(server, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0)
                pump(client, server);
            ::close(server);
            ::close(client);
        }
    }
    void pump(int client, int server) {
        QByteArray fromClient;
        for (;;) {
            pollfd fds[2] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
            if (::poll(fds, 2, 200) < 0 || stop_) return;
            char buf[65536];
            if (fds[1].revents) {
                const ssize_t n = ::read(server, buf, sizeof buf);
                if (n <= 0 || ::write(client, buf, size_t(n)) != n) return;
            }
            if (fds[0].revents) {
                const ssize_t n = ::read(client, buf, sizeof buf);
                if (n <= 0) return;
                fromClient.append(buf, n);
                // Each command line as it passes: the tag, a blank, the command.
                qsizetype eol;
                while ((eol = fromClient.indexOf("\r\n")) >= 0) {
                    const QByteArray line = fromClient.left(eol);
                    if (!cut_ && line.mid(line.indexOf(' ') + 1).startsWith(cutAt_)) {
                        cut_ = true;
                        return; // the command never reaches the server
                    }
                    if (::write(server, fromClient.constData(), size_t(eol + 2)) != eol + 2) return;
                    fromClient.remove(0, eol + 2);
                }
                if (!fromClient.isEmpty() && !fromClient.contains("\r\n")) {
                    // A literal's bytes without a line end yet: pass them on.
                    if (::write(server, fromClient.constData(), size_t(fromClient.size())) !=
                        fromClient.size())
                        return;
                    fromClient.clear();
                }
            }
        }
    }

    QByteArray cutAt_;
    int listener_ = -1;
    quint16 port_ = 0;
    std::thread thread_;
    std::atomic<bool> stop_{false};
    std::atomic<bool> cut_{false};
};

// A rewrite broken off at each of its steps in turn by the network (the connection cut as the
// command is sent): the run after it leaves exactly one copy of every mail on the server. The
// program killed at each step is in test_imap_identity.cpp.
TEST_P(DovecotStoreTest, ARewriteBrokenOffAtAnyStepLeavesExactlyOneCopy) {
    useOnlyRule(SaveAllRule(target, true));
    int n = 0;
    for (const char* cutAt : {"APPEND", "UID STORE", "UID EXPUNGE"}) {
        const QString step = QString::fromLatin1(cutAt);
        SCOPED_TRACE(step.toStdString());
        const QString subject = u"Broken off at "_s + step;
        const QString file = u"file%1.pdf"_s.arg(++n);
        append(MailWithFile(subject, file));
        CuttingProxy proxy(dovecot().port(), cutAt);
        const CommandResult cut =
            runStowaway({u"--store"_s, u"imap+plain://bob@127.0.0.1:%1"_s.arg(proxy.port()),
                         u"--password-command"_s, u"echo secret"_s, u"run"_s, u"1"_s});
        EXPECT_TRUE(proxy.cut()) << S(logText());
        EXPECT_FALSE(cut.crashed);
        ASSERT_EQ(runOn({u"run"_s, u"1"_s}).exitCode, 0);
        const Mailbox mails = mailsIn();
        ASSERT_TRUE(mails.count(subject.toUtf8())) << S(logText());
        // Cut before the new mail was stored, the mail keeps its file and gets the stamp: a later
        // run does not save the file again.
        EXPECT_EQ(mails.at(subject.toUtf8()).body.contains("filename=" + file.toUtf8()),
                  step == u"APPEND"_s)
            << S(logText());
    }
}

} // namespace
