#pragma once
// The mailboxes a user sees of an account: those of the personal namespace where the server
// offers NAMESPACE (other users' and shared trees left out), else all it lists. Gmail's
// "[Gmail]" tree is personal, but its "All Mail" (\All) is left out too: it holds every mail a
// second time under other UIDs, so watching it would take each mail twice.
#include "host/imap/imap_jobs.h"

// Whether `rawName` is personal: INBOX always; else the longest prefix it falls under is a
// personal namespace's. A namespace's own top ("INBOX" for "INBOX.") falls under it.
bool InPersonalNamespace(const QByteArray& rawName, const NamespaceJob& spaces);
// The mailboxes of a listing a user sees, by the namespaces the server sent.
std::vector<ImapMailbox> PersonalMailboxes(std::vector<ImapMailbox> listed,
                                           const NamespaceJob& spaces);
// Lists the mailboxes a user sees, asking NAMESPACE first where the server offers it.
Result<std::vector<ImapMailbox>> ListPersonalMailboxes(ImapConnection& conn);
// The mailbox that `name` names as the server spells it (decoded), INBOX in any case ("inbox",
// "Inbox.Work"); null if none.
const ImapMailbox* FindMailboxByName(const std::vector<ImapMailbox>& boxes, const QString& name);
