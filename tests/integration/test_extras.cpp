// The bulk run over mail already in a folder: the list of mails with attachments on a real
// Maildir, and `stowaway extras` in each of its modes and refusals.
#include "stowaway_command.h"

#include "addin/extras_run.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/settings.h"
#include "support/python_email.h"

#include <QJsonArray>
#include <QLocale>

namespace {

SampleMail Mail(const QString& subject, const QString& from, const QDateTime& date,
                const std::vector<std::pair<QString, qsizetype>>& files) {
    SampleMail m;
    m.subject = subject;
    m.fromName = from;
    m.date = date;
    for (const auto& [name, size] : files)
        m.attachments.push_back(SampleAttachment::file(name, "application/octet-stream",
                                                       QByteArray(size, 'x') + name.toUtf8()));
    return m;
}

QDateTime Day(int day) {
    return QDateTime(QDate(2024, 6, day), QTime(12, 0));
}

class ExtrasListTest : public MaildirTest {
  protected:
    void SetUp() override {
        MaildirTest::SetUp();
        QLocale::setDefault(QLocale::c());
    }
    void TearDown() override { QLocale::setDefault(QLocale::system()); }
    MailFolderPtr top() { return session().Stores().value.at(0); }
};

TEST_F(ExtrasListTest, ListsMailsAndPostsWithAttachmentsOfTheFolderAndItsSubfolders) {
    // Sizes count the name too: 1 + 7 bytes, 1017 + 7 and 2000 - 7 + 7 ...
    deliver(Mail(QStringLiteral("One byte"), QStringLiteral("Anna Berg"), Day(1),
                 {{QStringLiteral("a.bin"), 1}}));
    deliver(Mail(QStringLiteral("Two files"), QStringLiteral("Bert Cole"), Day(2),
                 {{QStringLiteral("b.bin"), 1024 - 5}, {QStringLiteral("c.bin"), 2000 - 5}}));
    deliver(Mail(QStringLiteral("No files"), QStringLiteral("Carl Dorn"), Day(3), {}));
    SampleMail post = Mail(QStringLiteral("News with a file"), QStringLiteral("Poster"), Day(4),
                           {{QStringLiteral("d.bin"), 5000 - 5}});
    post.to.clear();
    post.newsgroups = QStringLiteral("comp.mail.misc");
    deliver(post);
    // A delivery report carries its status as an attachment, but is neither mail nor post.
    deliverDataFile(QStringLiteral("delivery-report.eml"));
    deliver(Mail(QStringLiteral("Big"), QStringLiteral("Eva Fink"), Day(5),
                 {{QStringLiteral("e.bin"), 1500000 - 5}}),
            QStringLiteral(".Work"));

    struct Case {
        bool fromTop; // the store's top rather than the Inbox
        bool subfolders;
        QStringList rows; // "folder|subject|sender|size"
        QString totals;
    };
    const QStringList inboxRows = {
        QStringLiteral("Inbox|One byte|Anna Berg|1 Kb (1)"),
        QStringLiteral("Inbox|Two files|Bert Cole|3 Kb (2)"),
        QStringLiteral("Inbox|News with a file|Poster|5 Kb (1)"),
    };
    const std::vector<Case> cases = {
        {false, false, inboxRows, QStringLiteral("1/3, 9 Kb")},
        {true, true, inboxRows + QStringList{QStringLiteral("Work|Big|Eva Fink|1,465 Kb (1)")},
         QStringLiteral("3/4, 1,474 Kb")},
        // Nothing: the total has no digits at all.
        {true, false, {}, QStringLiteral("1/0,  Kb")},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.totals.toStdString());
        const ExtrasListing listing =
            ListExtrasMails(c.fromTop ? top() : inbox(), c.subfolders, nullptr);
        QStringList rows;
        for (const ExtrasRow& row : listing.rows) {
            rows << QStringList{row.folderName, row.subject, row.senderName, row.sizeText}.join(
                QLatin1Char('|'));
            EXPECT_TRUE(row.ticked);
            const QString entryId = row.tag.section(QLatin1Char('|'), 0, 0);
            const auto mail =
                session().GetMessageFromID(entryId, row.tag.section(QLatin1Char('|'), 1));
            ASSERT_TRUE(mail.ok() && mail.value) << S(row.tag);
            EXPECT_EQ(mail.value->Subject().value, row.subject);
        }
        EXPECT_EQ(rows, c.rows);
        EXPECT_EQ(ExtrasTotalsText(listing), c.totals);
    }
}

TEST_F(ExtrasListTest, OverviewTextsBlankTheLeadingZerosOnly) {
    const std::vector<std::pair<qint64, QString>> cases = {
        {1024, QStringLiteral("  1024 Kb - x")},
        {1, QStringLiteral("     1 Kb - x")},
        {100, QStringLiteral("   100 Kb - x")},
        {1234567, QStringLiteral("1234567 Kb - x")},
    };
    for (const auto& [kb, text] : cases)
        EXPECT_EQ(OverviewNodeText(kb, QStringLiteral("x")), text);
    EXPECT_EQ(NullsToBlanks(QStringLiteral("000000")), QStringLiteral("      "));
    EXPECT_EQ(NullsToBlanks(QStringLiteral("0a0")), QStringLiteral(" a0"));
    EXPECT_EQ(FormatThousands(999), QStringLiteral("999"));
    EXPECT_EQ(FormatThousands(1000), QStringLiteral("1,000"));
}

// The Inbox holds a read mail, an unread one and a stamped one; Work an unread one; Empty a
// mail without attachments. Rule 1 is inactive, rule 2 takes invoices.
struct ExtrasCase {
    const char* name;
    QStringList args; // "T" stands for the target folder
    int exitCode;
    QString message;      // in the output or the errors
    QStringList saved;    // below the target; the file's content follows from its name
    bool removed = false; // the processed Inbox mails lost their files and got links
    QStringList log;      // LOG lines that must be there
};

void PrintTo(const ExtrasCase& c, std::ostream* os) {
    *os << c.name;
}

class ExtrasCommandTest : public StowawayCommandTest,
                          public testing::WithParamInterface<ExtrasCase> {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        SampleMail read = Mail(QStringLiteral("Read report"), QStringLiteral("Anna Berg"), Day(1),
                               {{QStringLiteral("report.pdf"), 300}});
        deliver(read, {}, SampleMailFlags{true});
        deliver(Mail(QStringLiteral("Unread invoice"), QStringLiteral("Bert Cole"), Day(2),
                     {{QStringLiteral("invoice.pdf"), 300}}));
        SampleMail done = Mail(QStringLiteral("Done before"), QStringLiteral("Carl Dorn"), Day(3),
                               {{QStringLiteral("old.pdf"), 300}});
        done.mileage = QStringLiteral("QWKStowaway");
        deliver(done);
        deliver(Mail(QStringLiteral("Work plan"), QStringLiteral("Eva Fink"), Day(4),
                     {{QStringLiteral("plan.pdf"), 300}}),
                QStringLiteral(".Work"));
        deliver(Mail(QStringLiteral("No files"), QStringLiteral("Eva Fink"), Day(5), {}),
                QStringLiteral(".Empty"));

        for (const auto& [key, value] :
             {std::pair{"DoProto", "0"}, {"Notify", "0"}, {"PaceSeconds", "0"}})
            SaveSetting(QLatin1String(key), QLatin1String(value));
        udtRule everything;
        everything.Name = QStringLiteral("Everything");
        everything.SaveBy = 4;
        everything.Folder = target() + QStringLiteral("/inactive");
        udtRule invoices = everything;
        invoices.Active = vbTrue;
        invoices.Name = QStringLiteral("Invoices");
        invoices.CheckSubj = vbTrue;
        invoices.Subject = QStringLiteral("invoice");
        invoices.Folder = target() + QStringLiteral("/rules");
        Rules = {udtRule{}, everything, invoices};
        RulesCount = 2;
        RulesChanged = true;
        SaveData();
    }
    QString target() const { return TestEnv::home() + QStringLiteral("/Saved"); }
    static QByteArray content(const QString& name) { return QByteArray(300, 'x') + name.toUtf8(); }
};

TEST_P(ExtrasCommandTest, SavesWhatTheModeSaysAndRefusesClearly) {
    const ExtrasCase& c = GetParam();
    QStringList args{QStringLiteral("extras")};
    for (const QString& a : c.args)
        args << (a == QLatin1String("T") ? target() : a);
    const CommandResult r = runStowaway(args);
    EXPECT_FALSE(r.crashed);
    EXPECT_EQ(r.exitCode, c.exitCode) << S(r.out) << S(r.err);
    EXPECT_TRUE((r.out + r.err).contains(c.message)) << S(r.out) << S(r.err);

    const QMap<QString, QByteArray> saved = filesUnder(target());
    QStringList expected = c.saved;
    expected.sort();
    EXPECT_EQ(QStringList(saved.keys()), expected);
    for (auto it = saved.begin(); it != saved.end(); ++it)
        EXPECT_TRUE(it.value() == content(QFileInfo(it.key()).fileName())) << S(it.key());

    for (const QString& line : c.log)
        EXPECT_TRUE(logText().contains(line)) << S(line);

    if (!c.removed) return;
    for (const char* sub : {"/cur/", "/new/"}) {
        for (const QString& name : QDir(root + QLatin1String(sub)).entryList(QDir::Files)) {
            const QJsonObject parsed = ParseWithPython(root + QLatin1String(sub) + name);
            const QString subject = parsed[QStringLiteral("subject")].toString();
            SCOPED_TRACE(S(subject));
            const QStringList parts = PartSummary(parsed);
            QString text;
            for (const QJsonValue& p : parsed[QStringLiteral("parts")].toArray())
                text += p.toObject()[QStringLiteral("text")].toString();
            const QString file =
                subject == QLatin1String("Read report")      ? QStringLiteral("report.pdf")
                : subject == QLatin1String("Unread invoice") ? QStringLiteral("invoice.pdf")
                                                             : QString();
            if (file.isEmpty()) { // the stamped mail stays as it was
                EXPECT_TRUE(parts.contains(QStringLiteral("application/octet-stream old.pdf")));
                continue;
            }
            EXPECT_FALSE(parts.join(QLatin1Char(' ')).contains(file));
            EXPECT_TRUE(
                text.contains(QStringLiteral("file://") + target() + QLatin1Char('/') + file))
                << S(text);
            EXPECT_EQ(parsed[QStringLiteral("mileage")].toString(), QStringLiteral("QWKStowaway"));
            // A read mail stays read.
            EXPECT_EQ(name.endsWith(QStringLiteral(":2,S")),
                      subject == QLatin1String("Read report"))
                << S(name);
        }
    }
}

// The arguments as one line, with "T" for the target folder.
ExtrasCase Case(const char* name, const char* args, int exitCode, const char* message,
                const QStringList& saved = {}, const QStringList& log = {}, bool removed = false) {
    return {name,     QString::fromUtf8(args).split(QLatin1Char(' ')),
            exitCode, QString::fromUtf8(message),
            saved,    removed,
            log};
}

INSTANTIATE_TEST_SUITE_P(
    Modes, ExtrasCommandTest,
    testing::Values(
        // DoProto is off, and the run logs all the same.
        Case("ToFolderTakesReadMailsButNoStampedOnes", "Inbox --to T", 0, "Fertig...",
             {"report.pdf", "invoice.pdf"}, {"Extras/TN: ", "WithSpecialRule: True"}),
        Case("KeepStructureMirrorsTheFolderPaths", "Mail --subfolders --to T --keep-structure", 0,
             "4/4, 4 Kb",
             {"Mail/Inbox/report.pdf", "Mail/Inbox/invoice.pdf", "Mail/Work/plan.pdf"}),
        Case("RulesTakeOnlyUnreadMailsByTheActiveRules", "Mail --subfolders --rules", 0,
             "Fertig...", {"rules/invoice.pdf"}, {"WithSpecialRule: False"}),
        Case("RemoveWithLinksRewritesTheMails", "mail|inbox --to T --remove --links", 0,
             "2 file(s) saved under ", {"report.pdf", "invoice.pdf"}, {}, true),
        Case("TestModeSavesNothing", "Work --to T --test --yes", 0, "would be saved", {},
             {"Extras/TN: "}),
        Case("AFolderNotInTheStoreIsNamed", "Nowhere --to T", 2,
             "no folder 'Nowhere' in the store"),
        Case("LinksNeedRemoval", "Inbox --to T --links", 2, "--links needs --remove"),
        Case("RulesTakeNoFolderOptions", "Inbox --rules --remove", 2, "go with --to DIR"),
        Case("AFolderWithoutAttachmentsLeavesNothingToTick", "Empty --to T", 1,
             "Keine Einträge in der Liste markiert!")),
    [](const testing::TestParamInfo<ExtrasCase>& info) { return std::string(info.param.name); });

} // namespace
