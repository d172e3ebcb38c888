// Real and test runs of `stowaway` over a Maildir: the files land where the rules say, with the
// mails' bytes; rewritten mails stay sound for other readers; a test run changes nothing.
#include "stowaway_command.h"

#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "support/python_email.h"

#include <QJsonArray>

namespace {

udtRule Rule(const QString& name, int16_t saveBy, int16_t saveFormat, const QString& folder) {
    udtRule r;
    r.Active = vbTrue;
    r.Name = name;
    r.SaveBy = saveBy;
    r.SaveFormat = saveFormat;
    r.Folder = folder;
    r.FileExists = 2; // number
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
    m.fromAddress = from.section(QLatin1Char(' '), 0, 0).toLower() + QStringLiteral("@example.org");
    m.subject = subject;
    m.date = date;
    for (const QString& f : files)
        m.attachments.push_back(SampleAttachment::file(f, "application/octet-stream", Content(f)));
    return m;
}

// Python's email package decodes the attachments of a mail file: name and bytes.
QMap<QString, QByteArray> PythonAttachments(const QString& path) {
    static const char* script = R"(
import base64, email, json, sys
from email import policy
m = email.message_from_binary_file(open(sys.argv[1], 'rb'), policy=policy.default)
print(json.dumps({p.get_filename(): base64.b64encode(p.get_payload(decode=True)).decode()
                  for p in m.iter_attachments()}))
)";
    QProcess python;
    python.start(QStringLiteral("python3"),
                 {QStringLiteral("-c"), QString::fromUtf8(script), path});
    python.waitForFinished(-1);
    QMap<QString, QByteArray> files;
    const QJsonObject parsed = QJsonDocument::fromJson(python.readAllStandardOutput()).object();
    for (auto it = parsed.begin(); it != parsed.end(); ++it)
        files.insert(it.key(), QByteArray::fromBase64(it.value().toString().toLatin1()));
    return files;
}

// The mail files of the Inbox, by their path.
QStringList InboxFiles(const QString& root) {
    QStringList files;
    for (const char* sub : {"/cur", "/new"})
        for (const QString& name : QDir(root + QLatin1String(sub)).entryList(QDir::Files))
            files << root + QLatin1String(sub) + QLatin1Char('/') + name;
    return files;
}

QString Flags(const QString& path) {
    const qsizetype info = path.lastIndexOf(QStringLiteral(":2,"));
    return info < 0 ? QString() : path.mid(info + 3);
}

QString Link(const QString& path) {
    return QStringLiteral("file://") +
           QString(path).replace(QLatin1Char(' '), QStringLiteral("%20"));
}

class RealRunTest : public StowawayCommandTest {
  protected:
    // Adds a flag to a delivered mail's file name.
    static QString flagged(const QString& path, const QString& flag) {
        EXPECT_TRUE(QFile::rename(path, path + flag));
        return path + flag;
    }
    QString target(const QString& sub = {}) const {
        return TestEnv::home() + QStringLiteral("/Saved") +
               (sub.isEmpty() ? QString() : QLatin1Char('/') + sub);
    }
};

TEST_F(RealRunTest, RulesByDateSenderAndFixedFolderSaveTheAttachmentsBytesUnderTheirNames) {
    const QDate day(2024, 3, 15);
    deliver(Mail(QStringLiteral("Anna Berg"), QStringLiteral("Invoice 42"),
                 QDateTime(day, QTime(10, 0)),
                 {QStringLiteral("invoice.pdf"), QStringLiteral("sheet.xlsx")}));
    deliver(Mail(QStringLiteral("Bert Cole"), QStringLiteral("Invoice 43"),
                 QDateTime(day, QTime(11, 0)), {QStringLiteral("invoice.pdf")}));
    deliver(Mail(QStringLiteral("Anna Berg"), QStringLiteral("Photos"),
                 QDateTime(QDate(2024, 4, 1), QTime(12, 0)), {QStringLiteral("photo.jpg")}));
    // Read, and stamped: a plain run passes both over.
    const QString read =
        deliver(Mail(QStringLiteral("Anna Berg"), QStringLiteral("Invoice 44"),
                     QDateTime(day, QTime(12, 0)), {QStringLiteral("invoice.pdf")}),
                {}, SampleMailFlags{true});
    SampleMail done = Mail(QStringLiteral("Anna Berg"), QStringLiteral("Invoice 45"),
                           QDateTime(day, QTime(13, 0)), {QStringLiteral("invoice.pdf")});
    done.mileage = QStringLiteral("QWKStowaway");
    const QString stamped = deliver(done);
    const QString names = deliverDataFile(QStringLiteral("rfc2231-continuation-name.eml"));
    const QString longName = QStringLiteral("Sehr langer Dateiname mit Ümlauten äöü.pdf");
    const QByteArray longNameBytes = PythonAttachments(names).value(longName);
    ASSERT_FALSE(longNameBytes.isEmpty());
    const QByteArray readBytes = readFile(read);
    const QByteArray stampedBytes = readFile(stamped);

    udtRule byDate = Rule(QStringLiteral("Invoices by date"), 0, 1, target(QStringLiteral("date")));
    byDate.CheckSubj = vbTrue;
    byDate.Subject = QStringLiteral("Invoice");
    udtRule bySender = Rule(QStringLiteral("Anna by name"), 1, 0, target(QStringLiteral("sender")));
    bySender.CheckSender = vbTrue;
    bySender.Sender = QStringLiteral("anna@example.org");
    udtRule pdfs = Rule(QStringLiteral("PDFs"), 4, 0, target(QStringLiteral("pdf")));
    pdfs.CheckFileFormat = vbTrue;
    pdfs.FileFormat = QStringLiteral("PDF");
    useRules({byDate, bySender, pdfs});

    const CommandResult r = runStowaway({QStringLiteral("run"), QStringLiteral("1")});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);

    const QMap<QString, QByteArray> expected = {
        {QStringLiteral("date/2024-03-15/invoice.pdf"), Content(QStringLiteral("invoice.pdf"))},
        {QStringLiteral("date/2024-03-15/sheet.xlsx"), Content(QStringLiteral("sheet.xlsx"))},
        // Bert's invoice comes second: the conflict gives it a number.
        {QStringLiteral("date/2024-03-15/invoice -0002.pdf"),
         Content(QStringLiteral("invoice.pdf"))},
        {QStringLiteral("sender/Anna Berg/invoice.pdf"), Content(QStringLiteral("invoice.pdf"))},
        {QStringLiteral("sender/Anna Berg/sheet.xlsx"), Content(QStringLiteral("sheet.xlsx"))},
        {QStringLiteral("sender/Anna Berg/photo.jpg"), Content(QStringLiteral("photo.jpg"))},
        {QStringLiteral("pdf/invoice.pdf"), Content(QStringLiteral("invoice.pdf"))},
        {QStringLiteral("pdf/invoice -0002.pdf"), Content(QStringLiteral("invoice.pdf"))},
        {QStringLiteral("pdf/") + longName, longNameBytes},
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
    SampleMail html =
        Mail(QStringLiteral("Anna Berg"), QStringLiteral("HTML only"),
             QDateTime(QDate(2024, 5, 2), QTime(9, 0)), {QStringLiteral("Q1 report.pdf")});
    html.textBody.clear();
    html.htmlBody = QStringLiteral("<html><body><p>Our logo: <img src=\"cid:logo@x\"></p>"
                                   "<p>Quarterly numbers, Grüße</p></body></html>");
    SampleAttachment logo = SampleAttachment::file(QStringLiteral("logo.png"), "image/png",
                                                   Content(QStringLiteral("png")));
    logo.contentId = QStringLiteral("logo@x");
    html.attachments.push_back(logo);
    flagged(deliver(html), QStringLiteral("F"));

    SampleMail both = Mail(QStringLiteral("Bert Cole"), QStringLiteral("Text and HTML"),
                           QDateTime(QDate(2024, 5, 3), QTime(9, 0)), {QStringLiteral("plan.odt")});
    both.htmlBody = QStringLiteral("<html><body><p>The plan, as promised: 5 € a piece.</p></body></html>");
    SampleMailFlags inNew;
    inNew.inNew = true;
    deliver(both, {}, inNew);

    SampleMail plain = Mail(QStringLiteral("Carl Dorn"), QStringLiteral("Plain text"),
                            QDateTime(QDate(2024, 5, 4), QTime(9, 0)),
                            {QStringLiteral("scan 1.pdf"), QStringLiteral("notes.txt")});
    plain.textBody = QStringLiteral("Two files, as discussed. Grüße, Carl\n");
    deliver(plain);
    deliverDataFile(QStringLiteral("chunked-base64-attachment.eml"), QStringLiteral("FR"));

    const std::vector<Case> cases = {
        {QStringLiteral("HTML only"),
         QStringLiteral("F"),
         QStringLiteral("<p>Quarterly numbers, Grüße</p>"),
         {QStringLiteral("Q1 report.pdf")},
         {QStringLiteral("image/png logo.png")}},
        {QStringLiteral("Text and HTML"),
         QString(),
         QStringLiteral("The plan, as promised: 5 € a piece."),
         {QStringLiteral("plan.odt")},
         {}},
        {QStringLiteral("Plain text"),
         QString(),
         QStringLiteral("Two files, as discussed. Grüße, Carl"),
         {QStringLiteral("scan 1.pdf"), QStringLiteral("notes.txt")},
         {}},
        {QStringLiteral("Chunked base64"),
         QStringLiteral("FR"),
         QStringLiteral("See the attached text."),
         {QStringLiteral("fox.txt")},
         {}},
    };
    const QStringList before = InboxFiles(root);
    ASSERT_EQ(before.size(), int(cases.size()));

    udtRule rule = Rule(QStringLiteral("Take out"), 4, 0, target());
    rule.DelAttach = vbTrue;
    rule.Hyperlink = vbTrue;
    useRules({rule});
    const CommandResult r = runStowaway({QStringLiteral("run"), QStringLiteral("1")});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);

    const QStringList after = InboxFiles(root);
    ASSERT_EQ(after.size(), before.size());
    for (const QString& path : before)
        EXPECT_FALSE(after.contains(path)) << "still under its old name: " << S(path);
    std::map<QString, QString> bySubject;
    for (const QString& path : after)
        bySubject[ParseWithPython(path)[QStringLiteral("subject")].toString()] = path;

    for (const Case& c : cases) {
        SCOPED_TRACE(S(c.subject));
        ASSERT_EQ(bySubject.count(c.subject), 1u);
        const QString path = bySubject[c.subject];
        const bool wasNew = c.subject == QLatin1String("Text and HTML");
        EXPECT_EQ(path.contains(QStringLiteral("/new/")), wasNew) << S(path);
        EXPECT_EQ(Flags(path), c.flags) << S(path);

        const QJsonObject parsed = ParseWithPython(path);
        EXPECT_TRUE(parsed[QStringLiteral("defects")].toArray().isEmpty());
        EXPECT_EQ(parsed[QStringLiteral("mileage")].toString(), QStringLiteral("QWKStowaway"));
        const QStringList parts = PartSummary(parsed);
        QString texts;
        for (const QJsonValue& p : parsed[QStringLiteral("parts")].toArray())
            texts += p.toObject()[QStringLiteral("text")].toString();
        EXPECT_TRUE(texts.contains(c.text)) << S(texts);
        for (const QString& name : c.removed) {
            EXPECT_FALSE(parts.join(QLatin1Char('\n')).contains(name)) << S(parts.join(", "));
            EXPECT_TRUE(texts.contains(Link(target(name)))) << S(texts);
            EXPECT_TRUE(QFile::exists(target(name))) << S(name);
        }
        for (const QString& part : c.keptParts)
            EXPECT_TRUE(parts.contains(part)) << S(parts.join(", "));
    }
}

TEST_F(RealRunTest, ATestRunChangesNoMailAndWritesNothingButTheLogAndProtocol) {
    deliver(Mail(QStringLiteral("Anna Berg"), QStringLiteral("Invoice 42"),
                 QDateTime(QDate(2024, 3, 15), QTime(10, 0)), {QStringLiteral("invoice.pdf")}));
    SampleMail html = Mail(QStringLiteral("Bert Cole"), QStringLiteral("HTML"),
                           QDateTime(QDate(2024, 3, 16), QTime(10, 0)), {QStringLiteral("a.pdf")});
    html.htmlBody = QStringLiteral("<html><body>Hi</body></html>");
    deliver(html);
    deliverDataFile(QStringLiteral("rfc2231-continuation-name.eml"), QStringLiteral("F"));
    udtRule rule = Rule(QStringLiteral("Take out"), 0, 1, target());
    rule.DelAttach = vbTrue;
    rule.Hyperlink = vbTrue;
    useRules({rule});
    // A first start writes its data files; that is not the test run's doing.
    ASSERT_EQ(runStowaway({QStringLiteral("rules")}).exitCode, 0);

    const auto outsideData = [&] {
        QMap<QString, QByteArray> files = filesUnder(TestEnv::home());
        const QString data = QDir(TestEnv::home()).relativeFilePath(GetDataFolder());
        for (auto it = files.begin(); it != files.end();)
            it = it.key().startsWith(data) ? files.erase(it) : std::next(it);
        return files;
    };
    const QMap<QString, QByteArray> before = outsideData();
    const QMap<QString, QByteArray> dataBefore = filesUnder(GetDataFolder());

    // Every question of the test run answered with "go on".
    const CommandResult r =
        runStowaway({QStringLiteral("test"), QStringLiteral("1"), QStringLiteral("--yes")});
    ASSERT_EQ(r.exitCode, 0) << S(r.err);
    EXPECT_TRUE(r.err.contains(QStringLiteral("invoice.pdf"))) << S(r.err);

    const QMap<QString, QByteArray> after = outsideData();
    EXPECT_EQ(QStringList(after.keys()), QStringList(before.keys()));
    for (auto it = before.begin(); it != before.end(); ++it)
        EXPECT_TRUE(after.value(it.key()) == it.value()) << "changed: " << S(it.key());
    // In the data folder only the LOG and the protocol (with the tested files) change.
    const QMap<QString, QByteArray> dataAfter = filesUnder(GetDataFolder());
    QStringList written;
    for (auto it = dataAfter.begin(); it != dataAfter.end(); ++it)
        if (dataBefore.value(it.key()) != it.value()) written << it.key();
    EXPECT_EQ(written,
              (QStringList{QStringLiteral("QWKStowaway.prt"), QStringLiteral("QWKStowaway.txt")}));
}

} // namespace
