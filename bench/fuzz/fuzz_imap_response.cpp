// The input as what an IMAP server sends: the reader cuts the same responses whether the bytes
// come at once or in small pieces (and fails at the same point); the jobs read every response
// as an answer to their command and keep only what holds (mailboxes with names, mails under
// their own UID, UIDs above 0); and every mailbox name it decodes encodes to a name that decodes
// to the same.
#include "fuzz_sandbox.h" // its LLVMFuzzerInitialize makes the home the LOG goes to
#include "host/imap/imap_jobs.h"

#include "data/log.h"

#include <QFile>
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
    std::vector<ImapResponse> parsed;
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
            if (!r->ok() && reader.failed()) {
                out.failed = true;
                break;
            }
            if (!r->ok()) {
                out.responses << "passed over: " + r->error.description.toUtf8();
                continue;
            }
            out.responses << Fingerprint(r->value);
            out.parsed.push_back(std::move(r->value));
        }
    }
    return out;
}

void Answer(const std::vector<ImapResponse>& responses) {
    ListJob list;
    UidFetchJob fetch("1:*", "FLAGS BODY.PEEK[]");
    UidSearchJob search({{"ALL"}});
    SelectJob select("INBOX", false, true);
    StatusJob status("INBOX");
    NoopJob noop;
    AppendJob append("INBOX", {}, {}, "x");
    std::vector<ImapJob*> jobs{&list, &fetch, &search, &select, &status, &noop, &append};
    for (const ImapResponse& r : responses)
        for (ImapJob* job : jobs)
            if (r.type == ImapResponse::Type::Untagged)
                job->untagged(r);
            else if (r.type == ImapResponse::Type::Tagged)
                job->completed(r);
    ImapResponse done;
    done.type = ImapResponse::Type::Tagged;
    done.status = "OK";
    for (ImapJob* job : jobs)
        job->completed(done);
    for (const ImapMailbox& box : list.mailboxes)
        IMAP_CHECK(!box.name.isNull() && box.name.size() <= box.rawName.size() + 4);
    for (const auto& [uid, mail] : fetch.mails)
        IMAP_CHECK(uid != 0 && mail.uid == uid && mail.hasFlags);
    for (const quint64 uid : search.uids)
        IMAP_CHECK(uid != 0);
}

} // namespace

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
    Answer(whole.parsed);
    static int runs = 0;
    if (++runs % 1000 == 0) QFile::remove(LogFilePath());

    bool ok = false;
    const QString name = DecodeMailboxName(bytes.left(256), &ok);
    if (ok) {
        bool again = false;
        IMAP_CHECK(DecodeMailboxName(EncodeMailboxName(name), &again) == name && again);
    }
    return 0;
}
