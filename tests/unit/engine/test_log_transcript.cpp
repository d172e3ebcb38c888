// The LOG of a whole run over a small folder: what it says of each mail and rule, in order.
#include "fakes/engine_fixture.h"

using namespace Qt::StringLiterals;

namespace {

class LogTranscript : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        DoProto = true;
        udtRule invoices = MakeRule(u"Invoices"_s, out());
        invoices.CheckSubj = vbTrue;
        invoices.Subject = u"invoice"_s;
        invoices.DelAttach = vbTrue;
        addRule(invoices);
        udtRule off = MakeRule(u"Off"_s, out(u"off"_s));
        off.Active = vbFalse;
        addRule(off);
        udtRule orders = MakeRule(u"Orders"_s, out(u"orders"_s));
        orders.CheckSubj = vbTrue;
        orders.Subject = u"order"_s;
        addRule(orders);
        addMail(u"Invoice 42"_s, {u"a b.pdf"_s});
        addMail(u"Hello"_s, {u"b.pdf"_s})->stored.unread = false;
    }
    // The lines of the LOG that begin with one of `heads`, in their order.
    static QStringList linesOf(const QStringList& heads) {
        QStringList kept;
        for (const QString& line : logLines())
            for (const QString& head : heads)
                if (line.startsWith(head)) kept << line;
        return kept;
    }
};

} // namespace

// A test run first: it leaves the mails as they were for the real run, which alone annotates.
TEST_F(LogTranscript, SaysWhichRuleTookWhichMailAndWhy) {
    const QStringList heads{u"Current "_s, u"Rule "_s,       u"Deactivated"_s, u"MatchesRule"_s,
                            u"Unread="_s,  u"Attachment "_s, u"New Body"_s,    u"StowawayNow/"_s};
    const QStringList steps{u"StowawayNow/Start..."_s,
                            u"Current Mail: Invoice 42"_s,
                            u"Current Rule: Invoices"_s,
                            u"Rule 'Invoices' matches current mail..."_s,
                            u"Attachment saved: "_s + outFile(u"a b.pdf"_s),
                            u"Attachment deleted: a b.pdf"_s,
                            u"Deactivated Rule: Off, skipped..."_s,
                            u"Current Rule: Orders"_s,
                            u"MatchesRule=False/Subj: invoice 42/order"_s,
                            u"Rule 'Orders' does NOT match current mail!"_s,
                            u"Current Mail: Hello"_s,
                            u"Unread= False or .Mileage= 'QWKStowaway' or HidePaperClip= True or "
                            u"AttCnt= 0..."_s,
                            u"StowawayNow/End..."_s};
    EXPECT_TRUE(runFolder(true));
    EXPECT_EQ(linesOf(heads), steps);
    QFile::remove(LogFilePath());
    EXPECT_TRUE(runFolder(false));
    QStringList real = steps;
    real.insert(6, u"New Body: "_s);
    EXPECT_EQ(linesOf(heads), real);
}
