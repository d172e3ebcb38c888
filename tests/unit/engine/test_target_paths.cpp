// Target folders by date, party, project and folder; free names by number and by date.
#include "fakes/engine_fixture.h"

#include "engine/target_paths.h"

using namespace Qt::StringLiterals;

struct DateFolderCase {
    int saveFormat;
    int y, m, d;
    const char* expected;
};

class DateFolders : public EngineTest, public testing::WithParamInterface<DateFolderCase> {};

TEST_P(DateFolders, FollowTheRuleFormat) {
    const DateFolderCase c = GetParam();
    const FakeMessagePtr message = addMail(u"m"_s, {});
    message->stored.receivedTime = Date(c.y, c.m, c.d);
    udtRule rule = MakeRule(u"R"_s, u"/base"_s);
    rule.SaveBy = 0;
    rule.SaveFormat = static_cast<int16_t>(c.saveFormat);
    QString base, target;
    GetRuleData(inbox->itemFor(message), rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(base, u"/base/"_s);
    EXPECT_EQ(target, u"/base/"_s + QString::fromUtf8(c.expected));
}

// How weeks are counted is the dates' own business; here only which format is which.
INSTANTIATE_TEST_SUITE_P(Formats, DateFolders,
                         testing::Values(DateFolderCase{0, 2024, 3, 5, "05-03-2024"},
                                         DateFolderCase{1, 2024, 3, 5, "2024-03-05"},
                                         DateFolderCase{2, 2024, 3, 5, "2024-03"},
                                         DateFolderCase{3, 2022, 1, 2, "2022-2"},
                                         DateFolderCase{9, 2024, 3, 5, ""}));

TEST_F(EngineTest, PartyFoldersAreCleanedAndTakeTheAddressFromItsAt) {
    DoProto = true;
    const FakeMessagePtr message = addMail(u"m"_s, {});
    const MailItemPtr item = inbox->itemFor(message);
    udtRule rule = MakeRule(u"R"_s, u"/base"_s);
    QString base, target;

    rule.SaveBy = 1;
    rule.SaveFormat = 0;
    GetRuleData(item, rule, base, target, u"Müller+Sohn/GmbH"_s, u"info@mueller.example"_s, {}, {});
    EXPECT_EQ(target, u"/base/Müller_Sohn_GmbH"_s);

    rule.SaveFormat = 1;
    rule.Sender = u"info@mueller.example"_s;
    GetRuleData(item, rule, base, target, {}, u"info@mueller.example"_s, {}, {});
    EXPECT_EQ(target, u"/base/info-mueller.example"_s);

    rule.Sender = u"@mueller.example"_s;
    GetRuleData(item, rule, base, target, {}, u"info@mueller.example"_s, {}, {});
    EXPECT_EQ(target, u"/base/-mueller.example"_s);

    rule.SaveBy = 2;
    rule.Recipient = u"@dorn.example"_s;
    GetRuleData(item, rule, base, target, u"x"_s, u"x@y"_s, u"Carl"_s, u"carl@dorn.example"_s);
    EXPECT_EQ(target, u"/base/-dorn.example"_s);

    EXPECT_EQ(logLines().mid(logLines().size() - 2),
              QStringList({u"GetRuleData: /base/, /base/"_s,
                           u"GetRuleData: /base/+-dorn.example= /base/-dorn.example"_s}));
}

TEST_F(EngineTest, APartyNamedTwoDotsStaysInsideTheBaseFolder) {
    const FakeMessagePtr message = addMail(u"m"_s, {});
    udtRule rule = MakeRule(u"R"_s, u"/base"_s);
    rule.SaveBy = 1;
    QString base, target;
    GetRuleData(inbox->itemFor(message), rule, base, target, u".."_s, {}, {}, {});
    EXPECT_EQ(target, u"/base/__"_s);
    EXPECT_EQ(logLines(),
              QStringList{u"! GetRuleData: folder name '..' is not allowed, '__' used"_s});
}

TEST_F(EngineTest, ProjectAndFolderRules) {
    addProject(u"Alpha"_s, u"/projects/alpha"_s);
    const FakeFolderPtr sub = inbox->addFolder(u"Work"_s);
    const FakeMessagePtr message = addMail(u"m"_s, {}, sub);
    const MailItemPtr item = sub->itemFor(message);
    QString base, target;

    udtRule rule = MakeRule(u"R"_s, u"ALPHA"_s);
    rule.SaveBy = 3;
    GetRuleData(item, rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(base, u"/projects/alpha/"_s);
    EXPECT_EQ(target, base);

    // A deleted project, a rule without a folder and a relative folder give no target at all:
    // the files must not land in whatever folder the program runs in.
    for (const auto& [saveBy, folder] : {std::pair{3, "Beta"}, {4, ""}, {0, "relative/dir"}}) {
        rule.SaveBy = static_cast<qint16>(saveBy);
        rule.Folder = QString::fromLatin1(folder);
        EXPECT_FALSE(GetRuleData(item, rule, base, target, {}, {}, {}, {})) << folder;
        EXPECT_TRUE(logLines().last().startsWith(u"! GetRuleData: rule 'R'"_s));
    }

    rule.SaveBy = 4;
    rule.Folder = u"/keep"_s;
    rule.SaveFormat = 99; // keep the mail folder's structure
    GetRuleData(item, rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(target, u"/keep/Maildir/Inbox/Work/"_s);
    rule.SaveFormat = 0;
    GetRuleData(item, rule, base, target, {}, {}, {}, {});
    EXPECT_EQ(target, u"/keep/"_s);
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, NumberingTakesTheNextNumberAboveTheHighestOfFourDigits) {
    const QString dir = out() + QLatin1Char('/');
    PutFile(dir + u"a.pdf"_s);
    EXPECT_EQ(GetNextNumberName(dir + u"a.pdf"_s), dir + u"a -0002.pdf"_s);

    // Neither three nor five digits count.
    PutFile(dir + u"a -12.pdf"_s);
    PutFile(dir + u"a -12345.pdf"_s);
    EXPECT_EQ(GetNextNumberName(dir + u"a.pdf"_s), dir + u"a -0002.pdf"_s);

    // Any extension counts, and so does a longer name that starts the same.
    PutFile(dir + u"a -0007.txt"_s);
    EXPECT_EQ(GetNextNumberName(dir + u"a.pdf"_s), dir + u"a -0008.pdf"_s);
    PutFile(dir + u"ab -0011.doc"_s);
    EXPECT_EQ(GetNextNumberName(dir + u"a.pdf"_s), dir + u"a -0012.pdf"_s);

    // The extension is lower case, the base name keeps its case; no extension ends in a point.
    PutFile(dir + u"Report.PDF"_s);
    EXPECT_EQ(GetNextNumberName(dir + u"Report.PDF"_s), dir + u"Report -0002.pdf"_s);
    PutFile(dir + u"README"_s);
    EXPECT_EQ(GetNextNumberName(dir + u"README"_s), dir + u"README -0002."_s);
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, NumberingStopsAt9999WithAMessage) {
    CurrLang = 1;
    const QString dir = out() + QLatin1Char('/');
    PutFile(dir + u"a.pdf"_s);
    PutFile(dir + u"a -9999.pdf"_s);
    EXPECT_TRUE(GetNextNumberName(dir + u"a.pdf"_s).isEmpty());
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_EQ(user.questions()[0].prompt,
              u"Automatic numbering wasn't able to find an unused number..."_s);
    EXPECT_EQ(user.questions()[0].icon, 48);
    EXPECT_EQ(user.beeps(), 1);
}

TEST_F(EngineTest, DateNamesCarryTheTimeAndAvoidATakenName) {
    const QString dir = out() + QLatin1Char('/');
    QDir().mkpath(out());
    const QString first = GetNextDateName(dir + u"Scan.TIFF"_s);
    const QRegularExpression form(QRegularExpression::escape(dir) +
                                  u"Scan \\d{4}-\\d\\d-\\d\\d \\d\\d-\\d\\d-\\d\\d\\.tiff"_s);
    EXPECT_TRUE(form.match(first).hasMatch()) << first.toStdString();
    PutFile(first);
    const QString second = GetNextDateName(dir + u"Scan.TIFF"_s);
    EXPECT_TRUE(form.match(second).hasMatch());
    EXPECT_NE(second, first);
    EXPECT_TRUE(GetNextDateName(dir + u"README"_s).endsWith(QLatin1Char('.')));
}
