#include "common/ansi.h"

#include <gtest/gtest.h>

TEST(Ansi, EveryByteSurvivesARoundTrip) {
    QByteArray all;
    for (int b = 0; b < 256; ++b)
        all.append(static_cast<char>(b));
    EXPECT_EQ(ToAnsi(FromAnsi(all)), all);
}

TEST(Ansi, UmlautsEuroAndUnmappableCharacters) {
    EXPECT_EQ(ToAnsi(QStringLiteral("Grüße €")), QByteArray("Gr\xfc\xdf" "e \x80"));
    EXPECT_EQ(FromAnsi(QByteArray("\x84\x93")), QStringLiteral("„“"));
    EXPECT_EQ(ToAnsi(QStringLiteral("a\u4e2db")), QByteArray("a?b"));
    EXPECT_EQ(ToAnsi(QStringLiteral("x\U0001F600y")), QByteArray("x?y"));
}
