// The input as one mail file of a Maildir: listed, read, fetched, its bodies read and its
// attachments saved, as the engine does before any rule acts.
#include "fuzz_sandbox.h"
#include "mail_walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Sandbox::reset();
    const QStringList before = Sandbox::listAll();
    const QString entryId = DeliverMail(data, size);
    {
        MaildirSession session({{Sandbox::maildir(), {}}});
        WalkMail(session, entryId);
    }
    CheckNoStrayWrites(before);
    return 0;
}
