#include "common/ansi.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

TEST(Ansi, EveryByteSurvivesARoundTrip) {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(static_cast<char>(b));
    EXPECT_EQ(ToAnsi(FromAnsi(all)), all);
}

TEST(Ansi, UmlautsEuroAndUnmappableCharacters) {
    EXPECT_EQ(ToAnsi(u"Grüße €"_s), QByteArray("Gr\xfc\xdf"
                                               "e \x80"));
    EXPECT_EQ(FromAnsi(QByteArray("\x84\x93")), u"„“"_s);
    EXPECT_EQ(ToAnsi(u"a\u4e2db"_s), QByteArray("a?b"));
    EXPECT_EQ(ToAnsi(u"x\U0001F600y"_s), QByteArray("x?y"));
}
