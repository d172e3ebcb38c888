// Mail as other programs write it, through real runs: every file saved whole, every word of
// every body kept, every link reaching its file; and a Maildir that mbsync keeps in step with
// a real Dovecot while `stowaway` works on it.
#include "stowaway_command.h"

#include "support/dovecot_server.h"
#include "support/python_email.h"

#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

// What Python's email package finds in a mail: the bytes of every part that is not body text,
// the words of the body texts, and the file links in them.
struct PythonView {
    std::vector<QByteArray> files;
    QSet<QString> words;
    QStringList links;
    QString messageId;
};

PythonView ViewOf(const QJsonObject& parsed) {
    PythonView view;
    view.messageId = parsed[u"id"_s].toString();
    static const QRegularExpression word(u"\\w+"_s, QRegularExpression::UseUnicodePropertiesOption);
    static const QRegularExpression link(u"file://[^\"<>\\s]+"_s);
    for (const QJsonValue& v : parsed[u"parts"_s].toArray()) {
        const QJsonObject p = v.toObject();
        const QString type = p[u"type"_s].toString();
        if (!p.contains(u"data"_s)) continue;
        const bool bodyText =
            p[u"filename"_s].isNull() && (type == u"text/plain"_s || type == u"text/html"_s);
        if (!bodyText) {
            view.files.push_back(QByteArray::fromBase64(p[u"data"_s].toString().toLatin1()));
            continue;
        }
        const QString text = p[u"text"_s].toString();
        for (auto it = word.globalMatch(text); it.hasNext();)
            view.words.insert(it.next().captured());
        for (auto it = link.globalMatch(text); it.hasNext();)
            view.links << it.next().captured();
    }
    return view;
}

// The bytes behind a link, as curl opens it.
QByteArray ThroughCurl(const QString& link) {
    QProcess curl;
    curl.start(u"curl"_s, {u"-s"_s, link});
    curl.waitForFinished(60000);
    return curl.readAllStandardOutput();
}

class RealMailTest : public StowawayCommandTest {
  protected:
    QString target = TestEnv::home() + u"/Saved"_s;
};

TEST_F(RealMailTest, MailsOfOtherProgramsKeepEveryWordAndEveryFileComesOutWhole) {
    const bool haveCurl = !QStandardPaths::findExecutable(u"curl"_s).isEmpty();
    const struct {
        const char* file;
        QStringList saved; // in document order
    } rows[] = {
        {"apple-mail-text-after-picture.eml", {u"whiteboard.png"_s}},
        {"html-without-body-close.eml", {u"Rechnung.pdf"_s}},
        {"html-body-with-nul-byte.eml", {u"bollettino.pdf"_s}},
        {"uuencoded-attachment-with-crlf-lines.eml", {u"archive.zip"_s}},
        {"base64-with-epilogue.eml", {u"seven.bin"_s}},
        {"broken-header-wrap.eml", {u"notes.txt"_s}},
        {"stray-first-header-line.eml", {u"list.txt"_s}},
        // "?" is no letter of a saved name; "#" and "%" are, and links escape them.
        {"names-with-hash-percent-question.eml",
         {u"Plan #3 (final).pdf"_s, u"100% done.txt"_s, u"Grüße why_.txt"_s}},
    };
    QStringList delivered;
    for (const auto& row : rows)
        delivered << deliverDataFile(QLatin1String(row.file));
    std::vector<PythonView> before;
    for (const QJsonValue& parsed : ParseAllWithPython(delivered))
        before.push_back(ViewOf(parsed.toObject()));
    useOnlyRule(SaveAllRule(target, true));
    const CommandResult r = runStowaway({u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);

    std::map<QString, PythonView> after; // by Message-ID
    for (const QJsonValue& parsed : ParseAllWithPython(mailFiles())) {
        const PythonView view = ViewOf(parsed.toObject());
        after[view.messageId] = view;
    }
    for (size_t row = 0; row < std::size(rows); ++row) {
        SCOPED_TRACE(rows[row].file);
        const QStringList& names = rows[row].saved;
        const PythonView& was = before[row];
        ASSERT_EQ(was.files.size(), size_t(names.size()));
        const QString id = was.messageId;
        ASSERT_EQ(after.count(id), 1u);
        const PythonView& now = after[id];
        EXPECT_TRUE(now.files.empty());
        for (const QString& w : was.words)
            EXPECT_TRUE(now.words.contains(w)) << "lost: " << S(w);
        ASSERT_EQ(now.links.size(), names.size()) << S(now.links.join(u' '));
        for (qsizetype i = 0; i < names.size(); ++i) {
            const QString saved = target + u'/' + names[i];
            EXPECT_EQ(readFile(saved), was.files[size_t(i)]) << S(saved);
            EXPECT_EQ(QUrl(now.links[i]).toLocalFile(), saved);
            if (haveCurl)
                EXPECT_EQ(ThroughCurl(now.links[i]), was.files[size_t(i)]) << S(now.links[i]);
        }
    }
}

// mbsync keeps the Maildir in step with a real Dovecot, as most Linux users have it.
class SyncRoundTripTest : public RealMailTest {
  protected:
    void SetUp() override {
        RealMailTest::SetUp();
        if (QStandardPaths::findExecutable(u"mbsync"_s).isEmpty() || !DovecotServer::Installed())
            GTEST_SKIP() << "mbsync or dovecot is not installed (scripts/install-deps)";
        dovecot = std::make_unique<DovecotServer>(TestEnv::home() + u"/dovecot"_s);
        for (const char* sub : {"/cur", "/new", "/tmp"})
            QDir().mkpath(server() + QLatin1String(sub));
    }
    QString server() const { return dovecot->maildir(u"anna"_s); }

    // A mail put straight into the server's Maildir, as its delivery agent would.
    void deliverOnServer(const QByteArray& mail, const QString& name) {
        const QString path = server() + u"/new/"_s + name;
        ASSERT_TRUE(PutFile(path, mail));
        QProcess::execute(u"chown"_s, {u"--reference="_s + server(), path});
    }

    // One run of mbsync over every mailbox, both ways; what it says when it fails.
    QString sync() {
        const QString rc = TestEnv::home() + u"/mbsyncrc"_s;
        QDir().mkpath(TestEnv::home() + u"/Folders"_s);
        if (!QFile::exists(rc))
            PutFile(rc, QStringLiteral("IMAPAccount server\nHost 127.0.0.1\nPort %1\nUser anna\n"
                                       "Pass %2\nSSLType None\nAuthMechs LOGIN\n\n"
                                       "IMAPStore remote\nAccount server\n\n"
                                       "MaildirStore local\nInbox %3\nPath %4/\n\n"
                                       "Channel inbox\nFar :remote:INBOX\nNear :local:INBOX\n"
                                       "Create Near\nExpunge Both\nSyncState *\n")
                            .arg(dovecot->port())
                            .arg(QLatin1String(DovecotServer::kPassword), root,
                                 TestEnv::home() + u"/Folders"_s)
                            .toUtf8());
        QProcess mbsync;
        mbsync.start(u"mbsync"_s, {u"-c"_s, rc, u"-a"_s});
        mbsync.waitForFinished(120000);
        // The test server speaks without TLS, which mbsync warns of every time.
        const QString said =
            QString::fromUtf8(mbsync.readAllStandardError())
                .remove(u"*** IMAP Warning *** Password is being sent in the clear\n"_s);
        return mbsync.exitCode() == 0 && said.isEmpty() ? QString() : said + u"(failed)"_s;
    }

    // The server's mails by Message-ID, as Python reads them.
    std::multimap<QString, PythonView> onServer() const {
        QStringList files;
        for (const char* sub : {"/cur/", "/new/"})
            for (const QString& name : QDir(server() + QLatin1String(sub)).entryList(QDir::Files))
                files << server() + QLatin1String(sub) + name;
        std::multimap<QString, PythonView> mails;
        for (const QJsonValue& parsed : ParseAllWithPython(files)) {
            const PythonView view = ViewOf(parsed.toObject());
            mails.emplace(view.messageId, view);
        }
        return mails;
    }

    std::unique_ptr<DovecotServer> dovecot;
};

TEST_F(SyncRoundTripTest, EveryMailReachesTheServerOnceWithoutItsFilesAndWithLinksToThem) {
    const char* samples[] = {"apple-mail-text-after-picture.eml", "html-without-body-close.eml",
                             "uuencoded-attachment-with-crlf-lines.eml",
                             "names-with-hash-percent-question.eml"};
    for (const char* sample : samples)
        deliverOnServer(FileBytes(TestEnv::dataFile(u"mails/"_s + QLatin1String(sample))),
                        QLatin1String(sample));
    ASSERT_EQ(dovecot->start(), QString());
    ASSERT_EQ(sync(), QString());
    ASSERT_EQ(mailFiles().size(), int(std::size(samples)));
    useOnlyRule(SaveAllRule(target, true));
    const CommandResult r = runStowaway({u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);
    ASSERT_EQ(sync(), QString());

    // Then mail arrives while the service watches: three rounds of mbsync, each bringing a
    // mail down and taking the rewritten one up (and giving it its ",U=" name).
    const auto watch = startStowaway({u"watch"_s});
    ASSERT_TRUE(WaitFor(*watch, [&] { return watch->peek(4096).contains("Watching 1 folder(s)"); }))
        << watch->readAllStandardError().toStdString();
    for (int round = 1; round <= 3; ++round) {
        const QString subject = u"Round %1"_s.arg(round);
        deliverOnServer(BuildSampleMail(MailWithFile(subject, subject + u".pdf"_s)),
                        subject.toLower().replace(u' ', u'-'));
        ASSERT_EQ(sync(), QString());
        ASSERT_TRUE(WaitFor(*watch, [&] { return stamped(subject); })) << S(logText());
        ASSERT_EQ(sync(), QString());
    }
    ASSERT_EQ(sync(), QString());
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(60000));
    const QString said = QString::fromUtf8(watch->readAllStandardError());
    EXPECT_FALSE(said.contains(u"Error"_s)) << S(said);
    const QString log = logText();
    EXPECT_FALSE(log.contains(u"Error"_s) || log.contains(u"Fehler"_s)) << S(log);

    const std::multimap<QString, PythonView> mails = onServer();
    EXPECT_EQ(mails.size(), std::size(samples) + 3);
    for (const auto& [id, mail] : mails) {
        SCOPED_TRACE(S(id));
        EXPECT_EQ(mails.count(id), 1u);
        EXPECT_TRUE(mail.files.empty());
        EXPECT_FALSE(mail.links.isEmpty());
        for (const QString& link : mail.links)
            EXPECT_TRUE(QFile::exists(QUrl(link).toLocalFile())) << S(link);
    }
    EXPECT_EQ(mailFiles().size(), int(mails.size()));
}

} // namespace
