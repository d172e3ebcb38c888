// Start, end and the folder watchers over the in-memory store: what is set up, what the user
// sees, which LOG lines are written, and what reaches the driver.
#include "fakes/fake_mail_store.h"
#include "fakes/scripted_ui.h"
#include "support/test_env.h"

#include "addin/folder_watchers.h"
#include "addin/lifecycle.h"
#include "common/ansi.h"
#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

namespace {

// The in-memory store that also hands out new-mail subscriptions the test can fire.
class WatchableSession : public FakeMailSession, public NewMailSource {
public:
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

    Result<std::unique_ptr<ItemAddSubscription>> SubscribeItemAdd(const MailFolderPtr& folder,
                                                                  ItemAddHandler onItemAdd) override {
        return {std::make_unique<Sub>(this, folder, std::move(onItemAdd)), OpError::none()};
    }
    // Delivers `item` to every subscription of its folder.
    void deliver(const FakeFolderPtr& folder, const MailItemPtr& item) {
        const auto current = subs;
        for (Sub* s : current)
            if (s->folder.get() == folder.get())
                s->handler(item);
    }
    std::vector<Sub*> subs;
};

QStringList LogMessages() {
    QFile f(LogFilePath());
    if (!f.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = FromAnsi(f.readAll()).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    static const QRegularExpression stamp(QStringLiteral("^\\d\\d\\.\\d\\d\\.\\d{4} - \\d\\d:\\d\\d:\\d\\d - "));
    for (QString& l : lines)
        l.remove(stamp);
    return lines;
}

class AddinTest : public FreshState {
protected:
    void SetUp() override {
        FreshState::SetUp();
        session = std::make_shared<WatchableSession>();
        store = session->addStore(QStringLiteral("Maildir"), QStringLiteral("/mail"));
        inbox = store->addFolder(QStringLiteral("Inbox"));
        SetUserInteraction(&user);
        SaveSetting(QStringLiteral("PaceSeconds"), QStringLiteral("0"));
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

TEST_F(AddinTest, FirstStartWatchesTheInboxOfTheStoreAndWritesOnlyTheBlockedFormats) {
    OnConnection(host);
    EXPECT_EQ(CurrentAddinState(), AddinState::Running);
    ASSERT_EQ(WatchFoldersCount, 1);
    EXPECT_TRUE(IsTrue(WatchFolders[1].Active));
    EXPECT_EQ(WatchFolders[1].Name.get(), QStringLiteral("Inbox"));
    EXPECT_EQ(WatchFolders[1].Path.get(), QStringLiteral("Maildir|Inbox"));
    EXPECT_EQ(session->subs.size(), 1u);
    EXPECT_EQ(RulesCount, 4);
    EXPECT_EQ(gLastAction, QStringLiteral("Initialisierung..."));
    EXPECT_TRUE(user.questions().empty());

    OnBeginShutdown();
    OnDisconnection();
    OnDisconnection(); // a second shutdown finds nothing to do
    EXPECT_TRUE(session->subs.empty());
    const QStringList files = QDir(GetDataFolder()).entryList(QDir::Files);
    EXPECT_EQ(files, QStringList({QStringLiteral("QWKStowaway.ble"), QStringLiteral("QWKStowaway.txt")}));
    const QStringList log = LogMessages();
    ASSERT_EQ(log.size(), 3) << log.join('\n').toStdString();
    EXPECT_TRUE(log[0].startsWith(QStringLiteral("! Startup Stowaway ")));
    EXPECT_EQ(log[1], QStringLiteral("! Shutdown..."));
    EXPECT_EQ(log[2], QString(75, QLatin1Char('^')));
}

TEST_F(AddinTest, SettingsAreReadIntoTheGlobalsBeforeTheStart) {
    SaveSetting(QStringLiteral("CurrLang"), QStringLiteral("1x"));
    SaveSetting(QStringLiteral("SWActive"), QStringLiteral("1"));
    SaveSetting(QStringLiteral("SWTest"), QStringLiteral("-1"));
    SaveSetting(QStringLiteral("NotifyTime"), QStringLiteral("12 seconds"));
    OnConnection(host);
    EXPECT_EQ(CurrLang, 1);
    EXPECT_TRUE(SWActive);
    EXPECT_FALSE(SWTest); // only "1" is yes
    EXPECT_EQ(NotifyTime, 12);
    EXPECT_EQ(Rules[1].Name.get(), QStringLiteral("Test rule #1"));
}

TEST_F(AddinTest, AStoreThatCannotBeOpenedLeavesTheAddinInertAfterOneMessage) {
    host.openSession = [] {
        return Result<std::shared_ptr<MailSession>>{
            nullptr, OpError::make(ErrNo::NotFound, QStringLiteral("No such folder: /nowhere"))};
    };
    OnConnection(host);
    EXPECT_EQ(CurrentAddinState(), AddinState::Inert);
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_EQ(user.questions()[0].prompt,
              QStringLiteral("Fehler bei Initialisierung der RDO-Schnittstelle: No such folder: /nowhere"));
    EXPECT_EQ(user.beeps(), 1);
    EXPECT_EQ(RulesCount, 0); // no data loaded
    EXPECT_EQ(BlockedCount, 0);
    OnDisconnection();
    OnDisconnection();
}

TEST_F(AddinTest, AHostWithoutUserInterfaceOpensNothing) {
    host.hasUserInterface = false;
    OnConnection(host);
    EXPECT_EQ(CurrentAddinState(), AddinState::Inert);
    EXPECT_EQ(sessionOpens, 0);
    EXPECT_TRUE(session->subs.empty());
    EXPECT_FALSE(QFile::exists(DataFilePath(QStringLiteral(".ble"))));
}

class WatcherTest : public AddinTest {
protected:
    void SetUp() override {
        AddinTest::SetUp();
        SaveSetting(QStringLiteral("DoProto"), QStringLiteral("1"));
        SaveSetting(QStringLiteral("SWTest"), QStringLiteral("0"));
        OnConnection(host);
        QFile::remove(LogFilePath());
    }
    MailItemPtr newMail(int itemClass = ItemClass::Mail) {
        FakeMessageData data;
        data.entryId = QStringLiteral("m%1").arg(++mails);
        data.itemClass = itemClass;
        data.subject = QStringLiteral("Report %1").arg(mails);
        return inbox->itemFor(inbox->addMessage(data));
    }
    int mails = 0;
};

TEST_F(WatcherTest, WhileDeactivatedANewItemGivesExactlyTwoLogLines) {
    SWActive = false;
    session->deliver(inbox, newMail());
    EXPECT_EQ(LogMessages(), QStringList({QStringLiteral("ItemAdd/Start - Maildir|Inbox"),
                                          QStringLiteral("! ItemAdd/Stowaway is deactivated...")}));
}

TEST_F(WatcherTest, OnlyMailsAndPostsReachTheDriver) {
    SWActive = true;
    session->deliver(inbox, newMail(ItemClass::MeetingRequest));
    session->deliver(inbox, newMail(ItemClass::Report));
    QStringList log = LogMessages();
    EXPECT_EQ(log.count(QStringLiteral("ItemAdd/Class <> olMail/olPost...")), 2);
    EXPECT_FALSE(log.join('\n').contains(QStringLiteral("StowawayNow/Start")));

    QFile::remove(LogFilePath());
    session->deliver(inbox, newMail(ItemClass::Mail));
    log = LogMessages();
    ASSERT_GE(log.size(), 5);
    EXPECT_EQ(log[0], QStringLiteral("ItemAdd/Start - Maildir|Inbox"));
    EXPECT_EQ(log[1], QStringLiteral("ItemAdd/FolderPath: Maildir|Inbox"));
    EXPECT_EQ(log[2], QStringLiteral("ItemAdd/Mail: Report 3/Inbox"));
    EXPECT_EQ(log[3], QStringLiteral("StowawayNow/Start..."));
    EXPECT_EQ(log.last(), QStringLiteral("ItemAdd/End..."));
    EXPECT_FALSE(SWRun);
    EXPECT_EQ(gLastAction, QStringLiteral("Neue Nachricht(en) in 'Inbox'..."));

    QFile::remove(LogFilePath());
    session->deliver(inbox, newMail(ItemClass::Post));
    log = LogMessages();
    EXPECT_TRUE(log.contains(QStringLiteral("ItemAdd/Post: Report 4/Inbox")));
    EXPECT_EQ(gLastAction, QStringLiteral("Neue(r) Post(s) in 'Inbox'..."));
}

TEST_F(WatcherTest, AMissingFolderCostsOneBoxPerRebuildAndKeysContinue) {
    udtWatchFolder lost;
    lost.Active = vbTrue;
    lost.Name = QStringLiteral("Gone");
    lost.Path = QStringLiteral("Maildir|Gone");
    lost.EntryID = QStringLiteral(".Gone");
    lost.StoreID = QStringLiteral("/mail");
    WatchFolders.push_back(lost);
    ++WatchFoldersCount;
    udtWatchFolder off = WatchFolders[1];
    off.Active = vbFalse;
    WatchFolders.push_back(off);
    ++WatchFoldersCount;

    const int keyBefore = gFldKey;
    SetWatchFolders();
    EXPECT_EQ(colFolderWrappers.size(), 1u); // the inbox; the inactive copy gets no watcher
    EXPECT_TRUE(colFolderWrappers.count(QString::number(keyBefore)));
    ASSERT_EQ(user.questions().size(), 1u);
    EXPECT_TRUE(user.questions()[0].prompt.startsWith(
        QStringLiteral("SetWatchFolders: Ordner kann nicht überwacht werden:\n\nMaildir|Gone\n\n")));
    EXPECT_TRUE(IsTrue(WatchFolders[2].Active));

    SetWatchFolders();
    EXPECT_EQ(user.questions().size(), 2u);
    EXPECT_TRUE(colFolderWrappers.count(QString::number(keyBefore + 1)));
    EXPECT_EQ(session->subs.size(), 1u); // the old watcher is gone
    EXPECT_TRUE(LogMessages().contains(QStringLiteral("FldWrapAdd: Maildir|Inbox")));
}

} // namespace
