// Start, end and the folder watchers over the in-memory store: what is set up, what the user
// sees, which LOG lines are written, and what reaches the driver.
#include "fakes/engine_fixture.h"

#include "addin/folder_watchers.h"
#include "addin/lifecycle.h"
#include "data/data_files.h"
#include "data/rule_edits.h"

using namespace Qt::StringLiterals;

namespace {

// The in-memory store that also hands out new-mail subscriptions the test can fire.
class WatchableSession : public FakeMailSession, public NewMailSource {
  public:
    NewMailSource* newMailSource() override { return this; }
    struct Sub : ItemAddSubscription {
        Sub(WatchableSession* s, MailFolderPtr f, ItemAddHandler h)
            : session(s), folder(std::move(f)), handler(std::move(h)) {
            session->subs.push_back(this);
        }
        ~Sub() override { std::erase(session->subs, this); }
        WatchableSession* session;
        MailFolderPtr folder;
        ItemAddHandler handler;
    };

    Result<std::unique_ptr<ItemAddSubscription>>
    SubscribeItemAdd(const MailFolderPtr& folder, ItemAddHandler onItemAdd) override {
        return {std::make_unique<Sub>(this, folder, std::move(onItemAdd)), OpError::none()};
    }
    // Delivers `item` to every subscription of its folder.
    void deliver(const FakeFolderPtr& folder, const MailItemPtr& item) {
        const auto current = subs;
        for (Sub* s : current)
            if (s->folder.get() == folder.get()) s->handler(item);
    }
    std::vector<Sub*> subs;
};

class AddinTest : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        session = std::make_shared<WatchableSession>();
        store = session->addStore(u"Maildir"_s, u"/mail"_s);
        inbox = store->addFolder(u"Inbox"_s);
        SetUserInteraction(&user);
        SaveSetting(u"PaceSeconds"_s, u"0"_s);
        SaveSetting(u"CurrLang"_s, u"0"_s); // the texts below are the German ones
        host.openSession = [this]() {
            ++sessionOpens;
            return Result<std::shared_ptr<MailSession>>{session, OpError::none()};
        };
    }
    void TearDown() override {
        OnDisconnection();
        SetUserInteraction(nullptr);
    }

    std::shared_ptr<WatchableSession> session;
    FakeFolderPtr store, inbox;
    ScriptedUserInteraction user;
    HostEnvironment host;
    int sessionOpens = 0;
};

TEST_F(AddinTest, FirstStartWatchesTheInboxOfTheStoreAndTheEndWritesOnlyChangedTables) {
    OnConnection(host);
    EXPECT_EQ(CurrentAddinState(), AddinState::Running);
    ASSERT_EQ(WatchFolders.count(), 1);
    EXPECT_TRUE(IsTrue(WatchFolders[1].Active));
    EXPECT_EQ(WatchFolders[1].Name.get(), u"Inbox"_s);
    EXPECT_EQ(WatchFolders[1].Path.get(), u"Maildir|Inbox"_s);
    EXPECT_EQ(session->subs.size(), 1u);
    EXPECT_EQ(gLastAction, u"Initialisierung..."_s);
    EXPECT_TRUE(user.questions().empty());
    ASSERT_TRUE(AddRule(u"Neu"_s).ok()); // as the dialog's edits do

    OnBeginShutdown();
    OnDisconnection();
    OnDisconnection(); // a second shutdown finds nothing to do
    EXPECT_TRUE(session->subs.empty());
    const QStringList files = QDir(GetDataFolder()).entryList(QDir::Files);
    EXPECT_EQ(files,
              QStringList({u"QWKStowaway.ble"_s, u"QWKStowaway.rls"_s, u"QWKStowaway.txt"_s}));
    const QStringList log = LogLinesWithoutStamps();
    ASSERT_EQ(log.size(), 3) << log.join('\n').toStdString();
    EXPECT_TRUE(log[0].startsWith(u"! Startup Stowaway "_s));
    EXPECT_EQ(log[1], u"! Shutdown..."_s);
    EXPECT_EQ(log[2], QString(75, QLatin1Char('^')));
}

TEST_F(AddinTest, AStoreThatCannotBeOpenedLeavesTheAddinInertAfterOneMessage) {
    host.openSession = [] {
        return Result<std::shared_ptr<MailSession>>{
            nullptr, OpError::make(ErrNo::NotFound, u"No such folder: /nowhere"_s)};
    };
    OnConnection(host);
    EXPECT_EQ(CurrentAddinState(), AddinState::Inert);
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_EQ(user.questions()[0].prompt,
              u"Fehler bei Initialisierung des Mail-Speichers: No such folder: /nowhere"_s);
    EXPECT_EQ(user.beeps(), 1);
    EXPECT_EQ(Rules.count(), 0); // no data loaded
    EXPECT_EQ(BlockedFormats.count(), 0);
    OnDisconnection();
    OnDisconnection();
}

TEST_F(AddinTest, AHostWithoutUserInterfaceOpensNothing) {
    host.hasUserInterface = false;
    OnConnection(host);
    EXPECT_EQ(CurrentAddinState(), AddinState::Inert);
    EXPECT_EQ(sessionOpens, 0);
    EXPECT_TRUE(session->subs.empty());
    EXPECT_FALSE(QFile::exists(DataFilePath(u".ble"_s)));
}

class WatcherTest : public AddinTest {
  protected:
    void SetUp() override {
        AddinTest::SetUp();
        SaveSetting(u"DoProto"_s, u"1"_s);
        SaveSetting(u"SWTest"_s, u"0"_s);
        OnConnection(host);
        QFile::remove(LogFilePath());
    }
    MailItemPtr newMail(int itemClass = ItemClass::Mail) {
        FakeMessageData data;
        data.entryId = u"m%1"_s.arg(++mails);
        data.itemClass = itemClass;
        data.subject = u"Report %1"_s.arg(mails);
        return inbox->itemFor(inbox->addMessage(data));
    }
    int mails = 0;
};

TEST_F(WatcherTest, OnlyMailsAndPostsReachTheDriver) {
    SWActive = true;
    session->deliver(inbox, newMail(ItemClass::MeetingRequest));
    session->deliver(inbox, newMail(ItemClass::Report));
    QStringList log = LogLinesWithoutStamps();
    EXPECT_EQ(log.count(u"ItemAdd/Class <> olMail/olPost..."_s), 2);
    EXPECT_FALSE(log.join('\n').contains(u"StowawayNow/Start"_s));

    QFile::remove(LogFilePath());
    session->deliver(inbox, newMail(ItemClass::Mail));
    log = LogLinesWithoutStamps();
    ASSERT_GE(log.size(), 5);
    EXPECT_EQ(log[0], u"ItemAdd/Start - Maildir|Inbox"_s);
    EXPECT_EQ(log[1], u"ItemAdd/FolderPath: Maildir|Inbox"_s);
    EXPECT_EQ(log[2], u"ItemAdd/Mail: Report 3/Inbox"_s);
    EXPECT_EQ(log[3], u"StowawayNow/Start..."_s);
    EXPECT_EQ(log.last(), u"ItemAdd/End..."_s);
    EXPECT_FALSE(SWRun);
    EXPECT_EQ(gLastAction, u"Neue Nachricht(en) in 'Inbox'..."_s);

    QFile::remove(LogFilePath());
    session->deliver(inbox, newMail(ItemClass::Post));
    log = LogLinesWithoutStamps();
    EXPECT_TRUE(log.contains(u"ItemAdd/Post: Report 4/Inbox"_s));
    EXPECT_EQ(gLastAction, u"Neue(r) Post(s) in 'Inbox'..."_s);
}

TEST_F(WatcherTest, AMissingFolderCostsOneBoxPerRebuildAndKeysContinue) {
    udtWatchFolder lost;
    lost.Active = vbTrue;
    lost.Name = u"Gone"_s;
    lost.Path = u"Maildir|Gone"_s;
    lost.EntryID = u".Gone"_s;
    lost.StoreID = u"/mail"_s;
    WatchFolders.append(lost);
    udtWatchFolder off = WatchFolders[1];
    off.Active = vbFalse;
    WatchFolders.append(off);

    const int keyBefore = gFldKey;
    SetWatchFolders();
    EXPECT_EQ(colFolderWrappers.size(), 1u); // the inbox; the inactive copy gets no watcher
    EXPECT_TRUE(colFolderWrappers.count(QString::number(keyBefore)));
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_TRUE(user.questions()[0].prompt.startsWith(
        u"SetWatchFolders: Ordner kann nicht überwacht werden:\n\nMaildir|Gone\n\n"_s));
    EXPECT_TRUE(IsTrue(WatchFolders[2].Active));

    SetWatchFolders();
    EXPECT_EQ(user.questions().size(), 2u);
    EXPECT_TRUE(colFolderWrappers.count(QString::number(keyBefore + 1)));
    EXPECT_EQ(session->subs.size(), 1u); // the old watcher is gone
    EXPECT_TRUE(LogLinesWithoutStamps().contains(u"FldWrapAdd: Maildir|Inbox"_s));
}

} // namespace
