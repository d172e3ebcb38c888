#include "common/ansi.h"
#include "common/text.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
TEST(Ansi, EveryByteSurvivesARoundTripAndUnmappableCharactersBecomeQuestionMarks) {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(static_cast<char>(b));
    EXPECT_EQ(ToAnsi(FromAnsi(all)), all);
    EXPECT_EQ(ToAnsi(u"Grüße €"_s), QByteArray("Gr\xfc\xdf"
                                               "e \x80"));
    EXPECT_EQ(FromAnsi(QByteArray("\x84\x93")), u"„“"_s);
    EXPECT_EQ(ToAnsi(u"a\u4e2db"_s), QByteArray("a?b"));
    EXPECT_EQ(ToAnsi(u"x\U0001F600y"_s), QByteArray("x?y"));
}

TEST(CleanFileName, ReplacesExactlyTheTenCharacters) {
    EXPECT_EQ(CleanFileName(u"a\"b\\c/d:e+f*g?h<i>j|k"_s), u"a_b_c_d_e_f_g_h_i_j_k"_s);
    EXPECT_EQ(CleanFileName(u"Invoice+Copy.pdf"_s), u"Invoice_Copy.pdf"_s);
    // Dots, blanks, control characters and look-alikes pass.
    const QString passing = u"a. b\tc\u0001 \uFF0A\uFF1F ~#%&'=;,.[]{}().txt"_s;
    EXPECT_EQ(CleanFileName(passing), passing);
    EXPECT_EQ(CleanFileName(QString()), QString());
}

TEST(CleanFileName, KeepsTheLength) {
    const QString hostile = u"../../etc/passwd:*?\U0001F600"_s;
    const QString cleaned = CleanFileName(hostile);
    EXPECT_EQ(cleaned.size(), hostile.size());
    EXPECT_FALSE(cleaned.contains(QLatin1Char('/')));
    EXPECT_EQ(cleaned, u".._.._etc_passwd___\U0001F600"_s);
}

TEST(HtmlEncode, WritesEachOfTheSixteenEntities) {
    const std::pair<char16_t, const char*> rows[] = {
        {u'&', "&amp;"},        {u'\u00E4', "&auml;"},  {u'\u00F6', "&ouml;"},
        {u'\u00FC', "&uuml;"},  {u'\u00C4', "&Auml;"},  {u'\u00D6', "&Ouml;"},
        {u'\u00DC', "&Uuml;"},  {u'\u00DF', "&szlig;"}, {u'\u20AC', "&euro;"},
        {u'\u00A9', "&copy;"},  {u'\u00AE', "&reg;"},   {u'\u00AB', "&laquo;"},
        {u'\u00BB', "&raquo;"}, {u'\u00B7', "&bull;"},  {u'\u00B0', "&deg;"},
        {u'|', "&brvbar;"}};
    for (const auto& [character, entity] : rows)
        EXPECT_EQ(HtmlEncode(u"x"_s + QChar(character) + u"y"_s),
                  u"x"_s + QLatin1String(entity) + u"y"_s)
            << entity;
}

TEST(HtmlEncode, EncodesTheAmpersandOnceAndNothingElse) {
    EXPECT_EQ(HtmlEncode(u"Müller & Söhne <b>\"Maß\"</b>"_s),
              u"M&uuml;ller &amp; S&ouml;hne <b>\"Ma&szlig;\"</b>"_s);
    // An entity in the input is text: its ampersand is encoded, the rest stays.
    EXPECT_EQ(HtmlEncode(u"&auml;"_s), u"&amp;auml;"_s);
    EXPECT_EQ(HtmlEncode(u"äöü"_s), u"&auml;&ouml;&uuml;"_s);
    EXPECT_EQ(HtmlEncode(u"a<b>c'd\u00E9"_s), u"a<b>c'd\u00E9"_s);
    EXPECT_EQ(HtmlEncode(QString()), QString());
}

TEST(StripAtNull, CutsBeforeTheFirstNul) {
    EXPECT_EQ(StripAtNull(QString::fromUtf16(u"abc\0def", 7)), u"abc"_s);
    EXPECT_EQ(StripAtNull(QString::fromUtf16(u"\0abc", 4)), QString());
    EXPECT_EQ(StripAtNull(QString::fromUtf16(u"ab\0\0", 4)), u"ab"_s);
    EXPECT_EQ(StripAtNull(u"abc"_s), u"abc"_s);
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
