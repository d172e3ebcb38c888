#include "host/imap/imap_line_ends.h"

#include <gtest/gtest.h>

namespace {

TEST(ImapLineEnds, EveryLineEndsInCrlfAndNothingElseChanges) {
    const struct {
        const char* name;
        QByteArray mail, sent;
    } cases[] = {
        {"bare LF", "a\nb\n", "a\r\nb\r\n"},
        {"mixed", "a\r\nb\nc\rd\r\r\n", "a\r\nb\r\nc\r\nd\r\n\r\n"},
        {"already CRLF", "a\r\n\r\nb\r\n", "a\r\n\r\nb\r\n"},
        {"LF before CR", "a\n\rb", "a\r\n\r\nb"},
        {"binary-ish bytes", QByteArray("\x00\xff\x1b\n\x7f", 5),
         QByteArray("\x00\xff\x1b\r\n\x7f", 6)},
        {"last line without a line end", "a\nb", "a\r\nb"},
        {"a lone CR at the end", "a\r", "a\r\n"},
        {"empty", "", ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CrlfLineEnds(c.mail), c.sent) << c.name;
}

} // namespace
