// Target folders by date, party, project and folder; free names by number and by date.
#include "fakes/engine_fixture.h"

#include "engine/target_paths.h"

namespace {
void Touch(const QString& path) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
}
} // namespace

struct DateFolderCase {
    int saveFormat;
    int y, m, d;
    const char* expected;
};

class DateFolders : public EngineTest, public testing::WithParamInterface<DateFolderCase> {};

TEST_P(DateFolders, FollowTheRuleFormat) {
    const DateFolderCase c = GetParam();
    const FakeMessagePtr message = addMail(QStringLiteral("m"), {});
    message->stored.receivedTime = Date(c.y, c.m, c.d);
    udtRule rule = MakeRule(QStringLiteral("R"), QStringLiteral("/base"));
    rule.SaveBy = 0;
    rule.SaveFormat = static_cast<int16_t>(c.saveFormat);
    QString base, target;
    GetRuleData(inbox->itemFor(message), rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(base, QStringLiteral("/base/"));
    EXPECT_EQ(target, QStringLiteral("/base/") + QString::fromUtf8(c.expected));
}

// Weeks start on Sunday, and the week of 1 January is week 1.
INSTANTIATE_TEST_SUITE_P(
    Formats, DateFolders,
    testing::Values(DateFolderCase{0, 2024, 3, 5, "05-03-2024"},
                    DateFolderCase{1, 2024, 3, 5, "2024-03-05"},
                    DateFolderCase{2, 2024, 3, 5, "2024-03"},
                    DateFolderCase{3, 2024, 3, 16, "2024-11"}, // Saturday
                    DateFolderCase{3, 2024, 3, 17, "2024-12"}, // Sunday starts the next week
                    DateFolderCase{3, 2024, 3, 18, "2024-12"}, // Monday
                    DateFolderCase{3, 2022, 1, 1, "2022-1"},   // a Saturday is week 1
                    DateFolderCase{3, 2022, 1, 2, "2022-2"},
                    DateFolderCase{3, 2023, 1, 1, "2023-1"},
                    DateFolderCase{3, 2024, 12, 31, "2024-53"}, DateFolderCase{9, 2024, 3, 5, ""}));

TEST_F(EngineTest, PartyFoldersAreCleanedAndTakeTheAddressFromItsAt) {
    DoProto = true;
    const FakeMessagePtr message = addMail(QStringLiteral("m"), {});
    const MailItemPtr item = inbox->itemFor(message);
    udtRule rule = MakeRule(QStringLiteral("R"), QStringLiteral("/base"));
    QString base, target;

    rule.SaveBy = 1;
    rule.SaveFormat = 0;
    GetRuleData(item, rule, base, target, QStringLiteral("Müller+Sohn/GmbH"),
                QStringLiteral("info@mueller.example"), {}, {});
    EXPECT_EQ(target, QStringLiteral("/base/Müller_Sohn_GmbH"));

    rule.SaveFormat = 1;
    rule.Sender = QStringLiteral("info@mueller.example");
    GetRuleData(item, rule, base, target, {}, QStringLiteral("info@mueller.example"), {}, {});
    EXPECT_EQ(target, QStringLiteral("/base/info-mueller.example"));

    rule.Sender = QStringLiteral("@mueller.example");
    GetRuleData(item, rule, base, target, {}, QStringLiteral("info@mueller.example"), {}, {});
    EXPECT_EQ(target, QStringLiteral("/base/-mueller.example"));

    rule.SaveBy = 2;
    rule.Recipient = QStringLiteral("@dorn.example");
    GetRuleData(item, rule, base, target, QStringLiteral("x"), QStringLiteral("x@y"),
                QStringLiteral("Carl"), QStringLiteral("carl@dorn.example"));
    EXPECT_EQ(target, QStringLiteral("/base/-dorn.example"));

    EXPECT_EQ(
        logLines().mid(logLines().size() - 2),
        QStringList({QStringLiteral("GetRuleData: /base/, /base/"),
                     QStringLiteral("GetRuleData: /base/+-dorn.example= /base/-dorn.example")}));
}

TEST_F(EngineTest, APartyNamedTwoDotsStaysInsideTheBaseFolder) {
    const FakeMessagePtr message = addMail(QStringLiteral("m"), {});
    udtRule rule = MakeRule(QStringLiteral("R"), QStringLiteral("/base"));
    rule.SaveBy = 1;
    QString base, target;
    GetRuleData(inbox->itemFor(message), rule, base, target, QStringLiteral(".."), {}, {}, {});
    EXPECT_EQ(target, QStringLiteral("/base/__"));
    EXPECT_EQ(logLines(), QStringList{QStringLiteral(
                              "! GetRuleData: folder name '..' is not allowed, '__' used")});
}

TEST_F(EngineTest, ProjectAndFolderRules) {
    addProject(QStringLiteral("Alpha"), QStringLiteral("/projects/alpha"));
    const FakeFolderPtr sub = inbox->addFolder(QStringLiteral("Work"));
    const FakeMessagePtr message = addMail(QStringLiteral("m"), {}, sub);
    const MailItemPtr item = sub->itemFor(message);
    QString base, target;

    udtRule rule = MakeRule(QStringLiteral("R"), QStringLiteral("ALPHA"));
    rule.SaveBy = 3;
    GetRuleData(item, rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(base, QStringLiteral("/projects/alpha/"));
    EXPECT_EQ(target, base);

    // A deleted project, a rule without a folder and a relative folder give no target at all:
    // the files must not land in whatever folder the program runs in.
    for (const auto& [saveBy, folder] : {std::pair{3, "Beta"}, {4, ""}, {0, "relative/dir"}}) {
        rule.SaveBy = static_cast<qint16>(saveBy);
        rule.Folder = QString::fromLatin1(folder);
        EXPECT_FALSE(GetRuleData(item, rule, base, target, {}, {}, {}, {})) << folder;
        EXPECT_TRUE(logLines().last().startsWith(QStringLiteral("! GetRuleData: rule 'R'")));
    }

    rule.SaveBy = 4;
    rule.Folder = QStringLiteral("/keep");
    rule.SaveFormat = 99; // keep the mail folder's structure
    GetRuleData(item, rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(target, QStringLiteral("/keep/Maildir/Inbox/Work/"));
    rule.SaveFormat = 0;
    GetRuleData(item, rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(target, QStringLiteral("/keep/"));
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, NumberingTakesTheNextNumberAboveTheHighestOfFourDigits) {
    const QString dir = out() + QLatin1Char('/');
    Touch(dir + QStringLiteral("a.pdf"));
    EXPECT_EQ(GetNextNumberName(dir + QStringLiteral("a.pdf")),
              dir + QStringLiteral("a -0002.pdf"));

    // Neither three nor five digits count.
    Touch(dir + QStringLiteral("a -12.pdf"));
    Touch(dir + QStringLiteral("a -12345.pdf"));
    EXPECT_EQ(GetNextNumberName(dir + QStringLiteral("a.pdf")),
              dir + QStringLiteral("a -0002.pdf"));

    // Any extension counts, and so does a longer name that starts the same.
    Touch(dir + QStringLiteral("a -0007.txt"));
    EXPECT_EQ(GetNextNumberName(dir + QStringLiteral("a.pdf")),
              dir + QStringLiteral("a -0008.pdf"));
    Touch(dir + QStringLiteral("ab -0011.doc"));
    EXPECT_EQ(GetNextNumberName(dir + QStringLiteral("a.pdf")),
              dir + QStringLiteral("a -0012.pdf"));

    // The extension is lower case, the base name keeps its case; no extension ends in a point.
    Touch(dir + QStringLiteral("Report.PDF"));
    EXPECT_EQ(GetNextNumberName(dir + QStringLiteral("Report.PDF")),
              dir + QStringLiteral("Report -0002.pdf"));
    Touch(dir + QStringLiteral("README"));
    EXPECT_EQ(GetNextNumberName(dir + QStringLiteral("README")),
              dir + QStringLiteral("README -0002."));
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, NumberingStopsAt9999WithAMessage) {
    CurrLang = 1;
    const QString dir = out() + QLatin1Char('/');
    Touch(dir + QStringLiteral("a.pdf"));
    Touch(dir + QStringLiteral("a -9999.pdf"));
    EXPECT_TRUE(GetNextNumberName(dir + QStringLiteral("a.pdf")).isEmpty());
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_EQ(user.questions()[0].prompt,
              QStringLiteral("Automatic numbering wasn't able to find an unused number..."));
    EXPECT_EQ(user.questions()[0].icon, 48);
    EXPECT_EQ(user.beeps(), 1);
}

TEST_F(EngineTest, DateNamesCarryTheTimeAndAvoidATakenName) {
    const QString dir = out() + QLatin1Char('/');
    QDir().mkpath(out());
    const QString first = GetNextDateName(dir + QStringLiteral("Scan.TIFF"));
    const QRegularExpression form(
        QRegularExpression::escape(dir) +
        QStringLiteral("Scan \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.tiff"));
    EXPECT_TRUE(form.match(first).hasMatch()) << first.toStdString();
    Touch(first);
    const QString second = GetNextDateName(dir + QStringLiteral("Scan.TIFF"));
    EXPECT_TRUE(form.match(second).hasMatch());
    EXPECT_NE(second, first);
    EXPECT_TRUE(GetNextDateName(dir + QStringLiteral("README")).endsWith(QLatin1Char('.')));
}
