#pragma once
// Replacing a mail on the server: APPEND the new one first, then \Deleted and UID EXPUNGE of
// the old one alone (never a bare EXPUNGE, which would take other mails marked \Deleted with
// it). Each step is noted in a journal file first, so when the connection or the program dies
// in between, the next selection of the mailbox finishes the job: exactly one copy remains.
#include "host/imap/imap_store.h"

class ImapRewrite {
  public:
    // The new mail's id. Without UIDPLUS nothing is written.
    static Result<ImapMailId> Replace(ImapStore& store, const ImapMailId& old,
                                      const QByteArray& mail, const QList<QByteArray>& flags,
                                      const QDateTime& internalDate, const QByteArray& messageId);
    // Finishes what the journal holds for this mailbox.
    static OpError Recover(ImapStore& store, ImapConnection& conn, const QByteArray& rawName,
                           const ImapMailboxState& state);
};
