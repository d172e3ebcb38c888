// The walk, the qualifying of mails, the rule loop and the closing summary.
#include "fakes/engine_fixture.h"

#include "data/data_files.h"
#include "data/protocol.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;

using Kind = AskedQuestion::Kind;

namespace {
const QString kStamp = u"QWKStowaway"_s;
}

TEST_F(EngineTest, NothingToDoReturnsFalseAfterTheStartLineAlone) {
    DoProto = true;
    addMail(u"m"_s, {u"a.pdf"_s});
    EXPECT_FALSE(runFolder()); // no rules
    addRule(u"R"_s);
    EXPECT_FALSE(StowawayNow(nullptr, nullptr, nullptr)); // neither folder nor item
    EXPECT_EQ(logLines(), QStringList({u"StowawayNow/Start..."_s, u"StowawayNow/Start..."_s}));
    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, TwoRulesOnOneMailRunOneAfterTheOtherOverTheFirstAttachmentCount) {
    udtRule pdf = MakeRule(u"PDFs"_s, out(u"pdf"_s));
    pdf.CheckFileFormat = vbTrue;
    pdf.FileFormat = u"pdf"_s;
    pdf.DelAttach = vbTrue;
    addRule(pdf);
    addRule(u"All"_s, u"all"_s);
    const FakeMessagePtr mail = addMail(u"Two"_s, {u"a.pdf"_s, u"b.txt"_s});

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out(u"pdf"_s)), QStringList{u"a.pdf"_s});
    // The first rule took a.pdf out of the mail, so the second finds b.txt at index 1 and
    // nothing at index 2, which it still asks for: the count was read once, before the rules.
    EXPECT_EQ(filesIn(out(u"all"_s)), QStringList{u"b.txt"_s});
    const QStringList& calls = mail->fails.calls();
    EXPECT_GT(calls.lastIndexOf(u"AttachmentAt(2)"_s), calls.indexOf(u"Save"_s));

    EXPECT_EQ(mail->stored.mileage, kStamp);
    ASSERT_EQ(mail->stored.attachments.size(), 1u);
    EXPECT_EQ(mail->stored.attachments[0]->fileName, u"b.txt"_s);
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Rule().get(), u"All"_s);
    EXPECT_EQ(records[0].Attachment().get(), u"b.txt"_s);
    EXPECT_EQ(records[1].Rule().get(), u"PDFs"_s);
    EXPECT_EQ(records[1].State().get(), u"SX"_s);
    // Counted once per matching rule.
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().prompt,
              u"2 Nachricht(en) in 'Inbox' bearbeitet. Dabei wurde(n) 2 Datei(en) "
              "gespeichert und 1 Dateie(n) aus Nachrichten gelöscht."_s);
}

TEST_F(EngineTest, AReadMailIsLeftByAPlainRunAndTakenByAnActiveSpecialRule) {
    DoProto = true;
    addRule(u"Table"_s, u"table"_s);
    const FakeMessagePtr mail = addMail(u"Old"_s, {u"a.pdf"_s});
    mail->stored.unread = false;
    SWTest = false;

    EXPECT_TRUE(runItem(mail));
    EXPECT_TRUE(filesIn(out(u"table"_s)).isEmpty());
    EXPECT_TRUE(logLines().contains(
        u"Unread= False or .Mileage= 'QWKStowaway' or HidePaperClip= True or AttCnt= 0..."_s));

    udtRule special = MakeRule(u"Extras"_s, out(u"extras"_s));
    special.Active = vbFalse; // an inactive special rule takes nothing either
    EXPECT_TRUE(runItem(mail, &special));
    EXPECT_TRUE(filesIn(out(u"extras"_s)).isEmpty());
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_TRUE(logLines().contains(u"Deactivated Rule: Extras, skipped..."_s));

    special.Active = vbTrue;
    EXPECT_TRUE(runItem(mail, &special));
    EXPECT_EQ(filesIn(out(u"extras"_s)), QStringList{u"a.pdf"_s});
    EXPECT_TRUE(filesIn(out(u"table"_s)).isEmpty()); // the table is not used
    EXPECT_EQ(mail->stored.mileage, kStamp);
    EXPECT_TRUE(logLines().contains(u"WithSpecialRule: True"_s));

    // Stamped now: the special rule leaves it too.
    QFile::remove(out(u"extras/a.pdf"_s));
    EXPECT_TRUE(runItem(mail, &special));
    EXPECT_TRUE(filesIn(out(u"extras"_s)).isEmpty());
    EXPECT_TRUE(logLines().contains(
        u"SpecialRule and .Mileage= 'QWKStowaway' or HidePaperClip= True or AttCnt= 0..."_s));
}

TEST_F(EngineTest, StampedHiddenClipAndBareMailsAreLeftAlone) {
    addRule(u"R"_s);
    addMail(u"stamped"_s, {u"a.pdf"_s})->stored.mileage = kStamp;
    addMail(u"clip"_s, {u"b.pdf"_s})->stored.hidePaperClip = true;
    addMail(u"bare"_s, {});
    const FakeMessagePtr report = addMail(u"report"_s, {u"c.pdf"_s});
    report->stored.itemClass = ItemClass::Report;

    EXPECT_TRUE(runFolder());

    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_TRUE(report->fails.calls().count(u"Subject"_s) == 0);
    // Nothing matched in a real run: no summary at all.
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, AMailWithOnlyHiddenOrInlineAttachmentsIsDoneWithoutFiles) {
    addRule(u"R"_s);
    const FakeMessagePtr mail = addMail(u"inline"_s, {});
    mail->addAttachment(u"hidden.pdf"_s).hidden = true;
    mail->addAttachment(u"image001.png"_s).contentId = u"img1@x"_s;
    mail->addAttachment(u"Forwarded"_s).type = AttachType::EmbeddedItem;

    EXPECT_TRUE(runFolder());

    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_EQ(mail->stored.mileage, kStamp);
    EXPECT_EQ(mail->saves, 1);
    EXPECT_EQ(mail->stored.attachments.size(), 3u);
    EXPECT_EQ(user.questions(Kind::MessageBox).back().prompt,
              u"1 Nachricht(en) in 'Inbox' bearbeitet. Dabei wurde(n) 0 Datei(en) "
              "gespeichert."_s);
}

TEST_F(EngineTest, AFormatRuleDoesNotMatchAMailWhoseOnlyFileOfThatFormatIsInline) {
    udtRule rule = MakeRule(u"PNG"_s, out());
    rule.CheckFileFormat = vbTrue;
    rule.FileFormat = u"PNG"_s;
    addRule(rule);
    const FakeMessagePtr mail = addMail(u"inline"_s, {});
    mail->addAttachment(u"image001.png"_s).contentId = u"img1@x"_s;

    EXPECT_TRUE(runFolder());

    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_EQ(mail->saves, 0);
}

TEST_F(EngineTest, CardsAreNeverSaved) {
    addRule(u"R"_s);
    udtRule cards = MakeRule(u"Cards"_s, out(u"cards"_s));
    cards.CheckFileFormat = vbTrue;
    cards.FileFormat = u"vcf"_s;
    addRule(cards);
    addMail(u"cards"_s, {u"anna.vcf"_s, u"BERT.VCF"_s, u"carl.Vcf"_s, u"notes.txt"_s});

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList{u"notes.txt"_s});
    EXPECT_FALSE(QFileInfo::exists(out(u"cards"_s)));
    EXPECT_EQ(proto().size(), 1u);
}

TEST_F(EngineTest, AFailedSaveKeepsEarlierFilesAndLeavesTheMailForTheNextRun) {
    DoProto = true;
    udtRule rule = MakeRule(u"R"_s, out());
    rule.DelAttach = vbTrue;
    addRule(rule);
    const FakeMessagePtr mail = addMail(u"three"_s, {u"1.pdf"_s, u"2.pdf"_s, u"3.pdf"_s});
    FakeAttachmentData& second = *mail->stored.attachments[1];
    FakeAttachmentData& third = *mail->stored.attachments[2];
    second.fails.failOn(u"SaveAsFile"_s,
                        OpError::make(ErrNo::IoError, u"Part cannot be decoded"_s));

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList{u"1.pdf"_s});
    EXPECT_EQ(third.fails.count(u"SaveAsFile"_s), 0);
    EXPECT_EQ(mail->saves, 0);
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_EQ(mail->stored.attachments.size(), 3u);
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].State().get(), u"! 57/Part cannot be decoded"_s);
    EXPECT_EQ(records[0].Attachment().get(), u"2.pdf"_s);
    EXPECT_EQ(records[1].State().get(), u"SX"_s);
    const QString path2 = outFile(u"2.pdf"_s);
    EXPECT_TRUE(logLines().contains(u"Error saving attachment: "_s + path2));
    EXPECT_TRUE(logLines().contains(u"Error: Part cannot be decoded"_s));
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_GE(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt, u"Anhang konnte nicht gespeichert werden:\n\nAnhang: "_s + path2 +
                                   u"\nFehler: Part cannot be decoded"_s);
    EXPECT_EQ(boxes[0].icon, 48);

    // The next run takes the mail up again.
    second.fails.clear(u"SaveAsFile"_s);
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(filesIn(out()), QStringList({u"1.pdf"_s, u"2.pdf"_s, u"3.pdf"_s}));
    EXPECT_EQ(mail->stored.mileage, kStamp);
    EXPECT_TRUE(mail->stored.attachments.empty());
}

TEST_F(EngineTest, ARuleWhoseProjectWasDeletedLeavesTheMailAndWritesNothing) {
    udtRule rule = MakeRule(u"P"_s, u"Gone"_s);
    rule.SaveBy = 3;
    addRule(rule);
    const FakeMessagePtr mail = addMail(u"m"_s, {u"a.pdf"_s});
    const QString cwd = QDir::currentPath();
    QDir::setCurrent(out());

    EXPECT_TRUE(runFolder());
    QDir::setCurrent(cwd);

    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_EQ(mail->saves, 0);
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt, u"Regel 'P' hat keinen gültigen Zielordner ('Gone'). "
                               "Die Nachricht bleibt unverändert."_s);
}

TEST_F(EngineTest, AMailThatCannotBeFetchedIsReportedAndTheWalkGoesOn) {
    addRule(u"R"_s);
    addMail(u"lost"_s, {u"a.pdf"_s});
    addMail(u"fine"_s, {u"b.pdf"_s});
    session->fails.failOn(u"GetMessageFromID/2"_s);
    session->fails.failOn(u"GetMessageFromID/1"_s,
                          OpError::make(ErrNo::IoError, u"Object not readable"_s), 1);

    EXPECT_TRUE(runFolder());

    // The second mail came by its entry id alone, the store route being shut.
    EXPECT_EQ(filesIn(out()), QStringList{u"b.pdf"_s});
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_GE(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt,
              u"Fehler bei Zugriff auf Nachricht via Mail-Speicher: Object not readable"_s);
    EXPECT_EQ(boxes[0].icon, 48);
    // An "!" line: written with the LOG off too.
    EXPECT_EQ(logLines(),
              QStringList{
                  u"! Fehler bei Zugriff auf Nachricht via Mail-Speicher: Object not readable"_s});

    // A mail that left its folder meanwhile (a sync tool moved it) only gets a LOG line.
    DoProto = true;
    session->fails.failOn(u"GetMessageFromID/1"_s,
                          OpError::make(ErrNo::NotFound, u"No mail with the id"_s), 1);
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(user.questions(Kind::MessageBox).size(), boxes.size());
    EXPECT_TRUE(
        logLines().contains(u"Mail passed over, no longer in its folder: No mail with the id"_s));
}

TEST_F(EngineTest, TheTestDialogDescribesEachAttachmentAndCanEndTheRun) {
    DoProto = true;
    udtRule rule = MakeRule(u"Invoices"_s, out());
    rule.DelAttach = vbTrue;
    addRule(rule);
    const FakeMessagePtr mail = addMail(u"Invoice 42"_s, {u"a.pdf"_s, u"b.pdf"_s});
    addMail(u"later"_s, {u"c.pdf"_s});
    user.answerMsgBoxEx(2); // "Testlauf abbrechen"

    EXPECT_FALSE(runFolder(true));

    const auto asked = user.questions(Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].prompt, u"Regel: Invoices\nNachricht: Invoice 42\nOrdner: Inbox\n"
                               "Von: Anna Berg (anna@berg.example)\n"
                               "An: Carl Dorn (carl@dorn.example)\n\n"
                               "Der Anhang würde wie folgt gespeichert und aus der Nachricht "
                               "gelöscht werden:\n\n"_s +
                                   outFile(u"a.pdf"_s) + u"\n\nTestlauf weiter durchführen?"_s);
    EXPECT_EQ(asked[0].buttons, QStringList({u"Weiter"_s, u"Testlauf abbrechen"_s}));
    EXPECT_EQ(asked[0].title, gAppCaption + u" · Testmodus:"_s);
    EXPECT_EQ(asked[0].icon, 32);
    EXPECT_TRUE(logLines().contains(u"! Aborted..."_s));
    EXPECT_TRUE(proto().empty());
    EXPECT_FALSE(QFileInfo::exists(out()));
    EXPECT_EQ(mail->saves, 0);
}

struct SummaryCase {
    const char* name;
    int lang;
    bool test;
    bool match;
    bool deletes;
    int notify;
    const char* expected; // empty: no summary
};

class ClosingSummary : public EngineTest, public testing::WithParamInterface<SummaryCase> {};

TEST_P(ClosingSummary, ReadsAsTheLanguageAndTheCountersSay) {
    const SummaryCase c = GetParam();
    CurrLang = static_cast<uint8_t>(c.lang);
    Notify = static_cast<int16_t>(c.notify);
    udtRule rule = MakeRule(u"R"_s, out());
    rule.DelAttach = ToVb(c.deletes);
    rule.CheckSubj = vbTrue;
    rule.Subject = u"invoice"_s;
    addRule(rule);
    addMail(c.match ? u"Invoice"_s : u"Hello"_s, {u"a.pdf"_s, u"b.pdf"_s});

    runFolder(c.test);

    const auto boxes = user.questions(Kind::MessageBox);
    if (QString::fromUtf8(c.expected).isEmpty()) {
        EXPECT_TRUE(boxes.empty());
        return;
    }
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt, QString::fromUtf8(c.expected));
    EXPECT_EQ(boxes[0].icon, 64);
    EXPECT_EQ(boxes[0].title, gAppCaption);
}

INSTANTIATE_TEST_SUITE_P(
    BothLanguages, ClosingSummary,
    testing::Values(
        SummaryCase{"GermanRunWithDeletion", 0, false, true, true, 1,
                    "1 Nachricht(en) in 'Inbox' bearbeitet. Dabei wurde(n) 2 Datei(en) "
                    "gespeichert und 2 Dateie(n) aus Nachrichten gelöscht."},
        SummaryCase{"EnglishRunWithDeletion", 1, false, true, true, 2,
                    "1 mail(s) in 'Inbox' processed. 2 mail(s) were saved and 2 file(s) were "
                    "deleted from mails."},
        SummaryCase{"EnglishRunWithoutDeletion", 1, false, true, false, 1,
                    "1 mail(s) in 'Inbox' processed. 2 mail(s) were saved."},
        SummaryCase{"GermanTestRun", 0, true, true, true, 1,
                    "1 Nachricht(en) in 'Inbox' bearbeitet."},
        SummaryCase{"EnglishTestRun", 1, true, true, false, 1, "1 mail(s) in 'Inbox' processed."},
        SummaryCase{"GermanTestRunNoMatch", 0, true, false, false, 1,
                    "Keine ungelesenen und bislang nicht bearbeiteten Nachrichten in 'Inbox' "
                    "gefunden..."},
        SummaryCase{"EnglishTestRunNoMatchNotifyOff", 1, true, false, false, 0,
                    "No unread and unprocessed mails found in 'Inbox'..."},
        SummaryCase{"RunNoMatch", 0, false, false, false, 1, ""},
        SummaryCase{"RunWithNotifyOff", 1, false, true, false, 0, ""},
        SummaryCase{"TestRunWithNotifyOff", 0, true, true, false, 0, ""}),
    [](const testing::TestParamInfo<SummaryCase>& info) { return info.param.name; });

TEST_F(EngineTest, NoSummaryWithoutARunFlagNorForASingleItem) {
    addRule(u"R"_s);
    const FakeMessagePtr first = addMail(u"m"_s, {u"a.pdf"_s});
    SWTest = false;
    SWRun = false; // a watcher's folder call without the run flag
    EXPECT_TRUE(StowawayNow(inbox, nullptr, nullptr));
    EXPECT_EQ(filesIn(out()), QStringList{u"a.pdf"_s});

    const FakeMessagePtr second = addMail(u"n"_s, {u"b.pdf"_s});
    SWRun = true;
    EXPECT_TRUE(runItem(second));
    EXPECT_EQ(filesIn(out()), QStringList({u"a.pdf"_s, u"b.pdf"_s}));
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, TheWalkIsShownOnTheSubProgressBar) {
    addRule(u"R"_s);
    addMail(u"m"_s, {u"a.pdf"_s});
    addMail(u"n"_s, {u"b.pdf"_s});
    RecordingStatus status;
    SWTest = false;
    StowawayNow(inbox, nullptr, &status);
    EXPECT_EQ(status.calls(),
              QStringList({u"sub 1 0.00"_s, u"sub 1 0.50"_s, u"sub 1 1.00"_s, u"sub 0 0.00"_s}));
}

TEST_F(EngineTest, AnUnreadableFolderIsReportedInTheLog) {
    addRule(u"R"_s);
    inbox->fails.failOn(u"Items"_s, OpError::make(ErrNo::NoPermission, u"Permission denied"_s));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(logLines(), QStringList{u"! SWN/Items: Inbox: Permission denied"_s});
}

TEST_F(EngineTest, TheProtocolIsOnDiskWhenAFolderCallReturnsAndSoonAfterOneForAMail) {
    addRule(u"R"_s);
    addMail(u"m"_s, {u"a.pdf"_s, u"b.pdf"_s});
    EXPECT_TRUE(runFolder());
    const QString path = DataFilePath(u".prt"_s);
    EXPECT_EQ(QFileInfo(path).size(), 2 * kProtoRecordSize);

    // A bulk run calls once per mail: the file is not written anew after each of them.
    EXPECT_TRUE(runItem(addMail(u"n"_s, {u"c.pdf"_s})));
    EXPECT_TRUE(runItem(addMail(u"o"_s, {u"d.pdf"_s})));
    EXPECT_EQ(QFileInfo(path).size(), 2 * kProtoRecordSize);
    EXPECT_TRUE(ProtoEntries.changed);
    FlushProtocol();
    EXPECT_EQ(QFileInfo(path).size(), 4 * kProtoRecordSize);
}
