// The walk, the qualifying of mails, the rule loop and the closing summary.
#include "fakes/engine_fixture.h"

#include "data/data_files.h"

#include <QFileInfo>

using Kind = AskedQuestion::Kind;

namespace {
const QString kStamp = QStringLiteral("QWKStowaway");
}

TEST_F(EngineTest, NothingToDoReturnsFalseAfterTheStartLineAlone) {
    DoProto = true;
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    EXPECT_FALSE(runFolder()); // no rules
    addRule(QStringLiteral("R"));
    EXPECT_FALSE(StowawayNow(nullptr, nullptr, nullptr)); // neither folder nor item
    EXPECT_EQ(logLines(), QStringList({QStringLiteral("StowawayNow/Start..."),
                                       QStringLiteral("StowawayNow/Start...")}));
    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, TwoRulesOnOneMailRunOneAfterTheOtherOverTheFirstAttachmentCount) {
    udtRule pdf = MakeRule(QStringLiteral("PDFs"), out(QStringLiteral("pdf")));
    pdf.CheckFileFormat = vbTrue;
    pdf.FileFormat = QStringLiteral("pdf");
    pdf.DelAttach = vbTrue;
    addRule(pdf);
    addRule(QStringLiteral("All"), QStringLiteral("all"));
    const FakeMessagePtr mail =
        addMail(QStringLiteral("Two"), {QStringLiteral("a.pdf"), QStringLiteral("b.txt")});

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out(QStringLiteral("pdf"))), QStringList{QStringLiteral("a.pdf")});
    // The first rule took a.pdf out of the mail, so the second finds b.txt at index 1 and
    // nothing at index 2, which it still asks for: the count was read once, before the rules.
    EXPECT_EQ(filesIn(out(QStringLiteral("all"))), QStringList{QStringLiteral("b.txt")});
    const QStringList& calls = mail->fails.calls();
    EXPECT_GT(calls.lastIndexOf(QStringLiteral("AttachmentAt(2)")),
              calls.indexOf(QStringLiteral("Save")));
    EXPECT_EQ(calls.count(QStringLiteral("AttachmentCount")) >= 1, true);

    EXPECT_EQ(mail->stored.mileage, kStamp);
    ASSERT_EQ(mail->stored.attachments.size(), 1u);
    EXPECT_EQ(mail->stored.attachments[0]->fileName, QStringLiteral("b.txt"));
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Rule.get(), QStringLiteral("All"));
    EXPECT_EQ(records[0].Attachment.get(), QStringLiteral("b.txt"));
    EXPECT_EQ(records[1].Rule.get(), QStringLiteral("PDFs"));
    EXPECT_EQ(records[1].State.get(), QStringLiteral("SX"));
    // Counted once per matching rule.
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().prompt,
              QStringLiteral("2 Nachricht(en) in 'Inbox' bearbeitet. Dabei wurde(n) 2 Datei(en) "
                             "gespeichert und 1 Dateie(n) aus Nachrichten gelöscht."));
}

TEST_F(EngineTest, AReadMailIsLeftByAPlainRunAndTakenByASpecialRule) {
    DoProto = true;
    addRule(QStringLiteral("Table"), QStringLiteral("table"));
    const FakeMessagePtr mail = addMail(QStringLiteral("Old"), {QStringLiteral("a.pdf")});
    mail->stored.unread = false;
    SWTest = false;

    EXPECT_TRUE(runItem(mail));
    EXPECT_TRUE(filesIn(out(QStringLiteral("table"))).isEmpty());
    EXPECT_TRUE(logLines().contains(QStringLiteral(
        "Unread= False or .Mileage= 'QWKStowaway' or HidePaperClip= True or AttCnt= 0...")));

    udtRule special = MakeRule(QStringLiteral("Extras"), out(QStringLiteral("extras")));
    EXPECT_TRUE(runItem(mail, &special));
    EXPECT_EQ(filesIn(out(QStringLiteral("extras"))), QStringList{QStringLiteral("a.pdf")});
    EXPECT_TRUE(filesIn(out(QStringLiteral("table"))).isEmpty()); // the table is not used
    EXPECT_EQ(mail->stored.mileage, kStamp);
    EXPECT_TRUE(logLines().contains(QStringLiteral("WithSpecialRule: True")));

    // Stamped now: the special rule leaves it too.
    QFile::remove(out(QStringLiteral("extras/a.pdf")));
    EXPECT_TRUE(runItem(mail, &special));
    EXPECT_TRUE(filesIn(out(QStringLiteral("extras"))).isEmpty());
    EXPECT_TRUE(logLines().contains(QStringLiteral(
        "SpecialRule and .Mileage= 'QWKStowaway' or HidePaperClip= True or AttCnt= 0...")));
}

TEST_F(EngineTest, AnInactiveSpecialRuleProcessesNothing) {
    DoProto = true;
    SWTest = false;
    addRule(QStringLiteral("Table"), QStringLiteral("table"));
    const FakeMessagePtr mail = addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    udtRule special = MakeRule(QStringLiteral("Extras"), out(QStringLiteral("extras")));
    special.Active = vbFalse;

    EXPECT_TRUE(runItem(mail, &special));

    EXPECT_TRUE(filesIn(out(QStringLiteral("extras"))).isEmpty());
    EXPECT_TRUE(filesIn(out(QStringLiteral("table"))).isEmpty());
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_TRUE(logLines().contains(QStringLiteral("Deactivated Rule: Extras, skipped...")));
}

TEST_F(EngineTest, StampedHiddenClipAndBareMailsAreLeftAlone) {
    addRule(QStringLiteral("R"));
    addMail(QStringLiteral("stamped"), {QStringLiteral("a.pdf")})->stored.mileage = kStamp;
    addMail(QStringLiteral("clip"), {QStringLiteral("b.pdf")})->stored.hidePaperClip = true;
    addMail(QStringLiteral("bare"), {});
    const FakeMessagePtr report = addMail(QStringLiteral("report"), {QStringLiteral("c.pdf")});
    report->stored.itemClass = ItemClass::Report;

    EXPECT_TRUE(runFolder());

    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_TRUE(report->fails.calls().count(QStringLiteral("Subject")) == 0);
    // Nothing matched in a real run: no summary at all.
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, AMailWithOnlyHiddenOrInlineAttachmentsIsDoneWithoutFiles) {
    addRule(QStringLiteral("R"));
    const FakeMessagePtr mail = addMail(QStringLiteral("inline"), {});
    mail->addAttachment(QStringLiteral("hidden.pdf")).hidden = true;
    mail->addAttachment(QStringLiteral("image001.png")).contentId = QStringLiteral("img1@x");
    mail->addAttachment(QStringLiteral("Forwarded")).type = AttachType::EmbeddedItem;

    EXPECT_TRUE(runFolder());

    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_EQ(mail->stored.mileage, kStamp);
    EXPECT_EQ(mail->saves, 1);
    EXPECT_EQ(mail->stored.attachments.size(), 3u);
    EXPECT_EQ(user.questions(Kind::MessageBox).back().prompt,
              QStringLiteral("1 Nachricht(en) in 'Inbox' bearbeitet. Dabei wurde(n) 0 Datei(en) "
                             "gespeichert."));
}

TEST_F(EngineTest, AFormatRuleDoesNotMatchAMailWhoseOnlyFileOfThatFormatIsInline) {
    udtRule rule = MakeRule(QStringLiteral("PNG"), out());
    rule.CheckFileFormat = vbTrue;
    rule.FileFormat = QStringLiteral("PNG");
    addRule(rule);
    const FakeMessagePtr mail = addMail(QStringLiteral("inline"), {});
    mail->addAttachment(QStringLiteral("image001.png")).contentId = QStringLiteral("img1@x");

    EXPECT_TRUE(runFolder());

    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_EQ(mail->saves, 0);
}

TEST_F(EngineTest, CardsAreNeverSaved) {
    addRule(QStringLiteral("R"));
    udtRule cards = MakeRule(QStringLiteral("Cards"), out(QStringLiteral("cards")));
    cards.CheckFileFormat = vbTrue;
    cards.FileFormat = QStringLiteral("vcf");
    addRule(cards);
    addMail(QStringLiteral("cards"), {QStringLiteral("anna.vcf"), QStringLiteral("BERT.VCF"),
                                      QStringLiteral("carl.Vcf"), QStringLiteral("notes.txt")});

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList{QStringLiteral("notes.txt")});
    EXPECT_FALSE(QFileInfo::exists(out(QStringLiteral("cards"))));
    EXPECT_EQ(proto().size(), 1u);
}

TEST_F(EngineTest, AFailedSaveKeepsEarlierFilesAndLeavesTheMailForTheNextRun) {
    DoProto = true;
    udtRule rule = MakeRule(QStringLiteral("R"), out());
    rule.DelAttach = vbTrue;
    addRule(rule);
    const FakeMessagePtr mail =
        addMail(QStringLiteral("three"),
                {QStringLiteral("1.pdf"), QStringLiteral("2.pdf"), QStringLiteral("3.pdf")});
    FakeAttachmentData& second = *mail->stored.attachments[1];
    FakeAttachmentData& third = *mail->stored.attachments[2];
    second.fails.failOn(QStringLiteral("SaveAsFile"),
                        OpError::make(ErrNo::IoError, QStringLiteral("Part cannot be decoded")));

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList{QStringLiteral("1.pdf")});
    EXPECT_EQ(third.fails.count(QStringLiteral("SaveAsFile")), 0);
    EXPECT_EQ(mail->saves, 0);
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_EQ(mail->stored.attachments.size(), 3u);
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].State.get(), QStringLiteral("! 57/Part cannot be decoded"));
    EXPECT_EQ(records[0].Attachment.get(), QStringLiteral("2.pdf"));
    EXPECT_EQ(records[1].State.get(), QStringLiteral("SX"));
    const QString path2 = outFile(QStringLiteral("2.pdf"));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Error saving attachment: ") + path2));
    EXPECT_TRUE(logLines().contains(QStringLiteral("Error: Part cannot be decoded")));
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_GE(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt,
              QStringLiteral("Anhang konnte nicht gespeichert werden:\n\nAnhang: ") + path2 +
                  QStringLiteral("\nFehler: Part cannot be decoded"));
    EXPECT_EQ(boxes[0].icon, 48);

    // The next run takes the mail up again.
    second.fails.clear(QStringLiteral("SaveAsFile"));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(filesIn(out()), QStringList({QStringLiteral("1.pdf"), QStringLiteral("2.pdf"),
                                           QStringLiteral("3.pdf")}));
    EXPECT_EQ(mail->stored.mileage, kStamp);
    EXPECT_TRUE(mail->stored.attachments.empty());
}

TEST_F(EngineTest, ARuleWhoseProjectWasDeletedLeavesTheMailAndWritesNothing) {
    udtRule rule = MakeRule(QStringLiteral("P"), QStringLiteral("Gone"));
    rule.SaveBy = 3;
    addRule(rule);
    const FakeMessagePtr mail = addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    const QString cwd = QDir::currentPath();
    QDir::setCurrent(out());

    EXPECT_TRUE(runFolder());
    QDir::setCurrent(cwd);

    EXPECT_TRUE(filesIn(out()).isEmpty());
    EXPECT_EQ(mail->saves, 0);
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt, QStringLiteral("Regel 'P' hat keinen gültigen Zielordner ('Gone'). "
                                              "Die Nachricht bleibt unverändert."));
}

TEST_F(EngineTest, TheMailIsFetchedByItsEntryIdAloneWhenTheStoreRouteFails) {
    addRule(QStringLiteral("R"));
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    session->fails.failOn(QStringLiteral("GetMessageFromID/2"));

    EXPECT_TRUE(runFolder());
    EXPECT_EQ(filesIn(out()), QStringList{QStringLiteral("a.pdf")});
}

TEST_F(EngineTest, AMailThatCannotBeFetchedIsReportedAndTheWalkGoesOn) {
    addRule(QStringLiteral("R"));
    addMail(QStringLiteral("lost"), {QStringLiteral("a.pdf")});
    addMail(QStringLiteral("fine"), {QStringLiteral("b.pdf")});
    session->fails.failOn(QStringLiteral("GetMessageFromID/2"));
    session->fails.failOn(QStringLiteral("GetMessageFromID/1"),
                          OpError::make(ErrNo::NotFound, QStringLiteral("Object not found")), 1);

    EXPECT_TRUE(runFolder());

    EXPECT_EQ(filesIn(out()), QStringList{QStringLiteral("b.pdf")});
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_GE(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt,
              QStringLiteral("Fehler bei Zugriff auf Nachricht via RDO: Object not found"));
    EXPECT_EQ(boxes[0].icon, 48);
    // An "!" line: written with the LOG off too.
    EXPECT_EQ(logLines(), QStringList{QStringLiteral(
                              "! Fehler bei Zugriff auf Nachricht via RDO: Object not found")});
}

TEST_F(EngineTest, TheTestDialogDescribesEachAttachmentAndCanEndTheRun) {
    DoProto = true;
    udtRule rule = MakeRule(QStringLiteral("Invoices"), out());
    rule.DelAttach = vbTrue;
    addRule(rule);
    const FakeMessagePtr mail =
        addMail(QStringLiteral("Invoice 42"), {QStringLiteral("a.pdf"), QStringLiteral("b.pdf")});
    addMail(QStringLiteral("later"), {QStringLiteral("c.pdf")});
    user.answerMsgBoxEx(2); // "Testlauf abbrechen"

    EXPECT_FALSE(runFolder(true));

    const auto asked = user.questions(Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].prompt,
              QStringLiteral("Regel: Invoices\nNachricht: Invoice 42\nOrdner: Inbox\n"
                             "Von: Anna Berg (anna@berg.example)\n"
                             "An: Carl Dorn (carl@dorn.example)\n\n"
                             "Der Anhang würde wie folgt gespeichert und aus der Nachricht "
                             "gelöscht werden:\n\n") +
                  outFile(QStringLiteral("a.pdf")) +
                  QStringLiteral("\n\nTestlauf weiter durchführen?"));
    EXPECT_EQ(asked[0].buttons,
              QStringList({QStringLiteral("Weiter"), QStringLiteral("Testlauf abbrechen")}));
    EXPECT_EQ(asked[0].title, gAppCaption + QStringLiteral(" · Testmodus:"));
    EXPECT_EQ(asked[0].icon, 32);
    EXPECT_TRUE(logLines().contains(QStringLiteral("! Aborted...")));
    EXPECT_TRUE(proto().empty());
    EXPECT_FALSE(QFileInfo::exists(out()));
    EXPECT_EQ(mail->saves, 0);
}

TEST_F(EngineTest, ATestRunSavesNothingButWritesRecordsAndShowsTheSummary) {
    addRule(QStringLiteral("R"));
    const FakeMessagePtr mail = addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    QDir().mkpath(out());
    QFile existing(outFile(QStringLiteral("a.pdf")));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("old");
    existing.close();
    user.answerMsgBoxEx(1);

    EXPECT_TRUE(runFolder(true));

    EXPECT_EQ(read(outFile(QStringLiteral("a.pdf"))), QByteArray("old"));
    EXPECT_TRUE(mail->stored.mileage.isEmpty());
    EXPECT_EQ(mail->saves, 0);
    ASSERT_EQ(proto().size(), 1u);
    EXPECT_EQ(proto()[0].State.get(), QStringLiteral("TS"));
    // No conflict handling in a test run: the first path is shown.
    EXPECT_TRUE(user.questions(Kind::SaveFile).empty());
    EXPECT_EQ(user.questions(Kind::MessageBox).back().prompt,
              QStringLiteral("1 Nachricht(en) in 'Inbox' bearbeitet."));
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
    udtRule rule = MakeRule(QStringLiteral("R"), out());
    rule.DelAttach = ToVb(c.deletes);
    rule.CheckSubj = vbTrue;
    rule.Subject = QStringLiteral("invoice");
    addRule(rule);
    addMail(c.match ? QStringLiteral("Invoice") : QStringLiteral("Hello"),
            {QStringLiteral("a.pdf"), QStringLiteral("b.pdf")});

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
    addRule(QStringLiteral("R"));
    const FakeMessagePtr first = addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    SWTest = false;
    SWRun = false; // a watcher's folder call without the run flag
    EXPECT_TRUE(StowawayNow(inbox, nullptr, nullptr));
    EXPECT_EQ(filesIn(out()), QStringList{QStringLiteral("a.pdf")});

    const FakeMessagePtr second = addMail(QStringLiteral("n"), {QStringLiteral("b.pdf")});
    SWRun = true;
    EXPECT_TRUE(runItem(second));
    EXPECT_EQ(filesIn(out()), QStringList({QStringLiteral("a.pdf"), QStringLiteral("b.pdf")}));
    EXPECT_TRUE(user.questions().empty());
}

TEST_F(EngineTest, TheWalkIsShownOnTheSubProgressBar) {
    addRule(QStringLiteral("R"));
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    addMail(QStringLiteral("n"), {QStringLiteral("b.pdf")});
    RecordingStatus status;
    SWTest = false;
    StowawayNow(inbox, nullptr, &status);
    EXPECT_EQ(status.calls(),
              QStringList({QStringLiteral("sub 1 0.00"), QStringLiteral("sub 1 0.50"),
                           QStringLiteral("sub 1 1.00"), QStringLiteral("sub 0 0.00")}));
}

TEST_F(EngineTest, AnUnreadableFolderIsReportedInTheLog) {
    addRule(QStringLiteral("R"));
    inbox->fails.failOn(QStringLiteral("Items"),
                        OpError::make(ErrNo::NoPermission, QStringLiteral("Permission denied")));
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(logLines(), QStringList{QStringLiteral("! SWN/Items: Inbox: Permission denied")});
}

TEST_F(EngineTest, TheProtocolIsOnDiskWhenTheCallReturns) {
    addRule(QStringLiteral("R"));
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf"), QStringLiteral("b.pdf")});
    EXPECT_TRUE(runFolder());
    EXPECT_EQ(QFileInfo(DataFilePath(QStringLiteral(".prt"))).size(), 2 * kProtoRecordSize);
}
