// The protocol record of each attachment: its fields, its State, and what it carries over.
#include "fakes/engine_fixture.h"

using namespace Qt::StringLiterals;

TEST_F(EngineTest, ARecordDescribesTheSavedFile) {
    udtRule& rule = addRule(u"  Invoices  "_s, u"out"_s);
    rule.SaveBy = 1;
    rule.SaveFormat = 1;
    rule.Folder = root;
    const FakeMessagePtr mail = addMail(u"Invoice 42"_s, {u"Bill.Pdf"_s});

    const double before = OleNow();
    EXPECT_TRUE(runFolder());

    const auto records = proto();
    ASSERT_EQ(records.size(), 1u);
    const udtProtoEntry& r = records[0];
    EXPECT_GE(r.Date, before);
    EXPECT_EQ(r.Mail().get(), u"Invoice 42"_s);
    EXPECT_EQ(r.EntryID().get(), mail->stored.entryId);
    EXPECT_EQ(r.StoreID().get(), u"/mail"_s);
    EXPECT_EQ(r.Rule().get(), u"Invoices"_s);
    EXPECT_EQ(r.Attachment().get(), u"Bill.Pdf"_s);
    EXPECT_EQ(r.Folder().get(), root + u"/anna-berg.example/"_s);
    EXPECT_EQ(r.FileFormat().get(), u"PDF"_s);
    EXPECT_EQ(r.Sender().get(), u"anna@berg.example"_s);
    EXPECT_EQ(r.Recipient().get(), u"Carl Dorn (carl@dorn.example)"_s);
    EXPECT_EQ(r.State().get(), u"S"_s);
}

TEST_F(EngineTest, TheStateSaysTestDeleteAndApplication) {
    udtRule& rule = addRule(u"R"_s);
    rule.DelAttach = vbTrue;
    rule.Execute = u"/bin/true"_s;
    addMail(u"m"_s, {u"a.pdf"_s});
    EXPECT_TRUE(runFolder(true));
    EXPECT_EQ(proto()[0].State().get(), u"TSXE"_s);
    EXPECT_TRUE(runFolder(false));
    EXPECT_EQ(proto()[0].State().get(), u"SXE"_s);
    EXPECT_EQ(proto()[1].State().get(), u"TSXE"_s);
}

TEST_F(EngineTest, AProjectNameCarriesOverToALaterRuleOfTheCall) {
    addProject(u"Alpha"_s, root + u"/alpha"_s);
    udtRule project = MakeRule(u"Project"_s, u"alpha"_s);
    project.SaveBy = 3;
    project.SaveFormat = 0;
    addRule(project);
    addRule(u"Plain"_s, u"plain"_s);
    addMail(u"m"_s, {u"a.pdf"_s});

    EXPECT_TRUE(runFolder());

    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].Project().get(), u"alpha"_s);
    EXPECT_EQ(records[1].Folder().get(), root + u"/alpha/"_s);
    EXPECT_EQ(records[1].Sender().get(), u"Anna Berg (anna@berg.example)"_s);
    // The folder rule writes no Project of its own, and no project bears its folder's name.
    EXPECT_EQ(records[0].Project().get(), u"alpha"_s);
    EXPECT_TRUE(records[0].Folder().get().isEmpty());
    EXPECT_EQ(records[0].Attachment().get(), u"a.pdf"_s);
    EXPECT_EQ(records[0].State().get(), u"S"_s);
    EXPECT_EQ(FileBytes(root + u"/alpha/a.pdf"_s), QByteArray("a.pdf content"));
}

TEST_F(EngineTest, TheNewestRecordIsFirstAcrossMailsAndRecipientsFollowTheRule) {
    udtRule& rule = addRule(u"R"_s);
    rule.SaveBy = 2;
    rule.SaveFormat = 0;
    rule.Folder = root;
    addMail(u"first"_s, {u"a.pdf"_s});
    addMail(u"second"_s, {u"b.pdf"_s});
    EXPECT_TRUE(runFolder());
    const auto records = proto();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].Mail().get(), u"second"_s);
    EXPECT_EQ(records[1].Mail().get(), u"first"_s);
    EXPECT_EQ(records[0].Recipient().get(), u"Carl Dorn"_s);
    EXPECT_EQ(records[0].Folder().get(), root + u"/Carl Dorn/"_s);
}
