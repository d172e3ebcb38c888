// Real and test runs of `stowaway` over a Maildir: the files land where the rules say, with the
// mails' bytes; rewritten mails stay sound for other readers; a test run changes nothing.
#include "stowaway_command.h"

#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "support/python_email.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace {

udtRule Rule(const QString& name, int16_t saveBy, int16_t saveFormat, const QString& folder) {
    udtRule r = MakeRule(name, saveBy, folder, FileExists::Number);
    r.SaveFormat = saveFormat;
    return r;
}

// Bytes that no text conversion leaves alone: every byte value, and the name.
QByteArray Content(const QString& name) {
    QByteArray bytes = name.toUtf8();
    for (int i = 0; i < 512; ++i)
        bytes.append(char(i * 7 % 256));
    return bytes;
}

SampleMail Mail(const QString& from, const QString& subject, const QDateTime& date,
                const QStringList& files) {
    SampleMail m;
    m.fromName = from;
    m.fromAddress = from.section(QLatin1Char(' '), 0, 0).toLower() + u"@example.org"_s;
    m.subject = subject;
    m.date = date;
    for (const QString& f : files)
        m.attachments.push_back(SampleAttachment::file(f, "application/octet-stream", Content(f)));
    return m;
}

// The bytes of the part named `name`, as Python's email package decodes them.
QByteArray PythonAttachment(const QString& path, const QString& name) {
    for (const QJsonValue& p : ParseWithPython(path)[u"parts"_s].toArray())
        if (p.toObject()[u"filename"_s].toString() == name)
            return QByteArray::fromBase64(p.toObject()[u"data"_s].toString().toLatin1());
    return {};
}

QString Flags(const QString& path) {
    const qsizetype info = path.lastIndexOf(u":2,"_s);
    return info < 0 ? QString() : path.mid(info + 3);
}

QString Link(const QString& path) {
    return u"file://"_s + QString(path).replace(QLatin1Char(' '), u"%20"_s);
}

class RealRunTest : public StowawayCommandTest {
  protected:
    // Adds a flag to a delivered mail's file name.
    static QString flagged(const QString& path, const QString& flag) {
        EXPECT_TRUE(QFile::rename(path, path + flag));
        return path + flag;
    }
    QString target(const QString& sub = {}) const {
        return TestEnv::home() + u"/Saved"_s + (sub.isEmpty() ? QString() : QLatin1Char('/') + sub);
    }
};

TEST_F(RealRunTest, RulesByDateSenderAndFixedFolderSaveTheAttachmentsBytesUnderTheirNames) {
    const QDate day(2024, 3, 15);
    deliver(Mail(u"Anna Berg"_s, u"Invoice 42"_s, QDateTime(day, QTime(10, 0)),
                 {u"invoice.pdf"_s, u"sheet.xlsx"_s}));
    deliver(
        Mail(u"Bert Cole"_s, u"Invoice 43"_s, QDateTime(day, QTime(11, 0)), {u"invoice.pdf"_s}));
    deliver(Mail(u"Anna Berg"_s, u"Photos"_s, QDateTime(QDate(2024, 4, 1), QTime(12, 0)),
                 {u"photo.jpg"_s}));
    // Read, and stamped: a plain run passes both over.
    const QString read = deliver(
        Mail(u"Anna Berg"_s, u"Invoice 44"_s, QDateTime(day, QTime(12, 0)), {u"invoice.pdf"_s}), {},
        SampleMailFlags{true});
    SampleMail done =
        Mail(u"Anna Berg"_s, u"Invoice 45"_s, QDateTime(day, QTime(13, 0)), {u"invoice.pdf"_s});
    done.mileage = u"QWKStowaway"_s;
    const QString stamped = deliver(done);
    const QString names = deliverDataFile(u"rfc2231-continuation-name.eml"_s);
    const QString longName = u"Sehr langer Dateiname mit Ümlauten äöü.pdf"_s;
    const QByteArray longNameBytes = PythonAttachment(names, longName);
    ASSERT_FALSE(longNameBytes.isEmpty());
    const QByteArray readBytes = readFile(read);
    const QByteArray stampedBytes = readFile(stamped);

    udtRule byDate = Rule(u"Invoices by date"_s, 0, 1, target(u"date"_s));
    byDate.CheckSubj = vbTrue;
    byDate.Subject = u"Invoice"_s;
    udtRule bySender = Rule(u"Anna by name"_s, 1, 0, target(u"sender"_s));
    bySender.CheckSender = vbTrue;
    bySender.Sender = u"anna@example.org"_s;
    udtRule pdfs = Rule(u"PDFs"_s, 4, 0, target(u"pdf"_s));
    pdfs.CheckFileFormat = vbTrue;
    pdfs.FileFormat = u"PDF"_s;
    useRules({byDate, bySender, pdfs});

    const CommandResult r = runStowaway({u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);

    const QMap<QString, QByteArray> expected = {
        {u"date/2024-03-15/invoice.pdf"_s, Content(u"invoice.pdf"_s)},
        {u"date/2024-03-15/sheet.xlsx"_s, Content(u"sheet.xlsx"_s)},
        // Bert's invoice comes second: the conflict gives it a number.
        {u"date/2024-03-15/invoice -0002.pdf"_s, Content(u"invoice.pdf"_s)},
        {u"sender/Anna Berg/invoice.pdf"_s, Content(u"invoice.pdf"_s)},
        {u"sender/Anna Berg/sheet.xlsx"_s, Content(u"sheet.xlsx"_s)},
        {u"sender/Anna Berg/photo.jpg"_s, Content(u"photo.jpg"_s)},
        {u"pdf/invoice.pdf"_s, Content(u"invoice.pdf"_s)},
        {u"pdf/invoice -0002.pdf"_s, Content(u"invoice.pdf"_s)},
        {u"pdf/"_s + longName, longNameBytes},
    };
    const QMap<QString, QByteArray> saved = filesUnder(target());
    EXPECT_EQ(QStringList(saved.keys()), QStringList(expected.keys()));
    for (auto it = expected.begin(); it != expected.end(); ++it)
        EXPECT_TRUE(saved.value(it.key()) == it.value()) << S(it.key());
    EXPECT_EQ(readFile(read), readBytes);
    EXPECT_EQ(readFile(stamped), stampedBytes);
}

TEST_F(RealRunTest, RemovalWithLinksRewritesHtmlAndPlainMailsSoundlyUnderNewNames) {
    struct Case {
        QString subject;
        QString flags; // of the file name, kept through the rewrite
        QString text;  // of the body, kept
        QStringList removed;
        QStringList keptParts; // "type name" of the parts that stay
    };
    SampleMail html = Mail(u"Anna Berg"_s, u"HTML only"_s,
                           QDateTime(QDate(2024, 5, 2), QTime(9, 0)), {u"Q1 report.pdf"_s});
    html.textBody.clear();
    html.htmlBody = u"<html><body><p>Our logo: <img src=\"cid:logo@x\"></p>"
                    "<p>Quarterly numbers, Grüße</p></body></html>"_s;
    SampleAttachment logo = SampleAttachment::file(u"logo.png"_s, "image/png", Content(u"png"_s));
    logo.contentId = u"logo@x"_s;
    html.attachments.push_back(logo);
    flagged(deliver(html), u"F"_s);

    SampleMail both = Mail(u"Bert Cole"_s, u"Text and HTML"_s,
                           QDateTime(QDate(2024, 5, 3), QTime(9, 0)), {u"plan.odt"_s});
    both.htmlBody = u"<html><body><p>The plan, as promised: 5 € a piece.</p></body></html>"_s;
    SampleMailFlags inNew;
    inNew.inNew = true;
    deliver(both, {}, inNew);

    SampleMail plain =
        Mail(u"Carl Dorn"_s, u"Plain text"_s, QDateTime(QDate(2024, 5, 4), QTime(9, 0)),
             {u"scan 1.pdf"_s, u"notes.txt"_s});
    plain.textBody = u"Two files, as discussed. Grüße, Carl\n"_s;
    deliver(plain);
    deliverDataFile(u"chunked-base64-attachment.eml"_s, u"FR"_s);

    const std::vector<Case> cases = {
        {u"HTML only"_s,
         u"F"_s,
         u"<p>Quarterly numbers, Grüße</p>"_s,
         {u"Q1 report.pdf"_s},
         {u"image/png logo.png"_s}},
        {u"Text and HTML"_s,
         QString(),
         u"The plan, as promised: 5 € a piece."_s,
         {u"plan.odt"_s},
         {}},
        {u"Plain text"_s,
         QString(),
         u"Two files, as discussed. Grüße, Carl"_s,
         {u"scan 1.pdf"_s, u"notes.txt"_s},
         {}},
        {u"Chunked base64"_s, u"FR"_s, u"See the attached text."_s, {u"fox.txt"_s}, {}},
    };
    const QStringList before = mailFiles();
    ASSERT_EQ(before.size(), int(cases.size()));

    udtRule rule = Rule(u"Take out"_s, 4, 0, target());
    rule.DelAttach = vbTrue;
    rule.Hyperlink = vbTrue;
    useRules({rule});
    const CommandResult r = runStowaway({u"run"_s, u"1"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);

    const QStringList after = mailFiles();
    ASSERT_EQ(after.size(), before.size());
    for (const QString& path : before)
        EXPECT_FALSE(after.contains(path)) << "still under its old name: " << S(path);
    std::map<QString, QString> bySubject;
    for (const QString& path : after)
        bySubject[ParseWithPython(path)[u"subject"_s].toString()] = path;

    for (const Case& c : cases) {
        SCOPED_TRACE(S(c.subject));
        ASSERT_EQ(bySubject.count(c.subject), 1u);
        const QString path = bySubject[c.subject];
        const bool wasNew = c.subject == QLatin1String("Text and HTML");
        EXPECT_EQ(path.contains(u"/new/"_s), wasNew) << S(path);
        EXPECT_EQ(Flags(path), c.flags) << S(path);

        const QJsonObject parsed = ParseWithPython(path);
        EXPECT_TRUE(parsed[u"defects"_s].toArray().isEmpty());
        EXPECT_EQ(parsed[u"mileage"_s].toString(), u"QWKStowaway"_s);
        const QStringList parts = PartSummary(parsed);
        QString texts;
        for (const QJsonValue& p : parsed[u"parts"_s].toArray())
            texts += p.toObject()[u"text"_s].toString();
        EXPECT_TRUE(texts.contains(c.text)) << S(texts);
        for (const QString& name : c.removed) {
            EXPECT_FALSE(parts.join(QLatin1Char('\n')).contains(name)) << S(parts.join(", "));
            // Every text part lists the link, whichever one a reader shows.
            for (const QJsonValue& p : parsed[u"parts"_s].toArray()) {
                if (p.toObject().contains(u"text"_s)) {
                    EXPECT_TRUE(p.toObject()[u"text"_s].toString().contains(Link(target(name))))
                        << S(p.toObject()[u"type"_s].toString());
                }
            }
            EXPECT_TRUE(QFile::exists(target(name))) << S(name);
        }
        for (const QString& part : c.keptParts)
            EXPECT_TRUE(parts.contains(part)) << S(parts.join(", "));
    }
}

TEST_F(RealRunTest, ATestRunChangesNoMailAndWritesNothingButTheLogAndProtocol) {
    deliver(Mail(u"Anna Berg"_s, u"Invoice 42"_s, QDateTime(QDate(2024, 3, 15), QTime(10, 0)),
                 {u"invoice.pdf"_s}));
    SampleMail html =
        Mail(u"Bert Cole"_s, u"HTML"_s, QDateTime(QDate(2024, 3, 16), QTime(10, 0)), {u"a.pdf"_s});
    html.htmlBody = u"<html><body>Hi</body></html>"_s;
    deliver(html);
    deliverDataFile(u"rfc2231-continuation-name.eml"_s, u"F"_s);
    udtRule rule = Rule(u"Take out"_s, 0, 1, target());
    rule.DelAttach = vbTrue;
    rule.Hyperlink = vbTrue;
    useRules({rule});
    // A first start writes its data files; that is not the test run's doing.
    ASSERT_EQ(runStowaway({u"rules"_s}).exitCode, 0);

    const QMap<QString, QByteArray> before = filesUnder(TestEnv::home());
    // Every question of the test run answered with "go on".
    const CommandResult r = runStowaway({u"test"_s, u"1"_s, u"--yes"_s});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_TRUE(r.err.contains(u"invoice.pdf"_s)) << S(r.err);

    // Only the LOG and the protocol (of the tested files) change; every mail stays as it was.
    const QMap<QString, QByteArray> after = filesUnder(TestEnv::home());
    QStringList changed;
    for (auto it = after.begin(); it != after.end(); ++it)
        if (before.value(it.key()) != it.value()) changed << it.key();
    for (const QString& path : before.keys())
        if (!after.contains(path)) changed << path;
    const QDir home(TestEnv::home());
    EXPECT_EQ(changed,
              (QStringList{home.relativeFilePath(GetDataFolder() + u"QWKStowaway.prt"_s),
                           home.relativeFilePath(GetDataFolder() + u"QWKStowaway.txt"_s)}));
}

} // namespace
