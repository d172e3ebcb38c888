// The bulk run over mail already in a folder: the list of mails with attachments on a real
// Maildir, and `stowaway extras` in each of its modes and refusals.
#include "stowaway_command.h"

#include "addin/extras_run.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/settings.h"
#include "fakes/scripted_ui.h"
#include "support/python_email.h"

#include <QJsonArray>
#include <QLocale>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

SampleMail Mail(const QString& subject, const QString& from, const QDateTime& date,
                const std::vector<std::pair<QString, qsizetype>>& files) {
    SampleMail m = MailWithSizedFiles(subject, files, from);
    m.date = date;
    return m;
}

QDateTime Day(int day) {
    return QDateTime(QDate(2024, 6, day), QTime(12, 0));
}

class ExtrasListTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        QLocale::setDefault(QLocale::c());
    }
    void TearDown() override { QLocale::setDefault(QLocale::system()); }
    MailFolderPtr top() { return session().Stores().value.at(0); }
};

TEST_F(ExtrasListTest, ListsMailsAndPostsWithAttachmentsOfTheFolderAndItsSubfolders) {
    deliver(Mail(u"One byte"_s, u"Anna Berg"_s, Day(1), {{u"a.bin"_s, 1}}));
    deliver(Mail(u"Two files"_s, u"Bert Cole"_s, Day(2), {{u"b.bin"_s, 1024}, {u"c.bin"_s, 2000}}));
    deliver(Mail(u"No files"_s, u"Carl Dorn"_s, Day(3), {}));
    SampleMail post = Mail(u"News with a file"_s, u"Poster"_s, Day(4), {{u"d.bin"_s, 5000}});
    post.to.clear();
    post.newsgroups = u"comp.mail.misc"_s;
    deliver(post);
    // A delivery report carries its status as an attachment, but is neither mail nor post.
    deliverDataFile(u"delivery-report.eml"_s);
    deliver(Mail(u"Big"_s, u"Eva Fink"_s, Day(5), {{u"e.bin"_s, 1500000}}), u".Work"_s);

    struct Case {
        bool fromTop; // the store's top rather than the Inbox
        bool subfolders;
        QStringList rows; // "folder|subject|sender|size"
        QString totals;
    };
    const QStringList inboxRows = {
        u"Inbox|One byte|Anna Berg|1 Kb (1)"_s,
        u"Inbox|Two files|Bert Cole|3 Kb (2)"_s,
        u"Inbox|News with a file|Poster|5 Kb (1)"_s,
    };
    const std::vector<Case> cases = {
        {false, false, inboxRows, u"1/3, 9 Kb"_s},
        {true, true, inboxRows + QStringList{u"Work|Big|Eva Fink|1,465 Kb (1)"_s},
         u"3/4, 1,474 Kb"_s},
        // Nothing: the total has no digits at all.
        {true, false, {}, u"1/0,  Kb"_s},
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
        {1024, u"  1024 Kb - x"_s},
        {1, u"     1 Kb - x"_s},
        {100, u"   100 Kb - x"_s},
        {1234567, u"1234567 Kb - x"_s},
    };
    for (const auto& [kb, text] : cases)
        EXPECT_EQ(OverviewNodeText(kb, u"x"_s), text);
    EXPECT_EQ(NullsToBlanks(u"000000"_s), u"      "_s);
    EXPECT_EQ(NullsToBlanks(u"0a0"_s), u" a0"_s);
    EXPECT_EQ(FormatThousands(999), u"999"_s);
    EXPECT_EQ(FormatThousands(1000), u"1,000"_s);
}

// The run in the program's own process, with a scripted user.
class ExtrasRunTest : public ExtrasListTest {
  protected:
    void SetUp() override {
        ExtrasListTest::SetUp();
        SetMailSession(&session());
        SetUserInteraction(&user);
        udtRule unused;
        Rules.assign({unused});
        SWTest = false;
    }
    void TearDown() override {
        SetUserInteraction(nullptr);
        SetMailSession(nullptr);
        ExtrasListTest::TearDown();
    }
    QStringList prompts() const {
        QStringList texts;
        for (const AskedQuestion& q : user.questions())
            texts << q.prompt;
        return texts;
    }
    ExtrasRunOptions toFolder(const QString& folder) {
        ExtrasRunOptions o;
        o.sourceFolder = inbox();
        o.mode = ExtrasMode::ToFolder;
        o.targetFolder = folder;
        return o;
    }
    ScriptedUserInteraction user;
};

TEST_F(ExtrasRunTest, AMailThatIsGoneIsReportedAndTheRunGoesOnToDone) {
    for (const char* name : {"a.pdf", "b.pdf", "c.pdf"})
        deliver(Mail(QString::fromLatin1(name), u"Anna Berg"_s, Day(1),
                     {{QString::fromLatin1(name), 10}}));
    std::vector<ExtrasRow> rows = ListExtrasMails(inbox(), false, nullptr).rows;
    ASSERT_EQ(rows.size(), 3u);
    // Same delivery time: the listing's order then follows the unique file names, which the
    // rows below must not depend on.
    std::sort(rows.begin(), rows.end(),
              [](const ExtrasRow& a, const ExtrasRow& b) { return a.subject < b.subject; });
    rows[0].tag = u"gone|"_s + root;
    rows[2].ticked = false;
    const QString target = TestEnv::home() + u"/Saved"_s;

    const ExtrasRunSummary done = RunExtras(toFolder(target), rows, nullptr);
    EXPECT_FALSE(done.refused || done.stoppedEarly);
    EXPECT_EQ(done.rowsDone, 1);
    EXPECT_EQ(done.rowsFailed, 1);
    EXPECT_EQ(QStringList(filesUnder(target).keys()), QStringList{u"b.pdf"_s});
    EXPECT_EQ(prompts(), (QStringList{u"Fehler beim Zugriff auf Nachricht!"_s,
                                      u"Fertig...\n\n1 Datei(en) gespeichert.\n1 Nachricht(en) "
                                      u"nicht erreichbar."_s}));
    EXPECT_EQ(user.sounds(), QStringList{u"SystemAsterisk"_s});
    EXPECT_EQ(ProtoEntries[1].Rule().get(), u"SpecialRule"_s);
    EXPECT_TRUE(DoProto);
    EXPECT_FALSE(SWRun);

    // Without any rule the engine does nothing: the run stops at the first mail.
    Rules.clear();
    rows[2].ticked = true;
    const ExtrasRunSummary stopped = RunExtras(toFolder(target), rows, nullptr);
    EXPECT_TRUE(stopped.stoppedEarly);
    EXPECT_EQ(stopped.rowsDone, 1);
    EXPECT_EQ(prompts().back(), u"Fertig...\n\n0 Datei(en) gespeichert.\n1 Nachricht(en) nicht "
                                u"erreichbar.\nDer Lauf endete vorzeitig."_s);
    EXPECT_FALSE(QFile::exists(target + u"/c.pdf"_s));
}

TEST_F(ExtrasRunTest, TheRefusalsSayWhatIsMissingAndDoNothing) {
    deliver(Mail(u"a"_s, u"Anna Berg"_s, Day(1), {{u"a.pdf"_s, 10}}));
    const std::vector<ExtrasRow> rows = ListExtrasMails(inbox(), false, nullptr).rows;
    std::vector<ExtrasRow> unticked = rows;
    unticked[0].ticked = false;
    ExtrasRunOptions noSource = toFolder(u"/tmp"_s);
    noSource.sourceFolder = nullptr;
    // By the rules, no disk folder is needed: only the ticks are missing.
    ExtrasRunOptions byRules = toFolder(u"<Ordner wählen>"_s);
    byRules.mode = ExtrasMode::ByRules;
    const std::vector<std::tuple<ExtrasRunOptions, std::vector<ExtrasRow>, int, QString>> cases = {
        {noSource, rows, 0, u"Bitte 'Speichern aus'-Ordner (Mail) wählen..."_s},
        {noSource, rows, 1, u"Please choose 'Save from' folder (mail)..."_s},
        {toFolder(u"<Ordner wählen>"_s), rows, 0,
         u"Bitte 'Speichern in'-Ordner (Festplatte) wählen..."_s},
        {toFolder(u"/"_s + QString(200, u'x')), rows, 1,
         u"The 'Save to' folder's path is too long (200 characters at most)..."_s},
        {byRules, unticked, 0, u"Keine Einträge in der Liste markiert!"_s},
        {byRules, unticked, 1, u"No entries selected in list!"_s},
    };
    for (const auto& [options, list, lang, prompt] : cases) {
        CurrLang = uint8_t(lang);
        const int beeps = user.beeps();
        const size_t asked = user.questions().size();
        EXPECT_TRUE(RunExtras(options, list, nullptr).refused) << S(prompt);
        EXPECT_EQ(user.beeps(), beeps + 1);
        ASSERT_EQ(user.questions().size(), asked + 1);
        EXPECT_EQ(user.questions().back().prompt, prompt);
    }
    EXPECT_TRUE(user.sounds().isEmpty());
    EXPECT_FALSE(DoProto);
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
        SampleMail read = Mail(u"Read report"_s, u"Anna Berg"_s, Day(1), {{u"report.pdf"_s, 300}});
        deliver(read, {}, SampleMailFlags{true});
        deliver(Mail(u"Unread invoice"_s, u"Bert Cole"_s, Day(2), {{u"invoice.pdf"_s, 300}}));
        SampleMail done = Mail(u"Done before"_s, u"Carl Dorn"_s, Day(3), {{u"old.pdf"_s, 300}});
        done.mileage = u"QWKStowaway"_s;
        deliver(done);
        deliver(Mail(u"Work plan"_s, u"Eva Fink"_s, Day(4), {{u"plan.pdf"_s, 300}}), u".Work"_s);
        deliver(Mail(u"No files"_s, u"Eva Fink"_s, Day(5), {}), u".Empty"_s);

        for (const auto& [key, value] :
             {std::pair{"DoProto", "0"}, {"Notify", "0"}, {"PaceSeconds", "0"}, {"CurrLang", "0"}})
            SaveSetting(QLatin1String(key), QLatin1String(value));
        udtRule everything = MakeRule(u"Everything"_s, SaveBy::Folder, target() + u"/inactive"_s);
        everything.Active = vbFalse;
        udtRule invoices = everything;
        invoices.Active = vbTrue;
        invoices.Name = u"Invoices"_s;
        invoices.CheckSubj = vbTrue;
        invoices.Subject = u"invoice"_s;
        invoices.Folder = target() + u"/rules"_s;
        Rules.assign({everything, invoices});
        Rules.changed = true;
        SaveData();
    }
    QString target() const { return TestEnv::home() + u"/Saved"_s; }
};

TEST_P(ExtrasCommandTest, SavesWhatTheModeSaysAndRefusesClearly) {
    const ExtrasCase& c = GetParam();
    QStringList args{u"extras"_s};
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
        EXPECT_TRUE(it.value() == SizedContent(QFileInfo(it.key()).fileName(), 300)) << S(it.key());

    for (const QString& line : c.log)
        EXPECT_TRUE(logText().contains(line)) << S(line);

    if (!c.removed) return;
    for (const char* sub : {"/cur/", "/new/"}) {
        for (const QString& name : QDir(root + QLatin1String(sub)).entryList(QDir::Files)) {
            const QJsonObject parsed = ParseWithPython(root + QLatin1String(sub) + name);
            const QString subject = parsed[u"subject"_s].toString();
            SCOPED_TRACE(S(subject));
            const QStringList parts = PartSummary(parsed);
            QString text;
            for (const QJsonValue& p : parsed[u"parts"_s].toArray())
                text += p.toObject()[u"text"_s].toString();
            const QString file = subject == QLatin1String("Read report")      ? u"report.pdf"_s
                                 : subject == QLatin1String("Unread invoice") ? u"invoice.pdf"_s
                                                                              : QString();
            if (file.isEmpty()) { // the stamped mail stays as it was
                EXPECT_TRUE(parts.contains(u"application/octet-stream old.pdf"_s));
                continue;
            }
            EXPECT_FALSE(parts.join(QLatin1Char(' ')).contains(file));
            EXPECT_TRUE(text.contains(u"file://"_s + target() + QLatin1Char('/') + file))
                << S(text);
            EXPECT_EQ(parsed[u"mileage"_s].toString(), u"QWKStowaway"_s);
            // A read mail stays read.
            EXPECT_EQ(name.endsWith(u":2,S"_s), subject == QLatin1String("Read report")) << S(name);
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
