// The byte images of the five records, pinned against the offset tables of the file format.
#include "data/data_files.h"
#include "unit/data/data_test_util.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// Every 16-bit field gets its own value, so a swap of two fields or of the byte order shows.
udtRule SampleRule() {
    udtRule r;
    r.Active = 1;
    r.Name = u"Rechnung März"_s;
    r.CheckSender = 2;
    r.Sender = u"@example.com"_s;
    r.CheckRecp = 3;
    r.Recipient = u"Zoë <z@example.org>"_s;
    r.CheckSubj = 4;
    r.Subject = u"Angebot 5 €"_s;
    r.CheckFileFormat = 5;
    r.FileFormat = u"PDF"_s;
    r.SaveBy = 0x0306;
    r.SaveFormat = 99;
    r.Folder = u"/srv/Ablage"_s;
    r.FileExists = 0xA2;
    r.Execute = u"xdg-open '%1'"_s;
    r.DelAttach = 8;
    r.Notify = 9;
    r.Hyperlink = vbTrue;
    return r;
}

QByteArray SampleRuleBytes() {
    return Record(1025, {{0, Le16(1)},
                         {2, Padded("Rechnung M\xe4rz", 100)},
                         {102, Le16(2)},
                         {104, Padded("@example.com", 150)},
                         {254, Le16(3)},
                         {256, Padded("Zo\xeb <z@example.org>", 150)},
                         {406, Le16(4)},
                         {408, Padded("Angebot 5 \x80", 100)},
                         {508, Le16(5)},
                         {510, Padded("PDF", 5)},
                         {515, Le16(0x0306)},
                         {517, Le16(99)},
                         {519, Padded("/srv/Ablage", 200)},
                         {719, QByteArray(1, '\xa2')},
                         // 720: 49 reserved NUL bytes
                         {769, Padded("xdg-open '%1'", 250)},
                         {1019, Le16(8)},
                         {1021, Le16(9)},
                         {1023, Le16(-1)}});
}

udtProtoEntry SampleEntry() {
    udtProtoEntry e;
    e.Date = 45000.5;
    e.Mail() = u"Grüße"_s;
    e.EntryID() = u"1700000000.M1P2.host"_s;
    e.StoreID() = u"/home/u/Maildir"_s;
    e.Attachment() = u"plan.pdf"_s;
    e.FileFormat() = u"PDF"_s;
    e.Sender() = u"a@example.com"_s;
    e.Recipient() = u"b@example.org"_s;
    e.Rule() = u"R1"_s;
    e.Folder() = u"/tmp/x/"_s;
    e.Project() = u"P"_s;
    e.State() = u"TSX"_s;
    return e;
}

QByteArray SampleEntryBytes() {
    return Record(1313, {{0, QByteArray::fromHex("0000000010f9e540")}, // 45000.5
                         {8, Padded("Gr\xfc\xdf"
                                    "e",
                                    100)},
                         {108, Padded("1700000000.M1P2.host", 100)},
                         {208, Padded("/home/u/Maildir", 100)},
                         {308, Padded("plan.pdf", 100)},
                         {408, Padded("PDF", 5)},
                         {413, Padded("a@example.com", 200)},
                         {613, Padded("b@example.org", 200)},
                         {813, Padded("R1", 100)},
                         {913, Padded("/tmp/x/", 250)},
                         {1163, Padded("P", 50)},
                         {1213, Padded("TSX", 100)}});
}

struct LayoutCase {
    const char* name;
    QByteArray encoded;
    QByteArray expected;
    QByteArray reencoded; // the decoded expectation, encoded again
};

std::vector<LayoutCase> LayoutCases() {
    udtBlockedFormat b;
    b.Extension = u"JS"_s;
    b.Description = u"JScript-Datei (Verschlüsselt)"_s;
    b.Active = vbTrue;
    b.System = vbFalse;
    const QByteArray blockedBytes = Record(37, {{0, "JS "},
                                                {3, Padded("JScript-Datei (Verschl\xfcsselt)", 30)},
                                                {33, Le16(-1)},
                                                {35, Le16(0)}});

    // Fields changed after the later ones were set: the others keep their text and padding.
    udtProtoEntry changed = SampleEntry();
    changed.Mail() = u"Grüße aus Köln, Zoë"_s;
    changed.EntryID() = QString();
    changed.State() = u"S"_s;
    QByteArray changedBytes = SampleEntryBytes();
    changedBytes.replace(8, 100,
                         Padded("Gr\xfc\xdf"
                                "e aus K\xf6ln, Zo\xeb",
                                100));
    changedBytes.replace(108, 100, Padded("", 100));
    changedBytes.replace(1213, 100, Padded("S", 100));

    return {
        {"rule", EncodeRule(SampleRule()), SampleRuleBytes(),
         EncodeRule(DecodeRule(SampleRuleBytes().constData()))},
        {"protocol entry", EncodeProtoEntry(SampleEntry()), SampleEntryBytes(),
         EncodeProtoEntry(DecodeProtoEntry(SampleEntryBytes().constData()))},
        {"protocol entry changed in place", EncodeProtoEntry(changed), changedBytes,
         EncodeProtoEntry(DecodeProtoEntry(changedBytes.constData()))},
        {"blocked format", EncodeBlockedFormat(b), blockedBytes,
         EncodeBlockedFormat(DecodeBlockedFormat(blockedBytes.constData()))},
    };
}

} // namespace

TEST(RecordLayout, EncodedBytesFollowTheOffsetTables) {
    for (const LayoutCase& c : LayoutCases()) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.encoded.toHex(), c.expected.toHex());
        EXPECT_EQ(c.reencoded.toHex(), c.expected.toHex());
    }
    EXPECT_EQ(DecodeRule(SampleRuleBytes().constData()), SampleRule());
    EXPECT_EQ(DecodeProtoEntry(SampleEntryBytes().constData()), SampleEntry());
}

TEST(RecordLayout, OverlongAndForeignTextKeepsTheRecordSize) {
    udtRule r;
    r.Name = QString(101, QLatin1Char('n'));
    r.Subject = u"a\U0001F600b\u4e2dc"_s; // a pair of UTF-16 units becomes one "?"
    r.CheckFileFormat = 5;
    const QByteArray bytes = EncodeRule(r);
    ASSERT_EQ(bytes.size(), 1025);
    EXPECT_EQ(DecodeRule(bytes.constData()).Name.get(), QString(100, QLatin1Char('n')));
    EXPECT_EQ(bytes.mid(408, 100), Padded("a?b?c", 100));
    EXPECT_EQ(bytes.mid(508, 2), Le16(5));
}
