#include "host/imap/imap_namespace.h"

namespace {

bool IsInbox(const QByteArray& rawName) {
    return rawName.compare("INBOX", Qt::CaseInsensitive) == 0;
}

// The length of `space`'s prefix when `rawName` falls under it, else -1.
qsizetype PrefixMatch(const QByteArray& rawName, const ImapNamespace& space) {
    const QByteArray& prefix = space.prefix;
    if (rawName.startsWith(prefix)) return prefix.size();
    // The namespace's own top: "Shared" of "Shared/".
    if (!space.delimiter.isNull() && prefix.endsWith(space.delimiter.toLatin1()) &&
        rawName == prefix.chopped(1))
        return prefix.size();
    return -1;
}

// "inbox" and "Inbox/Work" as INBOX and its children: INBOX's name is case-blind.
QString InboxCased(const QString& name, QChar delimiter) {
    if (name.left(5).compare(QLatin1String("INBOX"), Qt::CaseInsensitive) == 0 &&
        (name.size() == 5 || (!delimiter.isNull() && name[5] == delimiter)))
        return QStringLiteral("INBOX") + name.mid(5);
    return name;
}

} // namespace

bool InPersonalNamespace(const QByteArray& rawName, const NamespaceJob& spaces) {
    if (!spaces.answered || IsInbox(rawName)) return true;
    qsizetype personal = -1, other = -1;
    for (const ImapNamespace& space : spaces.personal)
        personal = std::max(personal, PrefixMatch(rawName, space));
    for (const ImapNamespace& space : spaces.others)
        other = std::max(other, PrefixMatch(rawName, space));
    return personal >= 0 && personal >= other;
}

std::vector<ImapMailbox> PersonalMailboxes(std::vector<ImapMailbox> listed,
                                           const NamespaceJob& spaces) {
    if (!spaces.answered) return listed;
    std::erase_if(listed, [&](const ImapMailbox& box) {
        return box.flags.contains("\\ALL") || !InPersonalNamespace(box.rawName, spaces);
    });
    return listed;
}

Result<std::vector<ImapMailbox>> ListPersonalMailboxes(ImapConnection& conn) {
    NamespaceJob spaces;
    if (conn.hasCapability("NAMESPACE"))
        if (OpError e = conn.run(spaces)) return {{}, e};
    ListJob list;
    if (OpError e = conn.run(list)) return {{}, e};
    return {PersonalMailboxes(std::move(list.mailboxes), spaces), OpError::none()};
}

const ImapMailbox* FindMailboxByName(const std::vector<ImapMailbox>& boxes, const QString& name) {
    for (const ImapMailbox& box : boxes)
        if (box.name == name) return &box;
    for (const ImapMailbox& box : boxes)
        if (InboxCased(box.name, box.delimiter) == InboxCased(name, box.delimiter)) return &box;
    return nullptr;
}
