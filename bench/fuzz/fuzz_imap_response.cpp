// The input as what an IMAP server sends: the reader cuts the same responses whether the bytes
// come at once or in small pieces (and fails at the same point), and every mailbox
// name it decodes encodes to a name that decodes to the same.
#include "host/imap/imap_response.h"

#include <QList>

#include <cstdio>
#include <cstdlib>

namespace {

#define IMAP_CHECK(cond)                                                                           \
    do {                                                                                           \
        if (!(cond)) {                                                                             \
            std::fprintf(stderr, "FUZZ_CHECK failed: %s\n", #cond);                                \
            std::abort();                                                                          \
        }                                                                                          \
    } while (0)

struct Outcome {
    QList<QByteArray> responses; // each response's first value and counts, as a fingerprint
    bool failed = false;
};

QByteArray Fingerprint(const ImapResponse& r) {
    QByteArray f = QByteArray::number(int(r.type)) + ' ' + r.tag + ' ' + r.status + ' ' + r.code +
                   ' ' + QByteArray::number(r.data.size()) + ' ' +
                   QByteArray::number(r.codeArgs.size()) + ' ' + r.text.toUtf8();
    for (const ImapValue& v : r.data)
        f += ' ' + v.asBytes() + '/' + QByteArray::number(v.list.size());
    return f;
}

Outcome Read(const QByteArray& bytes, qsizetype piece, const ImapLimits& limits) {
    Outcome out;
    ImapReader reader(limits);
    for (qsizetype at = 0; at < bytes.size() && !out.failed; at += piece) {
        reader.feed(bytes.mid(at, piece));
        while (auto r = reader.next()) {
            if (!r->ok()) {
                out.failed = true;
                break;
            }
            out.responses << Fingerprint(r->value);
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    ImapLimits limits;
    limits.maxLine = 4096;
    limits.maxLiteral = 8192;
    limits.maxResponse = 16384;
    limits.maxDepth = 16;
    const Outcome whole = Read(bytes, bytes.size() + 1, limits);
    const Outcome pieces = Read(bytes, 3, limits);
    IMAP_CHECK(whole.failed == pieces.failed);
    IMAP_CHECK(whole.responses == pieces.responses);

    bool ok = false;
    const QString name = DecodeMailboxName(bytes.left(256), &ok);
    if (ok) {
        bool again = false;
        IMAP_CHECK(DecodeMailboxName(EncodeMailboxName(name), &again) == name && again);
    }
    return 0;
}
