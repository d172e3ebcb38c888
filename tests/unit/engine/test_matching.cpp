// Rule criteria: sender, recipient, subject and file format, with their LOG lines.
#include "fakes/engine_fixture.h"

#include "engine/matching.h"

using namespace Qt::StringLiterals;

namespace {

struct MatchCase {
    const char* name;
    // Rule: "S:<value>" sender, "R:<value>" recipient, "J:<value>" subject, "F:<value>" format.
    std::vector<const char*> criteria;
    bool expected;
    std::vector<const char*> log; // the criteria's LOG lines, in order
};
void PrintTo(const MatchCase& c, std::ostream* os) {
    *os << c.name;
}

udtRule RuleOf(const std::vector<const char*>& criteria) {
    udtRule rule = MakeRule(u"R"_s);
    for (const char* c : criteria) {
        const QString text = QString::fromUtf8(c);
        const QString value = text.mid(2);
        switch (text.at(0).toLatin1()) {
        case 'S':
            rule.CheckSender = vbTrue;
            rule.Sender = value;
            break;
        case 'R':
            rule.CheckRecp = vbTrue;
            rule.Recipient = value;
            break;
        case 'J':
            rule.CheckSubj = vbTrue;
            rule.Subject = value;
            break;
        case 'F':
            rule.CheckFileFormat = vbTrue;
            rule.FileFormat = value;
            break;
        }
    }
    return rule;
}

class Matching : public EngineTest, public testing::WithParamInterface<MatchCase> {};

} // namespace

TEST_P(Matching, HoldsAsTheCriteriaSay) {
    const MatchCase c = GetParam();
    DoProto = true;
    // From "Anna Berg" <anna@berg.example>, to Carl Dorn first and Eva Fink second; subject
    // "Your Invoice 42"; attachments: an inline logo.png, a card, report.PDF.
    const FakeMessagePtr message = addMail(u"Your Invoice 42"_s, {});
    message->addAttachment(u"logo.png"_s).contentId = u"logo@x"_s;
    message->addAttachment(u"anna.vcf"_s);
    message->addAttachment(u"report.PDF"_s);

    QString sn, sa, rn, ra;
    EXPECT_EQ(MatchesRule(inbox->itemFor(message), RuleOf(c.criteria), sn, sa, rn, ra), c.expected);

    QStringList expectedLog;
    for (const char* line : c.log)
        expectedLog << QString::fromUtf8(line);
    EXPECT_EQ(logLines(), expectedLog);
    // The outputs are set whatever the result.
    EXPECT_EQ(sn, u"Anna Berg"_s);
    EXPECT_EQ(sa, u"anna@berg.example"_s);
    EXPECT_EQ(rn, u"Carl Dorn"_s);
    EXPECT_EQ(ra, u"carl@dorn.example"_s);
}

INSTANTIATE_TEST_SUITE_P(
    Criteria, Matching,
    testing::Values(
        MatchCase{"NoCriterion", {}, true, {}},
        MatchCase{"DomainAnyCase", {"S:@Berg.EXAMPLE"}, true, {}},
        MatchCase{"DomainPrefixOnly",
                  {"S:@berg.ex"},
                  false,
                  {"MatchesRule=False/Sender Domain: anna@berg.example/@berg.ex"}},
        MatchCase{"AddressAnyCase", {"S:ANNA@berg.example"}, true, {}},
        MatchCase{"AddressIsWhole",
                  {"S:nna@berg.example"},
                  false,
                  {"MatchesRule=False/Sender: anna@berg.example/nna@berg.example"}},
        MatchCase{"NameAnyCase", {"S:anna BERG"}, true, {}},
        MatchCase{"NameIsWhole", {"S:Anna"}, false, {"MatchesRule=False/Sender: anna berg/anna"}},
        MatchCase{"FirstRecipientOnly",
                  {"R:eva@fink.example"},
                  false,
                  {"MatchesRule=False/Recipient: carl@dorn.example/eva@fink.example"}},
        MatchCase{"RecipientDomain", {"R:@dorn.example"}, true, {}},
        MatchCase{"RecipientName", {"R:carl dorn"}, true, {}},
        MatchCase{"SubjectInsideAWord", {"J:VOICE"}, true, {}},
        MatchCase{"SubjectMissing",
                  {"J:Order"},
                  false,
                  {"MatchesRule=False/Subj: your invoice 42/order"}},
        MatchCase{"FormatSkipsInlineAndCards",
                  {"F:pdf"},
                  true,
                  {"MatchesRule/SkipAtt: logo.png", "MatchesRule/SkipAtt: anna.vcf",
                   "MatchesRule/Found: PDF/PDF"}},
        MatchCase{"FormatOnlyInline",
                  {"F:png"},
                  false,
                  {"MatchesRule/SkipAtt: logo.png", "MatchesRule/SkipAtt: anna.vcf"}},
        MatchCase{"EveryFailedCriterionIsLoggedAndTheFormatStillWalked",
                  {"S:bob@berg.example", "J:order", "F:pdf"},
                  false,
                  {"MatchesRule=False/Sender: anna@berg.example/bob@berg.example",
                   "MatchesRule=False/Subj: your invoice 42/order", "MatchesRule/SkipAtt: logo.png",
                   "MatchesRule/SkipAtt: anna.vcf", "MatchesRule/Found: PDF/PDF"}}),
    [](const testing::TestParamInfo<MatchCase>& info) { return info.param.name; });

TEST_F(EngineTest, ADomainRuleFailsOnAnAddressWithoutAt) {
    const FakeMessagePtr message = addMail(u"m"_s, {});
    message->stored.senderAddress = u"/O=EXCHANGE/CN=ANNA"_s;
    QString sn, sa, rn, ra;
    udtRule rule = MakeRule(u"R"_s, out());
    rule.CheckSender = vbTrue;
    rule.Sender = u"@berg.example"_s;
    EXPECT_FALSE(MatchesRule(inbox->itemFor(message), rule, sn, sa, rn, ra));
}

TEST_F(EngineTest, AMailWithoutRecipientsFailsARecipientCriterion) {
    const FakeMessagePtr message = addMail(u"m"_s, {});
    message->stored.recipients.clear();
    QString sn, sa, rn = u"old"_s, ra = u"old"_s;
    udtRule rule = MakeRule(u"R"_s, out());
    rule.CheckRecp = vbTrue;
    rule.Recipient = u"carl dorn"_s;
    EXPECT_FALSE(MatchesRule(inbox->itemFor(message), rule, sn, sa, rn, ra));
    EXPECT_TRUE(rn.isEmpty());
    EXPECT_TRUE(ra.isEmpty());
}

TEST_F(EngineTest, AMailThatCannotBeFetchedForMatchingIsReported) {
    CurrLang = 1;
    const FakeMessagePtr message = addMail(u"m"_s, {});
    session->fails.failOn(u"GetMessageFromID/2"_s);
    session->fails.failOn(u"GetMessageFromID/1"_s,
                          OpError::make(ErrNo::NotFound, u"Object not found"_s));
    QString sn = u"kept"_s, sa, rn, ra;
    EXPECT_FALSE(MatchesRule(inbox->itemFor(message), MakeRule(u"R"_s, out()), sn, sa, rn, ra));
    EXPECT_EQ(sn, u"kept"_s);
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_EQ(user.questions()[0].prompt,
              u"MR/Error accessing items by mail store: Object not found"_s);
    EXPECT_EQ(user.beeps(), 1);
}
