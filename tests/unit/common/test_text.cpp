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

TEST(HtmlEncode, EncodesTheAmpersandOnceAndNothingElse) {
    EXPECT_EQ(HtmlEncode(u"Müller & Söhne <b>\"Maß\"</b>"_s),
              u"M&uuml;ller &amp; S&ouml;hne <b>\"Ma&szlig;\"</b>"_s);
    // An entity in the input is text: its ampersand is encoded, the rest stays.
    EXPECT_EQ(HtmlEncode(u"&auml;"_s), u"&amp;auml;"_s);
    EXPECT_EQ(HtmlEncode(u"5 € · 20° a|b"_s), u"5 &euro; &bull; 20&deg; a&brvbar;b"_s);
    EXPECT_EQ(HtmlEncode(u"a<b>c'd\u00E9"_s), u"a<b>c'd\u00E9"_s);
    EXPECT_EQ(HtmlEncode(QString()), QString());
}

} // namespace
