// Mail as other programs write it, in a Maildir that mbsync keeps in step with a real Dovecot
// while `stowaway` works on it.
#include "stowaway_command.h"

#include "support/dovecot_server.h"
#include "support/python_email.h"

#include <QJsonArray>
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
        // Each body kind lists every file: a link counts once.
        for (auto it = link.globalMatch(text); it.hasNext();)
            if (const QString l = it.next().captured(); !view.links.contains(l)) view.links << l;
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

class SyncRoundTripTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        if (QStandardPaths::findExecutable(u"mbsync"_s).isEmpty() || !DovecotServer::Installed())
            GTEST_SKIP() << "mbsync or dovecot is not installed (scripts/install-deps)";
        dovecot = std::make_unique<DovecotServer>(TestEnv::home() + u"/dovecot"_s);
        for (const char* sub : {"/cur", "/new", "/tmp"})
            QDir().mkpath(server() + QLatin1String(sub));
        QDir().mkpath(TestEnv::home() + u"/Folders"_s);
    }
    QString server() const { return dovecot->maildir(u"anna"_s); }

    // A mail put straight into the server's Maildir, as its delivery agent would.
    void deliverOnServer(const QByteArray& mail, const QString& name) {
        const QString path = server() + u"/new/"_s + name;
        ASSERT_TRUE(PutFile(path, mail));
        QProcess::execute(u"chown"_s, {u"--reference="_s + server(), path});
    }

    // One run of mbsync, both ways; empty, or what it said when it failed.
    QString sync() {
        const QString rc = TestEnv::home() + u"/mbsyncrc"_s;
        PutFile(rc, u"IMAPAccount server\nHost 127.0.0.1\nPort %1\nUser anna\nPass %2\n"
                    "SSLType None\nAuthMechs LOGIN\n\nIMAPStore remote\nAccount server\n\n"
                    "MaildirStore local\nInbox %3\nPath %4/Folders/\n\nChannel inbox\n"
                    "Far :remote:INBOX\nNear :local:INBOX\nExpunge Both\nSyncState *\n"_s
                        .arg(dovecot->port())
                        .arg(QLatin1String(DovecotServer::kPassword), root, TestEnv::home())
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

    // The mails of a Maildir by Message-ID, as Python reads them.
    static std::multimap<QString, PythonView> MailsIn(const QString& maildir) {
        QStringList files;
        for (const char* sub : {"/cur/", "/new/"})
            for (const QString& name : QDir(maildir + QLatin1String(sub)).entryList(QDir::Files))
                files << maildir + QLatin1String(sub) + name;
        std::multimap<QString, PythonView> mails;
        for (const QJsonValue& parsed : ParseAllWithPython(files)) {
            const PythonView view = ViewOf(parsed.toObject());
            mails.emplace(view.messageId, view);
        }
        return mails;
    }

    std::unique_ptr<DovecotServer> dovecot;
    const QString target = TestEnv::home() + u"/Saved"_s;
};

// Mails as other programs write them, in a Maildir that mbsync keeps in step with the server,
// through a real run that saves every file, takes it out and links it: on the server every mail
// once, without its files, every word of its body texts kept, and links that reach files whole.
TEST_F(SyncRoundTripTest, EveryMailReachesTheServerOnceWithItsWordsAndLinksToItsWholeFiles) {
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
        {"broken-header-wrap.eml", {u"minutes.txt"_s}},
        {"stray-first-header-line.eml", {u"list.txt"_s}},
        // "?" is no letter of a saved name; "#" and "%" are, and links escape them.
        {"names-with-hash-percent-question.eml",
         {u"Plan #3 (final).pdf"_s, u"100% done.txt"_s, u"Grüße why_.txt"_s}},
        {"unused-content-ids-on-attachments.eml", {u"Bericht.doc"_s, u"scan.pdf"_s}},
        {"uuencoded-attachment-with-content-id.eml", {u"data.bin"_s}},
        {"crlf-text-attachments-in-every-encoding.eml",
         {u"umlaut.txt"_s, u"qp.txt"_s, u"table.csv"_s, u"b64.txt"_s, u"lf-lines.txt"_s,
          u"notes.txt"_s}},
    };
    // They come in locally first: mbsync would give CRLF mails LF lines on the way down.
    QStringList samples;
    for (const auto& row : rows)
        samples << deliverDataFile(QLatin1String(row.file));
    const QJsonArray before = ParseAllWithPython(samples);
    ASSERT_EQ(dovecot->start(), QString());
    ASSERT_EQ(sync(), QString());
    useOnlyRule(SaveAllRule(target, true));
    const CommandResult r = runStowaway({u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);
    ASSERT_EQ(sync(), QString());

    const std::multimap<QString, PythonView> after = MailsIn(server());
    EXPECT_EQ(after.size(), std::size(rows));
    for (size_t row = 0; row < std::size(rows); ++row) {
        SCOPED_TRACE(rows[row].file);
        const QStringList& names = rows[row].saved;
        const PythonView was = ViewOf(before[qsizetype(row)].toObject());
        EXPECT_EQ(was.files.size(), size_t(names.size()));
        EXPECT_EQ(after.count(was.messageId), 1u);
        const PythonView now =
            after.count(was.messageId) ? after.find(was.messageId)->second : PythonView{};
        EXPECT_TRUE(now.files.empty());
        for (const QString& w : was.words)
            EXPECT_TRUE(now.words.contains(w)) << "lost: " << S(w);
        EXPECT_EQ(now.links.size(), names.size()) << S(now.links.join(u' '));
        for (qsizetype i = 0; i < qMin(names.size(), now.links.size()); ++i) {
            const QString saved = target + u'/' + names[i];
            EXPECT_EQ(QUrl(now.links[i]).toLocalFile(), saved);
            EXPECT_EQ(readFile(saved), was.files[size_t(i)]) << S(saved);
            if (haveCurl)
                EXPECT_EQ(ThroughCurl(now.links[i]), was.files[size_t(i)]) << S(now.links[i]);
        }
    }

    // Then mail arrives while the service watches: three rounds of mbsync, each bringing a
    // mail down and taking the rewritten one up, which mbsync then renames (",U=").
    const auto watch = startStowaway({u"watch"_s});
    ASSERT_TRUE(WaitFor(*watch, [&] { return watch->peek(4096).contains("Watching 1 folder(s)"); }))
        << watch->readAllStandardError().toStdString();
    for (int round = 1; round <= 3; ++round) {
        const QString subject = u"Round %1"_s.arg(round);
        deliverOnServer(BuildSampleMail(MailWithFile(subject, subject + u".pdf"_s)),
                        u"round-%1"_s.arg(round));
        ASSERT_EQ(sync(), QString());
        ASSERT_TRUE(WaitFor(*watch, [&] { return stamped(subject); })) << S(logText());
        ASSERT_EQ(sync(), QString());
    }
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(60000));
    const QString said = QString::fromUtf8(watch->readAllStandardError()) + logText();
    EXPECT_FALSE(said.contains(u"Error"_s) || said.contains(u"Fehler"_s)) << S(said);
    const std::multimap<QString, PythonView> mails = MailsIn(server());
    EXPECT_EQ(mails.size(), std::size(rows) + 3);
    for (const auto& [id, mail] : mails) {
        EXPECT_EQ(mails.count(id), 1u) << S(id);
        EXPECT_TRUE(mail.files.empty()) << S(id);
    }
    EXPECT_EQ(MailsIn(root).size(), mails.size());
}

} // namespace
