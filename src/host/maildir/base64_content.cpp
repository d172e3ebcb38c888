#include "host/maildir/base64_content.h"

namespace {

int SextetOf(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

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
    for (std::size_t i = 0; i < size; ++i) {
        const auto c = static_cast<unsigned char>(data[i]);
        if (c == '=') {
            // Padding ends a group early; decoding goes on with the next group.
            flushGroup(out);
            continue;
        }
        const int sextet = SextetOf(c);
        if (sextet < 0) continue;
        quad_ = (quad_ << 6) | unsigned(sextet);
        if (++count_ == 4) {
            out.append(char((quad_ >> 16) & 0xff));
            out.append(char((quad_ >> 8) & 0xff));
            out.append(char(quad_ & 0xff));
            quad_ = 0;
            count_ = 0;
        }
    }
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
