// `stowaway` on a real Dovecot where a mail's identity or its rewrite is at stake: two mailboxes
// with one UIDVALIDITY, a rewrite the server refuses, a server where an expunge does not delete
// (Gmail), and the program killed in the middle of a rewrite.
#include "stowaway_command.h"

#include "data/settings.h"
#include "host/imap/imap_jobs.h"
#include "host/imap/imap_session.h"
#include "host/imap/imap_store.h"
#include "support/dovecot_server.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

struct ServerMail {
    QString subject;
    QSet<QByteArray> flags;
    QDateTime date;
    QByteArray bytes;
};

class ImapIdentityTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        dovecot = std::make_unique<DovecotServer>(TestEnv::home() + u"/dovecot"_s);
        target = TestEnv::home() + u"/Saved"_s;
    }
    void TearDown() override {
        dovecot.reset();
        StowawayCommandTest::TearDown();
    }
    void start() {
        const QString why = dovecot->start();
        ASSERT_TRUE(why.isEmpty()) << S(why);
    }

    CommandResult runOn(const QStringList& command) {
        return runStowaway(QStringList{u"--store"_s, dovecot->url(u"bob"_s),
                                       u"--password-command"_s, u"echo secret"_s} +
                           command);
    }
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
    void append(const SampleMail& mail, const QByteArray& box = "INBOX",
                const QList<QByteArray>& flags = {}) {
        AppendJob job(box, flags, mail.date, BuildSampleMail(mail));
        runAsOther({&job});
    }
    // The mails of a mailbox as the server gives them, in UID order.
    std::vector<ServerMail> serverMails(const QByteArray& box = "INBOX") {
        SelectJob examine(box, true);
        UidFetchJob fetch("1:*", "FLAGS INTERNALDATE BODY.PEEK[]");
        runAsOther({&examine, &fetch});
        std::vector<ServerMail> mails;
        static const QRegularExpression subject(u"^Subject: ([^\r\n]*)"_s,
                                                QRegularExpression::MultilineOption);
        for (const auto& [uid, m] : fetch.mails)
            mails.push_back({subject.match(QString::fromUtf8(m.body)).captured(1), m.flags,
                             m.internalDate, m.body});
        return mails;
    }
    QStringList savedFiles() const {
        QStringList names;
        QDirIterator it(target, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext())
            names << it.next().mid(target.size() + 1);
        names.sort();
        return names;
    }
    // Access rights of bob's mailbox `box` (Dovecot's ACL letters), from the next connection on.
    void limitRights(const QString& box, const QByteArray& rights) {
        QFile acl(dovecot->maildir(u"bob"_s, box) + u"/dovecot-acl"_s);
        ASSERT_TRUE(acl.open(QIODevice::WriteOnly));
        acl.write("owner " + rights + '\n');
    }
    static udtRule RuleFor(const QString& subject, const QString& folder, bool removeAndLink) {
        udtRule rule = SaveAllRule(folder, removeAndLink);
        rule.Name = subject;
        rule.CheckSubj = vbTrue;
        rule.Subject = subject;
        return rule;
    }

    std::unique_ptr<DovecotServer> dovecot;
    QString target;
};

// Cyrus and Courier take UIDVALIDITY from the clock; here both mailboxes are given one before the
// server first sees them. Each rule acts on its own mailbox's mail alone, and an id of the form
// written before mailboxes were part of it opens only where one mailbox has its UIDVALIDITY.
TEST_F(ImapIdentityTest, TwoMailboxesWithOneUidValidityEachKeepTheirOwnMails) {
    for (const QString& box : {u"INBOX"_s, u"Work"_s, u"Other"_s}) {
        const QString dir = dovecot->maildir(u"bob"_s, box);
        for (const char* sub : {"/cur", "/new", "/tmp"})
            QDir().mkpath(dir + QLatin1String(sub));
        QFile uidlist(dir + u"/dovecot-uidlist"_s);
        ASSERT_TRUE(uidlist.open(QIODevice::WriteOnly));
        uidlist.write(box == u"Other"_s ? "3 V1700000099 N1\n" : "3 V1700000001 N1\n");
    }
    start();
    append(MailWithFile(u"Alpha"_s, u"alpha.pdf"_s));
    append(MailWithFile(u"Beta"_s, u"beta.pdf"_s), "Work");
    append(MailWithFile(u"Gamma"_s, u"gamma.pdf"_s), "Other");
    useRules({RuleFor(u"Alpha"_s, target + u"/kept"_s, false),
              RuleFor(u"Beta"_s, target + u"/removed"_s, true)});
    ASSERT_EQ(runOn({u"folders"_s}).exitCode, 0);
    ASSERT_EQ(runOn({u"folders"_s, u"add"_s, u"Work"_s}).exitCode, 0);

    const CommandResult r = runOn({u"run"_s, u"--all"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err) << S(logText());
    EXPECT_EQ(savedFiles(), (QStringList{u"kept/alpha.pdf"_s, u"removed/beta.pdf"_s}));
    EXPECT_EQ(readFile(target + u"/kept/alpha.pdf"_s), QByteArray("%PDF-1.4 Alpha"));
    EXPECT_EQ(readFile(target + u"/removed/beta.pdf"_s), QByteArray("%PDF-1.4 Beta"));
    const std::vector<ServerMail> inbox = serverMails(), work = serverMails("Work");
    ASSERT_EQ(inbox.size(), 1u);
    ASSERT_EQ(work.size(), 1u);
    EXPECT_EQ(inbox[0].subject, u"Alpha"_s);
    EXPECT_TRUE(inbox[0].bytes.contains("alpha.pdf")) << "saved, not removed";
    EXPECT_TRUE(inbox[0].flags.contains(kStampKeyword));
    EXPECT_TRUE(work[0].subject.endsWith(u"Beta"_s)) << S(work[0].subject);
    EXPECT_FALSE(work[0].bytes.contains("filename=")) << "its file taken out";
    EXPECT_TRUE(work[0].flags.contains(kStampKeyword));
    EXPECT_FALSE(logText().contains(u"Maildir"_s)) << S(logText());

    auto store = std::make_shared<ImapStore>(ParseImapUrl(dovecot->url(u"bob"_s)).value,
                                             QByteArray(DovecotServer::kPassword));
    ImapSession session(store);
    const struct {
        const char* id;
        const char* subject; // empty: not opened
        const char* refusal;
    } ids[] = {
        {"1700000001/1", "", "Several mailboxes on bob@127.0.0.1"},
        {"1700000099/1", "Gamma", ""},
        {"Other/1700000099/1", "Gamma", ""},
        {"Work/1700000099/1", "", "is no longer on the server: Work was made anew"},
        {"INBOX/1700000001/1", "Alpha", ""},
    };
    for (const auto& c : ids) {
        SCOPED_TRACE(c.id);
        const Result<MailItemPtr> mail = session.GetMessageFromID(QString::fromLatin1(c.id));
        EXPECT_EQ(mail.ok() ? mail.value->Subject().value : QString(),
                  QString::fromLatin1(c.subject));
        EXPECT_TRUE(mail.error.description.contains(QString::fromLatin1(c.refusal)))
            << S(mail.error.description);
    }
}

// A rewrite the server refuses (here the mailbox's ACL lacks "i", insert): said with the
// server's answer, counted, and the status is not 0; the mail is stamped all the same, by keyword
// where the mailbox takes keywords (ACL "w"), else by the store's own note. A second run saves
// nothing again.
TEST_F(ImapIdentityTest, ARefusedRewriteIsSaidCountedAndStampedAnyway) {
    const struct {
        const char* rights;
        bool removeAndLink;
        bool keyword; // else the store's note
        bool failed;  // the run says a mail could not be changed
    } cases[] = {
        {"lrswtek", true, true, true},
        {"lrstek", true, false, true},
        {"lrstek", false, false, false}, // the stamp was all that was to be written
    };
    for (int n = 1; n <= 3; ++n)
        for (const char* sub : {"/cur", "/new", "/tmp"})
            QDir().mkpath(dovecot->maildir(u"bob"_s, u"Box%1"_s.arg(n)) + QLatin1String(sub));
    start();
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rights + std::string(c.removeAndLink ? " removing" : " saving"));
        const QString box = u"Box%1"_s.arg(++n);
        append(MailWithFile(u"Refused "_s + box, box + u".pdf"_s), box.toUtf8());
        limitRights(box, c.rights);
        const qsizetype logBefore = logText().size();
        useOnlyRule(SaveAllRule(target + u'/' + box, c.removeAndLink));
        SaveSetting(u"Notify"_s, u"1"_s); // the closing summary
        ASSERT_EQ(runOn({u"folders"_s, u"add"_s, box}).exitCode, 0);

        const CommandResult r = runOn({u"run"_s, box});
        const QString said = logText().mid(logBefore);
        EXPECT_EQ(r.exitCode != 0, c.failed) << S(r.out + r.err) << S(said);
        EXPECT_TRUE(said.contains(u"the server did not take the changed mail"_s));
        EXPECT_TRUE(said.contains(u"Permission denied"_s)) << S(said);
        EXPECT_EQ(r.err.contains(u"1 Nachricht(en) konnten nicht geändert werden"_s), c.failed)
            << S(r.err);
        EXPECT_TRUE(r.err.contains(u"1 Datei(en) gespeichert"_s)) << S(r.err);
        EXPECT_FALSE(r.err.contains(u"aus Nachrichten gelöscht"_s)) << S(r.err);
        EXPECT_EQ(said.count(u"takes neither keywords nor changed mails"_s), c.keyword ? 0 : 1);
        const std::vector<ServerMail> mails = serverMails(box.toUtf8());
        ASSERT_EQ(mails.size(), 1u);
        EXPECT_TRUE(mails[0].bytes.contains("filename=")) << "the file stays in the mail";
        EXPECT_EQ(mails[0].flags.contains(kStampKeyword), c.keyword);

        ASSERT_EQ(runOn({u"run"_s, box}).exitCode, 0) << S(logText());
        EXPECT_EQ(savedFiles().filter(box).size(), 1) << S(savedFiles().join(u' '));
    }
}

// Where an expunge only takes a label away (Gmail, X-GM-EXT-1), the old mail goes to the \Trash
// mailbox (SPECIAL-USE) by MOVE and is removed there: one copy remains.
TEST_F(ImapIdentityTest, OnGmailTheOldMailGoesToTheTrashAndIsRemovedThere) {
    dovecot->addConfig(u"imap_capability = +X-GM-EXT-1\n"
                       "namespace inbox {\n  inbox = yes\n"
                       "  mailbox Trash {\n    special_use = \\Trash\n    auto = create\n  }\n}"_s);
    start();
    append(MailWithFile(u"Invoice"_s, u"invoice.pdf"_s));
    useOnlyRule(SaveAllRule(target, true));
    const CommandResult r = runOn({u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err) << S(logText());
    const std::vector<ServerMail> inbox = serverMails();
    ASSERT_EQ(inbox.size(), 1u);
    EXPECT_FALSE(inbox[0].bytes.contains("filename="));
    EXPECT_TRUE(serverMails("Trash").empty());
    QByteArray sent;
    for (int i = 0; i < 50 && !sent.contains("UID EXPUNGE"); ++i, QThread::msleep(100))
        sent = dovecot->clientLines();
    EXPECT_TRUE(sent.contains("UID MOVE 1 \"Trash\"") || sent.contains("UID MOVE 1 Trash"))
        << sent.toStdString();
}

// `stowaway` killed (SIGKILL, as a power cut would) right after each step of a rewrite: the next
// run finishes it. Exactly one copy, its flags and internal date kept, and the user's own mail
// marked \Deleted stays as it is.
TEST_F(ImapIdentityTest, AProgramKilledInARewriteLeavesOneCopyToTheNextRun) {
    start();
    SampleMail deletedByUser = MailWithFile(u"Deleted by the user"_s, u"keep.pdf"_s);
    append(deletedByUser, "INBOX", {"\\Deleted", "\\Seen"});
    useOnlyRule(SaveAllRule(target, true));
    const QDateTime date(QDate(2024, 3, 1), QTime(10, 30), Qt::UTC);
    for (const char* step : {"journaled", "appended", "noted", "stored", "expunged"}) {
        SCOPED_TRACE(step);
        const QString subject = u"Killed after "_s + QLatin1String(step);
        SampleMail mail = MailWithFile(subject, QLatin1String(step) + u".pdf"_s);
        mail.date = date;
        append(mail, "INBOX", {"\\Flagged", "$Work"});
        qputenv("STOWAWAY_IMAP_KILL_AT", step);
        const CommandResult killed = runOn({u"run"_s, u"1"_s});
        qunsetenv("STOWAWAY_IMAP_KILL_AT");
        EXPECT_TRUE(killed.crashed) << S(logText());
        ASSERT_EQ(runOn({u"run"_s, u"1"_s}).exitCode, 0) << S(logText());

        int copies = 0, deleted = 0;
        for (const ServerMail& m : serverMails()) {
            if (m.subject.contains(u"Deleted by the user"_s)) {
                ++deleted;
                EXPECT_TRUE(m.flags.contains("\\Deleted"));
            }
            if (!m.subject.contains(subject)) continue;
            ++copies;
            EXPECT_FALSE(m.bytes.contains("filename=")) << "its file taken out";
            EXPECT_EQ(m.date, date);
            for (const char* flag : {"\\Flagged", "$Work", kStampKeyword})
                EXPECT_TRUE(m.flags.contains(flag)) << flag;
            EXPECT_FALSE(m.flags.contains("\\Deleted"));
        }
        EXPECT_EQ(copies, 1) << S(logText());
        EXPECT_EQ(deleted, 1);
    }
}

} // namespace
