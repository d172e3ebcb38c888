// The mailboxes a user sees by the server's NAMESPACE answer, and which mailbox a name the user
// gives means, as Dovecot, Cyrus, Courier and Gmail name them.
#include "host/imap/imap_namespace.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

namespace {

// Each row: the server's listing, "+" before a mailbox that is shown, a flag after a blank;
// and names a user gives, with the mailbox each finds ("name=found", none after a bare "=").
TEST(ImapNamespace, OnlyThePersonalNamespaceIsShownAndANameFindsItsMailbox) {
    const struct {
        const char* server;
        QByteArray answer; // empty: the server has no NAMESPACE
        char delimiter;
        QStringList listed, lookups;
    } rows[] = {
        // clang-format off
        {"no NAMESPACE: all", "", '/', {"+INBOX", "+shared/bob"}, {"shared/bob=shared/bob"}},
        {"Dovecot, a shared tree", R"((("" "/")) NIL (("shared/" "/")))", '/',
         {"+INBOX", "+Work/Offers", "shared", "shared/bob/INBOX", "+sharedwork", "+Inbox2"},
         {"Work/Offers=Work/Offers", "work/offers=", "Inbox=INBOX", "inbox2=", "shared/bob/INBOX="}},
        {"Cyrus: other users, shared at the top", R"((("INBOX." ".")) (("user." ".")) (("" ".")))",
         '.', {"+INBOX", "+INBOX.Work", "user.alice", "user.alice.Sent", "Public"},
         {"inbox.Work=INBOX.Work", "INBOX.work=", "INBOX/Work=", "user.alice="}},
        {"Courier", R"((("INBOX." ".")) NIL (("#shared." ".")))", '.',
         {"+INBOX", "+INBOX.Sent", "#shared", "#shared.news"}, {}},
        {"Gmail: All Mail left out", R"((("" "/")) NIL NIL)", '/',
         {"+INBOX", "+[Gmail] \\Noselect", "[Gmail]/All Mail \\All", "+[Gmail]/Trash \\Trash"},
         {"[Gmail]/All Mail="}},
        {"odd entries passed over", R"((("" "/") (42) ("x")) NIL ("y"))", '/', {"+INBOX", "+2024"}, {}},
        // clang-format on
    };
    for (const auto& row : rows) {
        NamespaceJob spaces;
        if (!row.answer.isEmpty())
            spaces.untagged(ParseImapResponse("* NAMESPACE " + row.answer + "\r\n").value);
        std::vector<ImapMailbox> listed;
        QStringList expected, shown;
        for (QString entry : row.listed) {
            if (entry.startsWith(u'+')) expected << entry.remove(0, 1).section(u" \\"_qs, 0, 0);
            const QString name = entry.section(u" \\"_qs, 0, 0);
            listed.push_back({name, name.toUtf8(), QLatin1Char(row.delimiter), {}});
            if (name != entry)
                listed.back().flags.insert(entry.mid(name.size() + 1).toUpper().toUtf8());
        }
        const std::vector<ImapMailbox> personal = PersonalMailboxes(listed, spaces);
        for (const ImapMailbox& box : personal)
            shown << box.name;
        EXPECT_EQ(shown.join(u','), expected.join(u',')) << row.server;
        for (const QString& lookup : row.lookups) {
            const ImapMailbox* box = FindMailboxByName(personal, lookup.section(u'=', 0, 0));
            EXPECT_EQ(box ? box->name : QString(), lookup.section(u'=', 1)) << S(lookup);
        }
    }
}

} // namespace
