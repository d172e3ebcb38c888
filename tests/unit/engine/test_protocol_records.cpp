// The protocol record of each attachment: its fields, its State, and what it carries over.
#include "fakes/engine_fixture.h"

TEST_F(EngineTest, ARecordDescribesTheSavedFile) {
    udtRule& rule = addRule(QStringLiteral("  Invoices  "), QStringLiteral("out"));
    rule.SaveBy = 1;
    rule.SaveFormat = 1;
    rule.Folder = root;
    const FakeMessagePtr mail = addMail(QStringLiteral("Invoice 42"), {QStringLiteral("Bill.Pdf")});

    const double before = OleNow();
    EXPECT_TRUE(runFolder());

    const auto records = proto();
    ASSERT_EQ(records.size(), 1u);
    const udtProtoEntry& r = records[0];
    EXPECT_GE(r.Date, before);
    EXPECT_EQ(r.Mail.get(), QStringLiteral("Invoice 42"));
    EXPECT_EQ(r.EntryID.get(), mail->stored.entryId);
    EXPECT_EQ(r.StoreID.get(), QStringLiteral("/mail"));
    EXPECT_EQ(r.Rule.get(), QStringLiteral("Invoices"));
    EXPECT_EQ(r.Attachment.get(), QStringLiteral("Bill.Pdf"));
    EXPECT_EQ(r.Folder.get(), root + QStringLiteral("/anna-berg.example/"));
    EXPECT_EQ(r.FileFormat.get(), QStringLiteral("PDF"));
    EXPECT_EQ(r.Sender.get(), QStringLiteral("anna@berg.example"));
    EXPECT_EQ(r.Recipient.get(), QStringLiteral("Carl Dorn (carl@dorn.example)"));
    EXPECT_EQ(r.State.get(), QStringLiteral("S"));
}

TEST_F(EngineTest, TheStateSaysTestDeleteAndApplication) {
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.DelAttach = vbTrue;
    rule.Execute = QStringLiteral("/bin/true");
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    EXPECT_TRUE(runFolder(true));
    EXPECT_EQ(proto()[0].State.get(), QStringLiteral("TSXE"));
    EXPECT_TRUE(runFolder(false));
    EXPECT_EQ(proto()[0].State.get(), QStringLiteral("SXE"));
    EXPECT_EQ(proto()[1].State.get(), QStringLiteral("TSXE"));
}

TEST_F(EngineTest, AProjectNameCarriesOverToALaterRuleOfTheCall) {
    addProject(QStringLiteral("Alpha"), root + QStringLiteral("/alpha"));
    udtRule project = MakeRule(QStringLiteral("Project"), QStringLiteral("alpha"));
    project.SaveBy = 3;
    project.SaveFormat = 0;
    addRule(project);
    addRule(QStringLiteral("Plain"), QStringLiteral("plain"));
    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});

    EXPECT_TRUE(runFolder());

    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].Project.get(), QStringLiteral("alpha"));
    EXPECT_EQ(records[1].Folder.get(), root + QStringLiteral("/alpha/"));
    EXPECT_EQ(records[1].Sender.get(), QStringLiteral("Anna Berg (anna@berg.example)"));
    // The folder rule writes no Project of its own, and no project bears its folder's name.
    EXPECT_EQ(records[0].Project.get(), QStringLiteral("alpha"));
    EXPECT_TRUE(records[0].Folder.get().isEmpty());
    EXPECT_EQ(records[0].Attachment.get(), QStringLiteral("a.pdf"));
    EXPECT_EQ(records[0].State.get(), QStringLiteral("S"));
    EXPECT_EQ(read(root + QStringLiteral("/alpha/a.pdf")), QByteArray("a.pdf content"));
}

TEST_F(EngineTest, TheNewestRecordIsFirstAcrossMailsAndRecipientsFollowTheRule) {
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.SaveBy = 2;
    rule.SaveFormat = 0;
    rule.Folder = root;
    addMail(QStringLiteral("first"), {QStringLiteral("a.pdf")});
    addMail(QStringLiteral("second"), {QStringLiteral("b.pdf")});
    EXPECT_TRUE(runFolder());
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Mail.get(), QStringLiteral("second"));
    EXPECT_EQ(records[1].Mail.get(), QStringLiteral("first"));
    EXPECT_EQ(records[0].Recipient.get(), QStringLiteral("Carl Dorn"));
    EXPECT_EQ(records[0].Folder.get(), root + QStringLiteral("/Carl Dorn/"));
}
