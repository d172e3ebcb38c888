#include "host/mime/base64_content.h"

#include <array>

namespace {

constexpr signed char kSkip = -1;
constexpr signed char kPad = -2;

// The sextet of each byte; kSkip outside the alphabet, kPad for "=".
constexpr std::array<signed char, 256> MakeSextets() {
    std::array<signed char, 256> table{};
    for (auto& v : table)
        v = kSkip;
    for (int c = 'A'; c <= 'Z'; ++c)
        table[size_t(c)] = static_cast<signed char>(c - 'A');
    for (int c = 'a'; c <= 'z'; ++c)
        table[size_t(c)] = static_cast<signed char>(c - 'a' + 26);
    for (int c = '0'; c <= '9'; ++c)
        table[size_t(c)] = static_cast<signed char>(c - '0' + 52);
    table[size_t('+')] = 62;
    table[size_t('/')] = 63;
    table[size_t('=')] = kPad;
    return table;
}
constexpr std::array<signed char, 256> kSextets = MakeSextets();

} // namespace

void Base64ContentDecoder::flushGroup(QByteArray& out) {
    switch (count_) {
    case 0:
        break;
    case 1:
        // Six bits cannot make a byte: something was cut away here.
        damaged_ = true;
        break;
    case 2:
        out.append(char((quad_ >> 4) & 0xff));
        break;
    case 3:
        out.append(char((quad_ >> 10) & 0xff));
        out.append(char((quad_ >> 2) & 0xff));
        break;
    }
    quad_ = 0;
    count_ = 0;
}

void Base64ContentDecoder::feed(const char* data, std::size_t size, QByteArray& out) {
    // Written through a pointer into room made beforehand: at most three bytes come of every
    // four characters, pending ones included.
    const qsizetype start = out.size();
    out.resize(start + qsizetype((std::size_t(count_) + size) / 4 * 3 + 3));
    char* const begin = out.data() + start;
    char* p = begin;
    const auto sextetAt = [data](std::size_t at) {
        return int(kSextets[static_cast<unsigned char>(data[at])]);
    };
    for (std::size_t i = 0; i < size; ++i) {
        // Whole groups of four alphabet characters, the bulk of every line, four at a time.
        while (count_ == 0 && i + 4 <= size) {
            const int a = sextetAt(i), b = sextetAt(i + 1), c = sextetAt(i + 2),
                      d = sextetAt(i + 3);
            if ((a | b | c | d) < 0) break;
            const unsigned group =
                unsigned(a) << 18 | unsigned(b) << 12 | unsigned(c) << 6 | unsigned(d);
            p[0] = char((group >> 16) & 0xff);
            p[1] = char((group >> 8) & 0xff);
            p[2] = char(group & 0xff);
            p += 3;
            i += 4;
        }
        if (i >= size) break;
        const signed char sextet = kSextets[static_cast<unsigned char>(data[i])];
        if (sextet >= 0) {
            quad_ = (quad_ << 6) | unsigned(sextet);
            if (++count_ == 4) {
                p[0] = char((quad_ >> 16) & 0xff);
                p[1] = char((quad_ >> 8) & 0xff);
                p[2] = char(quad_ & 0xff);
                p += 3;
                quad_ = 0;
                count_ = 0;
            }
        } else if (sextet == kPad) {
            // Padding ends a group early; decoding goes on with the next group.
            QByteArray tail;
            flushGroup(tail);
            for (const char c : tail)
                *p++ = c;
        }
    }
    out.truncate(start + (p - begin));
}

void Base64ContentDecoder::finish(QByteArray& out) {
    flushGroup(out);
}

QByteArray DecodeBase64Content(const QByteArray& encoded, bool* damaged) {
    Base64ContentDecoder decoder;
    QByteArray out;
    out.reserve(encoded.size() * 3 / 4);
    decoder.feed(encoded.constData(), std::size_t(encoded.size()), out);
    decoder.finish(out);
    if (damaged) *damaged = decoder.damaged();
    return out;
}
