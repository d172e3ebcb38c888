// The mailboxes a user sees by the server's NAMESPACE answer, and which mailbox a name the user
// gives means, as Dovecot, Cyrus, Courier and Gmail name them.
#include "host/imap/imap_namespace.h"

#include <gtest/gtest.h>

namespace {

// "name" or "name \Flag", with the server's delimiter.
std::vector<ImapMailbox> Listing(char delimiter, const QStringList& boxes) {
    std::vector<ImapMailbox> listed;
    for (const QString& entry : boxes) {
        ImapMailbox box;
        const qsizetype flag = entry.indexOf(QLatin1String(" \\"));
        box.name = entry.left(flag);
        box.rawName = box.name.toUtf8();
        box.delimiter = QLatin1Char(delimiter);
        if (flag > 0) box.flags.insert(entry.mid(flag + 1).toUpper().toUtf8());
        listed.push_back(box);
    }
    return listed;
}

NamespaceJob Namespaces(const QByteArray& answer) {
    NamespaceJob job;
    if (answer.isEmpty()) return job;
    const Result<ImapResponse> r = ParseImapResponse("* NAMESPACE " + answer + "\r\n");
    EXPECT_TRUE(r.ok()) << r.error.description.toStdString();
    job.untagged(r.value);
    return job;
}

TEST(ImapNamespace, OnlyThePersonalNamespaceIsShown) {
    const struct {
        const char* server;
        QByteArray answer; // empty: no NAMESPACE
        char delimiter;
        QStringList listed, shown;
    } rows[] = {
        {"without NAMESPACE, all", "", '/', {"INBOX", "shared/bob"}, {"INBOX", "shared/bob"}},
        {"Dovecot with a shared tree",
         R"((("" "/")) NIL (("shared/" "/")))",
         '/',
         {"INBOX", "Work", "Work/Offers", "shared", "shared/bob/INBOX", "sharedwork"},
         {"INBOX", "Work", "Work/Offers", "sharedwork"}},
        {"Cyrus: INBOX. prefix, other users, shared at the top",
         R"((("INBOX." ".")) (("user." ".")) (("" ".")))",
         '.',
         {"INBOX", "INBOX.Work", "user.alice", "user.alice.Sent", "Public"},
         {"INBOX", "INBOX.Work"}},
        {"Courier",
         R"((("INBOX." ".")) NIL (("#shared." ".")))",
         '.',
         {"INBOX", "INBOX.Sent", "#shared", "#shared.news"},
         {"INBOX", "INBOX.Sent"}},
        {"Gmail: [Gmail] is personal, All Mail is not shown",
         R"((("" "/")) NIL NIL)",
         '/',
         {"INBOX", "[Gmail] \\Noselect", "[Gmail]/All Mail \\All", "[Gmail]/Trash \\Trash", "2024"},
         {"INBOX", "[Gmail]", "[Gmail]/Trash", "2024"}},
        {"odd entries passed over",
         R"((("" "/") (42) ("x")) NIL ("y"))",
         '/',
         {"INBOX", "Work"},
         {"INBOX", "Work"}},
    };
    for (const auto& row : rows) {
        QStringList shown;
        for (const ImapMailbox& box :
             PersonalMailboxes(Listing(row.delimiter, row.listed), Namespaces(row.answer)))
            shown << box.name;
        EXPECT_EQ(shown.join(u','), row.shown.join(u',')) << row.server;
    }
}

TEST(ImapNamespace, ANameFindsTheMailboxAsTheServerSpellsIt) {
    const std::vector<ImapMailbox> cyrus = Listing('.', {"INBOX", "INBOX.Work", "Inbox2"});
    const std::vector<ImapMailbox> dovecot = Listing('/', {"INBOX", "Work", "Work/Offers"});
    const struct {
        const std::vector<ImapMailbox>* boxes;
        const char* name;
        const char* found; // "" for none
    } rows[] = {
        {&cyrus, "INBOX.Work", "INBOX.Work"},
        {&cyrus, "inbox.Work", "INBOX.Work"},
        {&cyrus, "inbox", "INBOX"},
        {&cyrus, "INBOX.work", ""},
        {&cyrus, "INBOX/Work", ""},
        {&cyrus, "inbox2", ""},
        {&dovecot, "Work/Offers", "Work/Offers"},
        {&dovecot, "work", ""},
        {&dovecot, "Inbox", "INBOX"},
    };
    for (const auto& row : rows) {
        const ImapMailbox* box = FindMailboxByName(*row.boxes, QString::fromUtf8(row.name));
        EXPECT_EQ(box ? box->name : QString(), QString::fromUtf8(row.found)) << row.name;
    }
}

} // namespace
