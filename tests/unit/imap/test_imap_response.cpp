// The response parser on what servers send, good and bad, and the stream cutting with its limits.
#include "host/imap/imap_response.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

namespace {

// A compact picture of a parsed response, so one table row says everything about it.
QString Show(const ImapValue& v) {
    switch (v.kind) {
    case ImapValue::Kind::Atom:
        return QString::fromLatin1(v.text);
    case ImapValue::Kind::Number:
        return QString::number(v.number);
    case ImapValue::Kind::String:
        return QLatin1Char('"') + QString::fromLatin1(v.text) + QLatin1Char('"');
    case ImapValue::Kind::Nil:
        return QStringLiteral("NIL");
    case ImapValue::Kind::List: {
        QStringList items;
        for (const ImapValue& item : v.list)
            items << Show(item);
        return QLatin1Char('(') + items.join(QLatin1Char(' ')) + QLatin1Char(')');
    }
    }
    return {};
}

QString Show(const ImapResponse& r) {
    QStringList parts;
    parts << (r.type == ImapResponse::Type::Continuation ? QStringLiteral("+")
              : r.type == ImapResponse::Type::Untagged   ? QStringLiteral("*")
                                                         : QString::fromLatin1(r.tag));
    if (!r.status.isEmpty()) parts << QString::fromLatin1(r.status);
    for (const ImapValue& v : r.data)
        parts << Show(v);
    return parts.join(QLatin1Char(' '));
}

struct ParseCase {
    const char* name;
    QByteArray bytes;
    const char* expected; // the picture, or the start of the error after "malformed data: "
    bool ok;
};

class ParseResponse : public testing::TestWithParam<ParseCase> {};

TEST_P(ParseResponse, GivesThePictureOrTheError) {
    const ParseCase& c = GetParam();
    const Result<ImapResponse> r = ParseImapResponse(c.bytes, ImapLimits{});
    if (c.ok) {
        ASSERT_TRUE(r.ok()) << r.error.description.toStdString();
        EXPECT_EQ(Show(r.value), QString::fromUtf8(c.expected));
    } else {
        ASSERT_FALSE(r.ok()) << Show(r.value).toStdString();
        EXPECT_TRUE(r.error.description.contains(QString::fromUtf8(c.expected)))
            << r.error.description.toStdString();
    }
}

const ParseCase kParseCases[] = {
    {"ListWithEscapes", "* LIST (\\HasNoChildren) \".\" \"Sent \\\"x\\\" \\\\ y\"\r\n",
     "* LIST (\\HasNoChildren) \".\" \"Sent \"x\" \\ y\"", true},
    {"FetchEmptyLiteral", "* 1 FETCH (BODY[] {0}\r\n UID 3)\r\n", "* 1 FETCH (BODY[] \"\" UID 3)",
     true},
    {"FetchSectionWithBlanks", "* 2 FETCH (BODY[HEADER.FIELDS (SUBJECT FROM)] {2}\r\nxy UID 4)\r\n",
     "* 2 FETCH (BODY[HEADER.FIELDS (SUBJECT FROM)] \"xy\" UID 4)", true},
    {"FetchPartialOrigin", "* 2 FETCH (BODY[]<0> {1}\r\nz)\r\n", "* 2 FETCH (BODY[]<0> \"z\")",
     true},
    {"BareContinuation", "+\r\n", "+", true},
    // What the parser refuses; the connection passes such an answer over.
    {"TaggedDataIsWrong", "a1 CAPABILITY IMAP4rev1\r\n", "a tagged response without OK, NO or BAD",
     false},
    {"UnclosedList", "* 1 FETCH (UID 7\r\n", "expected a blank or ')' in a list", false},
    {"UnclosedString", "* LIST () \"/\" \"abc\r\n", "a line end or NUL inside a quoted string",
     false},
    {"BadEscape", "* LIST () \"/\" \"a\\nb\"\r\n", "a bad escape in a quoted string", false},
    {"LiteralCutShort", "* 1 FETCH (BODY[] {10}\r\nabc)\r\n", "a literal cut short", false},
    {"LiteralNotAtLineEnd", "* 1 FETCH (BODY[] {3} abc)\r\n",
     "a literal size not at the end of a line", false},
    {"LiteralSizeNotANumber", "* 1 FETCH (BODY[] {1x}\r\na)\r\n", "a bad literal size", false},
    {"HighestModSeqWithoutNumber", "* OK [HIGHESTMODSEQ (1)] x\r\n",
     "HIGHESTMODSEQ without one number", false},
    {"AppendUidIncomplete", "a OK [APPENDUID 5] x\r\n", "APPENDUID without UIDVALIDITY and UID",
     false},
    {"NumberTooBig", "* 123456789012345678901 EXISTS\r\n", "a number out of range", false},
    {"DoubleBlank", "* CAPABILITY  IMAP4rev1\r\n", "expected a value", false},
    {"TrailingGarbage", "* 3 EXISTS )\r\n", "expected a value", false},
    {"NoCrlf", "* 3 EXISTS", "expected the end of the line", false},
    {"NulInAtomPosition", QByteArray("* CAPABILITY \0x\r\n", 17), "expected a value", false},
};

INSTANTIATE_TEST_SUITE_P(Imap, ParseResponse, testing::ValuesIn(kParseCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ImapParser, NestingDeeperThanTheLimitIsRefused) {
    ImapLimits limits;
    limits.maxDepth = 3;
    EXPECT_TRUE(ParseImapResponse("* X (((a)))\r\n", limits).ok());
    const auto r = ParseImapResponse("* X ((((a))))\r\n", limits);
    ASSERT_FALSE(r.ok());
    EXPECT_TRUE(r.error.description.contains(QStringLiteral("nested deeper than 3")));
}

// The reader cuts responses from pieces as they come, and refuses oversized data before it is
// held whole.
TEST(ImapReader, CutsResponsesFromPiecesAcrossLiterals) {
    const QByteArray stream =
        "* 1 FETCH (UID 9 BODY[] {12}\r\nHello\r\nWorld)\r\n* 2 EXISTS\r\ns1 OK done\r\n";
    for (const int piece : {1, 3, 7, int(stream.size())}) {
        ImapReader reader;
        QStringList seen;
        for (qsizetype at = 0; at < stream.size(); at += piece) {
            reader.feed(stream.mid(at, piece));
            while (auto r = reader.next()) {
                ASSERT_TRUE(r->ok()) << r->error.description.toStdString();
                seen << Show(r->value);
            }
        }
        EXPECT_EQ(seen, (QStringList{QStringLiteral("* 1 FETCH (UID 9 BODY[] \"Hello\r\nWorld\")"),
                                     QStringLiteral("* 2 EXISTS"), QStringLiteral("s1 OK")}))
            << "pieces of " << piece;
    }
}

struct LimitCase {
    const char* name;
    QByteArray bytes;
    const char* error;
};

class ReaderLimits : public testing::TestWithParam<LimitCase> {};

TEST_P(ReaderLimits, RefusesAndStaysFailed) {
    ImapLimits limits;
    limits.maxLine = 64;
    limits.maxLiteral = 100;
    ImapReader reader(limits);
    reader.feed(GetParam().bytes);
    auto r = reader.next();
    ASSERT_TRUE(r.has_value());
    ASSERT_FALSE(r->ok());
    EXPECT_TRUE(r->error.description.contains(QString::fromLatin1(GetParam().error)))
        << r->error.description.toStdString();
    reader.feed("* 1 EXISTS\r\n");
    auto again = reader.next();
    ASSERT_TRUE(again.has_value());
    EXPECT_FALSE(again->ok());
}

const LimitCase kLimitCases[] = {
    {"EndlessLineWithoutEnd", QByteArray(65 + 10, 'x'), "a line longer than 64 bytes"},
    {"LongLineWithEnd", "* OK " + QByteArray(80, 'y') + "\r\n", "a line longer than 64 bytes"},
    {"OversizedLiteral", "* 1 FETCH (BODY[] {101}\r\n", "a literal of more than 100 bytes"},
    {"HugeLiteralSize", "* 1 FETCH (BODY[] {99999999999999999999}\r\n",
     "a literal of more than 100 bytes"},
    {"LoneLineFeed", "* 1 EXISTS\n", "a line that ends without CR"},
};

INSTANTIATE_TEST_SUITE_P(Imap, ReaderLimits, testing::ValuesIn(kLimitCases),
                         [](const auto& info) { return std::string(info.param.name); });

struct NameCase {
    const char* encoded;
    const char* decoded;
    bool ok;
};

class MailboxNames : public testing::TestWithParam<NameCase> {};

TEST_P(MailboxNames, DecodeAndEncodeBack) {
    bool ok = false;
    const QString decoded = DecodeMailboxName(GetParam().encoded, &ok);
    EXPECT_EQ(ok, GetParam().ok);
    if (!GetParam().ok) return;
    EXPECT_EQ(decoded, QString::fromUtf8(GetParam().decoded));
    EXPECT_EQ(EncodeMailboxName(decoded), QByteArray(GetParam().encoded));
}

const NameCase kNameCases[] = {
    {"INBOX", "INBOX", true},
    {"Entw&APw-rfe", "Entwürfe", true},
    {"&ZeVnLIqe-", "日本語", true},
    {"Tom &- Jerry", "Tom & Jerry", true},
    {"&2D3eAA-", "\xf0\x9f\x98\x80", true}, // a surrogate pair
    {"Ab&AGEAYgBj-", "Ababc", false},       // fine to decode, but not how it is encoded
    {"bad&AP", "", false},                  // unterminated shift
    {"bad&A!-", "", false},                 // outside the alphabet
    {"bad&APx-", "", false},                // bits left over
    {"\xc3\xbc", "", false},                // raw 8-bit
};

INSTANTIATE_TEST_SUITE_P(Imap, MailboxNames, testing::ValuesIn(kNameCases));

} // namespace
