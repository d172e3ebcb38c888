// The folder tree of a store in both layouts, folder paths and ids, and the order of items.
#include "host/maildir/maildir_layout.h"
#include "host/maildir/maildir_names.h"
#include "host/maildir/open_maildir.h"
#include "support/maildir_fixture.h"

#include <cstdio>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QStringList Paths(const MailFolderPtr& folder) {
    QStringList paths{GetFolderPath(folder)};
    for (const MailFolderPtr& child : folder->Folders().value)
        paths += Paths(child);
    return paths;
}

MailFolderPtr Child(const MailFolderPtr& folder, const QString& name) {
    for (const MailFolderPtr& child : folder->Folders().value)
        if (child->Name().value == name) return child;
    return nullptr;
}

} // namespace

TEST_F(MaildirTest, FolderTreeOfBothLayouts) {
    folder(u".Work"_s);
    folder(u".Work.Sub"_s);
    folder(u".Archive.2024"_s); // ".Archive" itself has no mail
    folder(u".Entw&APw-rfe"_s); // IMAP's modified UTF-7
    folder(u"Projects"_s);
    folder(u"Projects/Alpha"_s);
    folder(u"Lists/Qt"_s);                   // "Lists" itself has no mail
    QDir(root).mkpath(u".notmuch/xapian"_s); // not a mail folder
    QDir(root).mkpath(u"Empty"_s);

    const auto stores = session().Stores();
    ASSERT_TRUE(stores.ok());
    ASSERT_EQ(stores.value.size(), 1u);
    EXPECT_EQ(
        S(Paths(stores.value[0]).join(QLatin1Char(','))),
        "Mail,Mail|Inbox,Mail|Archive,Mail|Archive|2024,Mail|Entwürfe,Mail|Lists,Mail|Lists|Qt,"
        "Mail|Projects,Mail|Projects|Alpha,Mail|Work,Mail|Work|Sub");

    const MailFolderPtr top = stores.value[0];
    struct Case {
        QStringList names;
        QString id;
        bool hasMail;
    } cases[] = {
        {{"Inbox"}, ".", true},           {{"Work", "Sub"}, ".Work.Sub", true},
        {{"Archive"}, ".Archive", false}, {{"Projects", "Alpha"}, "Projects/Alpha", true},
        {{"Lists"}, "Lists", false},
    };
    for (const Case& c : cases) {
        MailFolderPtr f = top;
        for (const QString& name : c.names)
            f = f ? Child(f, name) : nullptr;
        ASSERT_TRUE(f) << S(c.names.join('|'));
        EXPECT_EQ(S(f->EntryID().value), S(c.id));
        EXPECT_EQ(S(f->StoreID().value), S(root));
        // The ids lead back to the same folder.
        const auto again = session().GetFolderFromID(c.id, root);
        ASSERT_TRUE(again.ok()) << S(c.id);
        EXPECT_EQ(S(GetFolderPath(again.value)), S(GetFolderPath(f)));
        EXPECT_TRUE(f->Items().ok());
        EXPECT_EQ(bool(FolderExists(root, c.id)), true);
        bool hasMail = !c.hasMail;
        FolderExists(root, c.id, &hasMail);
        EXPECT_EQ(hasMail, c.hasMail) << S(c.id);
    }
    EXPECT_EQ(S(GetFolderPath(inbox())), "Mail|Inbox");
    EXPECT_EQ(S(GetFolderPath(inbox(), u"/"_s)), "Mail/Inbox");
    EXPECT_FALSE(top->Parent().value);
}

// mbsync's layout: nothing at the top, INBOX (in any case) beside the other folders.
TEST_F(MaildirTest, AFolderOfMaildirsOpensOnItsInbox) {
    for (const QString& inboxName : {u"INBOX"_s, u"Inbox"_s}) {
        const QString account = TestEnv::home() + u"/Mail-"_s + inboxName;
        for (const QString& sub : {inboxName, u"Sent"_s, u"Archive/2024"_s})
            ASSERT_FALSE(EnsureMaildirFolder(account + u'/' + sub));
        SampleMail mail;
        mail.subject = u"in the inbox"_s;
        ASSERT_TRUE(WriteMailToMaildir(account + u'/' + inboxName, mail).ok());

        const auto opened = OpenMaildirStore(account + u"/"_s);
        ASSERT_TRUE(opened.ok()) << S(opened.error.description);
        MailSession& store = *opened.value;
        const MailFolderPtr inbox = store.GetDefaultInbox().value;
        EXPECT_EQ(S(GetFolderPath(inbox)), S(u"Mail-"_s + inboxName + u'|' + inboxName));
        const auto items = inbox->Items().value;
        ASSERT_EQ(items.size(), 1u);
        EXPECT_EQ(S(items[0]->Subject().value), "in the inbox");
        EXPECT_EQ(S(Paths(store.Stores().value[0]).join(u',')),
                  S(u"Mail-%1,Mail-%1|Archive,Mail-%1|Archive|2024,Mail-%1|%1,Mail-%1|Sent"_s.arg(
                      inboxName)));
    }
}

// What is no mail store is refused with what was expected.
TEST_F(MaildirTest, APathThatIsNoMailStoreIsRefusedWithTheReason) {
    const QString home = TestEnv::home();
    QDir(home).mkpath(u"Documents/Letters"_s);
    QFile file(home + u"/notes.txt"_s);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const struct {
        QString path;
        const char* reason;
    } cases[] = {
        {home + u"/Missing"_s, "There is no folder"},
        {home + u"/notes.txt"_s, "is not a folder"},
        {home + u"/Documents"_s, "expected a Maildir (a folder with cur/, new/ and tmp/) or a "
                                 "folder of Maildirs"},
    };
    for (const auto& c : cases) {
        const auto opened = OpenMaildirStore(c.path);
        EXPECT_FALSE(opened.ok()) << S(c.path);
        EXPECT_TRUE(opened.error.description.contains(QLatin1String(c.reason)))
            << S(opened.error.description);
    }
    EXPECT_TRUE(OpenMaildirStore(root).ok());
}

TEST_F(MaildirTest, FolderIdsThatNameNothingOrLeaveTheStoreAreRefused) {
    folder(u".Work"_s);
    QDir(TestEnv::home()).mkpath(u"Outside/cur"_s);
    for (const char* id : {"Missing", ".Missing", "../Outside", ".Work/../../Outside", "/etc", "",
                           "Work/", ".Work/cur", "a//b"}) {
        const auto found = session().GetFolderFromID(QString::fromLatin1(id), root);
        EXPECT_FALSE(found.ok()) << id;
        EXPECT_EQ(found.error.number, ErrNo::NotFound) << id;
    }
    EXPECT_FALSE(session().GetFolderFromID(u"."_s, TestEnv::home()).ok()); // no such store
    // A store's id is its root, however it is spelt.
    EXPECT_TRUE(session().GetFolderFromID(u".Work"_s, root + u"/./"_s).ok());
}

TEST_F(MaildirTest, AMailFolderThatCannotBeReadIsAnErrorNotAnEmptyFolder) {
    const QString dir = folder(u".Broken"_s);
    QDir(dir).rmdir(u"cur"_s);
    QFile blocker(dir + u"/cur"_s);
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    const auto broken = session().GetFolderFromID(u".Broken"_s, root);
    ASSERT_TRUE(broken.ok());
    const auto items = broken.value->Items();
    EXPECT_TRUE(items.error);
    EXPECT_TRUE(items.error.description.contains(QLatin1String("Cannot read the mail folder")))
        << S(items.error.description);
    EXPECT_TRUE(broken.value->ItemCount().error);
    QDir(root).rename(u".Broken"_s, u".Gone"_s);
    EXPECT_EQ(broken.value->Items().error.number, ErrNo::NotFound);
}

TEST_F(MaildirTest, TheStoreIsNamedAfterItsRootOrTheNameGiven) {
    MaildirSession named({{root, u"Private"_s}, {folder(u"Other"_s), {}}});
    const auto stores = named.Stores().value;
    ASSERT_EQ(stores.size(), 2u);
    EXPECT_EQ(S(GetFolderPath(named.GetDefaultInbox().value)), "Private|Inbox");
    EXPECT_EQ(S(stores[1]->Name().value), "Other");
}

TEST_F(MaildirTest, ItemsComeByDeliveryTimeThenNameFromNewAndCur) {
    const QDateTime base = QDateTime::currentDateTime().addDays(-1);
    SampleMail mail;
    mail.date = base.addSecs(30);
    mail.subject = u"third"_s;
    deliver(mail);
    mail.date = base;
    mail.subject = u"first"_s;
    deliver(mail, {}, {false, true});
    mail.date = base.addSecs(10);
    mail.subject = u"second"_s;
    deliver(mail, {}, {true, false});
    QFile::copy(TestEnv::dataFile(u"mails/news-post.eml"_s), root + u"/cur/.hidden"_s);
    QDir(root).mkpath(u"cur/a-directory"_s);

    const auto items = inbox()->Items();
    ASSERT_TRUE(items.ok());
    QStringList subjects;
    for (const MailItemPtr& item : items.value)
        subjects << item->Subject().value;
    EXPECT_EQ(S(subjects.join(',')), "first,second,third");
    EXPECT_EQ(inbox()->ItemCount().value, 3);
    EXPECT_TRUE(items.value[0]->UnRead().value);  // in new/
    EXPECT_FALSE(items.value[1]->UnRead().value); // seen
    EXPECT_TRUE(items.value[2]->UnRead().value);
}

TEST_F(MaildirTest, AMailIsFoundByTheUniquePartOfItsName) {
    const QString path = deliver(SampleMail{}, u".Work"_s, {true, false});
    const QString unique = ParseMaildirFileName(QFileInfo(path).fileName()).unique;
    const auto item = session().GetMessageFromID(unique, root);
    ASSERT_TRUE(item.ok()) << S(item.error.description);
    EXPECT_EQ(S(item.value->EntryID().value), S(unique));
    EXPECT_EQ(S(GetFolderPath(item.value->Parent().value)), "Mail|Work");
    EXPECT_TRUE(session().GetMessageFromID(unique).ok());
    EXPECT_FALSE(session().GetMessageFromID(u"1.nothing.host"_s).ok());
    EXPECT_FALSE(session().GetMessageFromID(unique, TestEnv::home()).ok());
}

TEST_F(MaildirTest, AFetchRightAfterTheListingFollowsAMailMovedOrRemovedMeanwhile) {
    const QString moved = deliver(SampleMail{});
    const QString removed = deliver(SampleMail{});
    const auto items = inbox()->Items().value; // the walk's listing, nothing parsed yet
    ASSERT_EQ(items.size(), 2u);
    const QString movedId = ParseMaildirFileName(QFileInfo(moved).fileName()).unique;
    const QString removedId = ParseMaildirFileName(QFileInfo(removed).fileName()).unique;

    // A sync tool marks one mail read (new/ to cur/ with a flag) and gives it its own mark, as
    // mbsync does; another program deletes one.
    const QString seen = root + u"/cur/"_s + movedId + u",U=17:2,S"_s;
    ASSERT_EQ(::rename(QFile::encodeName(moved).constData(), QFile::encodeName(seen).constData()),
              0);
    ASSERT_TRUE(QFile::remove(removed));

    const auto fetched = session().GetMessageFromID(movedId, root);
    ASSERT_TRUE(fetched.ok()) << S(fetched.error.description);
    EXPECT_FALSE(fetched.value->UnRead().value);
    EXPECT_EQ(S(fetched.value->Subject().value), "Sample mail");
    EXPECT_FALSE(session().GetMessageFromID(removedId, root).ok());
}
TEST(MaildirNames, UniquePartFlagsAndFreshNames) {
    struct Case {
        const char* name;
        const char* unique;
        const char* flags;
        bool info;
    } cases[] = {
        {"1700000000.M1P2.host:2,SF", "1700000000.M1P2.host", "FS", true},
        {"1700000000.M1P2.host,S=1234,W=1300:2,S", "1700000000.M1P2.host,S=1234,W=1300", "S", true},
        {"1700000000.R5.host,U=42:2,", "1700000000.R5.host,U=42", "", true},
        {"1700000000.M1P2.host", "1700000000.M1P2.host", "", false},
        {"1700000000.host:2,RS,X=1", "1700000000.host", "RS", true},
        {"1700000000.host:1,experimental", "1700000000.host", "", false},
    };
    for (const Case& c : cases) {
        const MaildirFileName n = ParseMaildirFileName(QString::fromLatin1(c.name));
        EXPECT_EQ(S(n.unique), c.unique) << c.name;
        EXPECT_EQ(S(n.flags), c.flags) << c.name;
        EXPECT_EQ(n.hasInfo, c.info) << c.name;
        // The quick readers a folder walk uses agree with the whole parse.
        EXPECT_EQ(S(MaildirUnique(QString::fromLatin1(c.name))), c.unique) << c.name;
        for (const char flag : {'S', 'F', 'R', 'X', 'e'})
            EXPECT_EQ(MaildirHasFlag(QString::fromLatin1(c.name), QLatin1Char(flag)),
                      n.flags.contains(QLatin1Char(flag)))
                << c.name << ' ' << flag;
    }
    EXPECT_EQ(S(FlagsWith(u"RF"_s, QLatin1Char('S'))), "FRS");
    EXPECT_EQ(S(FlagsWithout(u"FRS"_s, QLatin1Char('S'))), "FR");
    EXPECT_EQ(S(ComposeMaildirFileName({u"u"_s, u"SR"_s, true})), "u:2,RS");
    const QString a = NewUniqueName();
    const QString b = NewUniqueName();
    EXPECT_NE(a, b);
    EXPECT_FALSE(a.contains(QLatin1Char(':')) || a.contains(QLatin1Char('/')));
}
