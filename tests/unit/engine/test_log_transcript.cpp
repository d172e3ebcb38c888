// The LOG of a whole run over a small folder, line by line, time stamps stripped.
#include "fakes/engine_fixture.h"

using namespace Qt::StringLiterals;

namespace {

// The LOG of a mail block, a rule block and the rest share these pieces.
const char* const kMailBlock = R"(SWN/TN: FakeMail
Current Mail: Invoice 42
Unread: True
From: Anna Berg (anna@berg.example)
To: Carl Dorn (carl@dorn.example)
Date: Freitag, 15. März 2024, 10:30:00
Hide Paperclip: False
Mileage: 
Attachments: 2
FileName: a b.pdf
Type: 1
Hidden: False
CID: 
FileName: logo.png
Type: 1
Hidden: False
CID: logo@x
--------------------------------------------------
SWN/M: , /HPC: False, /AC: 2
Current Rule: Invoices
CheckSender: False
Sender: ./.
CheckRecp: False
Recipient: ./.
CheckSubj: True
Subject: invoice
CheckFileFormat: False
FileFormat: ./.
Save by: 4
Save Format: 0
Folder: {ROOT}/out
Execute: ./.
Del Attach: True
Notify: False
Hyperlink: True
--------------------------------------------------
Rule 'Invoices' matches current mail...
GetRuleData: {ROOT}/out/, {ROOT}/out/
SWN/GRD: {ROOT}/out/, {ROOT}/out/
Attachment saved: {ROOT}/out/a b.pdf
Attachment deleted: a b.pdf
)";

const char* const kRealAnnotation = R"(DeletedAttachm: a b.pdf; 
BodyFormat: 1
TXT/Plain, Others...
TXT/Attachment 1: {ROOT}/out/a b.pdf
New Body: 
Hello

~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~
Quillworks Stowaway v2.50 · Gespeicherte Anhänge: 

file://{ROOT}/out/a%20b.pdf



TXT/Links: 
~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~
Quillworks Stowaway v2.50 · Gespeicherte Anhänge: 

file://{ROOT}/out/a%20b.pdf

Body: 
Hello

~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~
Quillworks Stowaway v2.50 · Gespeicherte Anhänge: 

file://{ROOT}/out/a%20b.pdf



)";

const char* const kOtherRules = R"(..................................................
Deactivated Rule: Off, skipped...
..................................................
Current Rule: Orders
CheckSender: False
Sender: ./.
CheckRecp: False
Recipient: ./.
CheckSubj: True
Subject: order
CheckFileFormat: False
FileFormat: ./.
Save by: 4
Save Format: 0
Folder: {ROOT}/orders
Execute: ./.
Del Attach: False
Notify: False
Hyperlink: False
--------------------------------------------------
MatchesRule=False/Subj: invoice 42/order
Rule 'Orders' does NOT match current mail!
..................................................
--------------------------------------------------
SWN/TN: FakeMail
Current Mail: Hello
Unread: False
From: Anna Berg (anna@berg.example)
To: Carl Dorn (carl@dorn.example)
Date: Freitag, 15. März 2024, 10:30:00
Hide Paperclip: False
Mileage: 
Attachments: 1
FileName: b.pdf
Type: 1
Hidden: False
CID: 
--------------------------------------------------
SWN/M: , /HPC: False, /AC: 1
Unread= False or .Mileage= 'QWKStowaway' or HidePaperClip= True or AttCnt= 0...
--------------------------------------------------
--------------------------------------------------
StowawayNow/End...
)";

class LogTranscript : public EngineTest {
  protected:
    void SetUp() override {
        EngineTest::SetUp();
        DoProto = true;
        udtRule invoices = MakeRule(u"Invoices"_s, out());
        invoices.CheckSubj = vbTrue;
        invoices.Subject = u"invoice"_s;
        invoices.SaveFormat = 0;
        invoices.DelAttach = vbTrue;
        invoices.Hyperlink = vbTrue;
        addRule(invoices);
        udtRule off = MakeRule(u"Off"_s, out(u"off"_s));
        off.Active = vbFalse;
        addRule(off);
        udtRule orders = MakeRule(u"Orders"_s, out(u"orders"_s));
        orders.CheckSubj = vbTrue;
        orders.Subject = u"order"_s;
        addRule(orders);

        const FakeMessagePtr invoice = addMail(u"Invoice 42"_s, {u"a b.pdf"_s});
        invoice->addAttachment(u"logo.png"_s).contentId = u"logo@x"_s;
        addMail(u"Hello"_s, {u"b.pdf"_s})->stored.unread = false;
    }

    QStringList expected(std::initializer_list<const char*> pieces) const {
        QString text;
        for (const char* piece : pieces)
            text += QString::fromUtf8(piece);
        text.replace(u"{ROOT}"_s, root);
        QStringList lines = text.split(QLatin1Char('\n'));
        lines.removeLast(); // the text ends with a line end
        return lines;
    }
};

} // namespace

// A test run first: it leaves the mails as they were for the real run.
TEST_F(LogTranscript, OfATestRunAndOfARealRun) {
    const char* start = "StowawayNow/Start...\nWithSpecialRule: False\nChecking folder: Inbox\n";
    EXPECT_TRUE(runFolder(true));
    EXPECT_EQ(logLines(), expected({start, kMailBlock, kOtherRules}));
    QFile::remove(LogFilePath());
    EXPECT_TRUE(runFolder(false));
    EXPECT_EQ(logLines(), expected({start, kMailBlock, kRealAnnotation, kOtherRules}));
}
