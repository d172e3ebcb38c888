#include "host/mime/uu_content.h"

#include <cstring>

namespace {

// Each character carries six bits above the blank; "`" stands for a zero, as does a blank that
// a mail server took off the end of a line.
int Sextet(const QByteArray& line, qsizetype at) {
    return at < line.size() ? (line.at(at) - 0x20) & 0x3f : 0;
}

} // namespace

void UuContentDecoder::decodeLine(QByteArray line, QByteArray& out) {
    while (line.endsWith('\r'))
        line.chop(1);
    if (state_ == State::BeforeBegin) {
        if (line.startsWith("begin ")) state_ = State::Data;
        return;
    }
    if (state_ != State::Data) return;
    if (line.trimmed() == "end") {
        state_ = State::Ended;
        return;
    }
    if (line.isEmpty()) return;
    const int count = Sextet(line, 0);
    // The line of length zero closes the data; "end" follows it.
    if (count == 0) {
        state_ = State::Ended;
        return;
    }
    for (int done = 0, at = 1; done < count; done += 3, at += 4) {
        const unsigned group = unsigned(Sextet(line, at)) << 18 |
                               unsigned(Sextet(line, at + 1)) << 12 |
                               unsigned(Sextet(line, at + 2)) << 6 | unsigned(Sextet(line, at + 3));
        const char bytes[3] = {char(group >> 16), char(group >> 8), char(group)};
        out.append(bytes, qMin(3, count - done));
    }
}

void UuContentDecoder::feed(const char* data, std::size_t size, QByteArray& out) {
    const char* end = data + size;
    while (data < end) {
        const char* newline = static_cast<const char*>(std::memchr(data, '\n', size_t(end - data)));
        if (!newline) {
            pending_.append(data, end - data);
            return;
        }
        pending_.append(data, newline - data);
        decodeLine(pending_, out);
        pending_.clear();
        data = newline + 1;
    }
}

void UuContentDecoder::finish(QByteArray& out) {
    if (!pending_.isEmpty()) decodeLine(pending_, out);
    pending_.clear();
}
