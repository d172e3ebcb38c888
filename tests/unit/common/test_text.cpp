#include "common/text.h"

#include <gtest/gtest.h>

namespace {
TEST(CleanFileName, ReplacesExactlyTheTenCharacters) {
    EXPECT_EQ(CleanFileName(QStringLiteral("a\"b\\c/d:e+f*g?h<i>j|k")),
              QStringLiteral("a_b_c_d_e_f_g_h_i_j_k"));
    EXPECT_EQ(CleanFileName(QStringLiteral("Invoice+Copy.pdf")),
              QStringLiteral("Invoice_Copy.pdf"));
    // Dots, blanks, control characters and look-alikes pass.
    const QString passing = QStringLiteral("a. b\tc\u0001 \uFF0A\uFF1F ~#%&'=;,.[]{}().txt");
    EXPECT_EQ(CleanFileName(passing), passing);
    EXPECT_EQ(CleanFileName(QString()), QString());
}

TEST(CleanFileName, KeepsTheLength) {
    const QString hostile = QStringLiteral("../../etc/passwd:*?\U0001F600");
    const QString cleaned = CleanFileName(hostile);
    EXPECT_EQ(cleaned.size(), hostile.size());
    EXPECT_FALSE(cleaned.contains(QLatin1Char('/')));
    EXPECT_EQ(cleaned, QStringLiteral(".._.._etc_passwd___\U0001F600"));
}

struct EntityRow {
    char16_t character;
    const char* entity;
};

class HtmlEncodeRows : public testing::TestWithParam<EntityRow> {};

TEST_P(HtmlEncodeRows, WritesTheEntity) {
    const EntityRow row = GetParam();
    EXPECT_EQ(HtmlEncode(QStringLiteral("x") + QChar(row.character) + QStringLiteral("y")),
              QStringLiteral("x") + QLatin1String(row.entity) + QStringLiteral("y"));
}

INSTANTIATE_TEST_SUITE_P(
    AllSixteen, HtmlEncodeRows,
    testing::Values(EntityRow{u'&', "&amp;"}, EntityRow{u'\u00E4', "&auml;"},
                    EntityRow{u'\u00F6', "&ouml;"}, EntityRow{u'\u00FC', "&uuml;"},
                    EntityRow{u'\u00C4', "&Auml;"}, EntityRow{u'\u00D6', "&Ouml;"},
                    EntityRow{u'\u00DC', "&Uuml;"}, EntityRow{u'\u00DF', "&szlig;"},
                    EntityRow{u'\u20AC', "&euro;"}, EntityRow{u'\u00A9', "&copy;"},
                    EntityRow{u'\u00AE', "&reg;"}, EntityRow{u'\u00AB', "&laquo;"},
                    EntityRow{u'\u00BB', "&raquo;"}, EntityRow{u'\u00B7', "&bull;"},
                    EntityRow{u'\u00B0', "&deg;"}, EntityRow{u'|', "&brvbar;"}));

TEST(HtmlEncode, EncodesTheAmpersandOnceAndNothingElse) {
    EXPECT_EQ(HtmlEncode(QStringLiteral("Müller & Söhne <b>\"Maß\"</b>")),
              QStringLiteral("M&uuml;ller &amp; S&ouml;hne <b>\"Ma&szlig;\"</b>"));
    // An entity in the input is text: its ampersand is encoded, the rest stays.
    EXPECT_EQ(HtmlEncode(QStringLiteral("&auml;")), QStringLiteral("&amp;auml;"));
    EXPECT_EQ(HtmlEncode(QStringLiteral("äöü")), QStringLiteral("&auml;&ouml;&uuml;"));
    EXPECT_EQ(HtmlEncode(QStringLiteral("a<b>c'd\u00E9")), QStringLiteral("a<b>c'd\u00E9"));
    EXPECT_EQ(HtmlEncode(QString()), QString());
}

TEST(StripAtNull, CutsBeforeTheFirstNul) {
    EXPECT_EQ(StripAtNull(QString::fromUtf16(u"abc\0def", 7)), QStringLiteral("abc"));
    EXPECT_EQ(StripAtNull(QString::fromUtf16(u"\0abc", 4)), QString());
    EXPECT_EQ(StripAtNull(QString::fromUtf16(u"ab\0\0", 4)), QStringLiteral("ab"));
    EXPECT_EQ(StripAtNull(QStringLiteral("abc")), QStringLiteral("abc"));
    EXPECT_EQ(StripAtNull(QString()), QString());
}

TEST(MakeLong, PutsTheWordsSideBySide) {
    struct {
        int16_t low, high;
        int32_t expected;
    } const cases[] = {
        {0, 0, 0},
        {1, 0, 1},
        {0, 1, 65536},
        {0x1234, 0x5678, 0x56781234},
        {-1, 0, 65535}, // the low word is unsigned
        {0, 0x7FFF, 0x7FFF0000},
        {0, INT16_MIN, INT32_MIN}, // the high word's top bit is the sign
        {-1, -1, -1},
        {5, -2, -131067},
    };
    for (const auto& c : cases)
        EXPECT_EQ(MakeLong(c.low, c.high), c.expected) << c.low << ", " << c.high;
}
} // namespace
