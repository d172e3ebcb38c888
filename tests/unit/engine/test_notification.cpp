// What the user is told: after a rule, during a run, and as the last action.
#include "fakes/engine_fixture.h"

#include "data/defaults.h"
#include "engine/notification.h"

using Kind = AskedQuestion::Kind;

namespace {
const QStringList kOne{QStringLiteral("Scan 1.pdf|/data/in/Scan 1.pdf")};
const QStringList kTwo{QStringLiteral("a.pdf|/data/in/a.pdf"),
                       QStringLiteral("b.exe|/data/in/b.exe")};
} // namespace

struct NotifyCase {
    const char* name;
    int lang;
    bool several;
    const char* title;
    const char* text;
    const char* target;
};

class NotifyTexts : public EngineTest, public testing::WithParamInterface<NotifyCase> {};

TEST_P(NotifyTexts, InTheBoxAndInTheBalloon) {
    const NotifyCase c = GetParam();
    CurrLang = static_cast<uint8_t>(c.lang);
    const QStringList& list = c.several ? kTwo : kOne;
    const QString title = gAppCaption + QString::fromUtf8(c.title);

    Notify = 1;
    NotifyUser(list, QStringLiteral("Anna Berg"), QStringLiteral("anna@berg.example"));
    const auto asked = user.questions(Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].title, title);
    EXPECT_EQ(asked[0].prompt, QString::fromUtf8(c.text));
    EXPECT_EQ(asked[0].icon, 64);
    EXPECT_EQ(asked[0].buttons,
              QStringList({QStringLiteral("Ok"),
                           c.lang == 0 ? QStringLiteral("Öffnen") : QStringLiteral("Open")}));

    Notify = 2;
    NotifyUser(list, QStringLiteral("Anna Berg"), QString());
    ASSERT_EQ(user.trays().size(), 1u);
    const TrayNotification& tray = user.trays()[0];
    EXPECT_EQ(tray.title, title);
    EXPECT_EQ(tray.text, QString::fromUtf8(c.text));
    EXPECT_EQ(tray.target, QString::fromUtf8(c.target));
    EXPECT_EQ(tray.toolTip, gAppCaption);
    EXPECT_EQ(tray.menuCaption, QStringLiteral("Info..."));
    EXPECT_EQ(tray.timeoutMs, 30000);
    EXPECT_EQ(user.trayHides(), 1);
    EXPECT_EQ(user.busyChanges(), std::vector<bool>({true, false}));
}

INSTANTIATE_TEST_SUITE_P(
    OneAndSeveral, NotifyTexts,
    testing::Values(
        NotifyCase{"GermanOne", 0, false, " · Neuer Anhang:",
                   "Es ist ein Anhang 'Scan 1.pdf' von 'Anna Berg' eingegangen und in '/data/in' "
                   "gespeichert worden...",
                   "/data/in/Scan 1.pdf"},
        NotifyCase{"EnglishOne", 1, false, " · New Attachment:",
                   "A new attachment 'Scan 1.pdf' from 'Anna Berg' arrived and was saved to "
                   "'/data/in...",
                   "/data/in/Scan 1.pdf"},
        NotifyCase{"GermanSeveral", 0, true, " · Neue Anhänge:",
                   "Es sind 2 neue Anhänge von 'Anna Berg' eingegangen und in '/data/in' "
                   "gespeichert worden...",
                   "/data/in/"},
        NotifyCase{"EnglishSeveral", 1, true, " · New Attachments:",
                   "2 new attachments from 'Anna Berg' arrived and were saved to '/data/in...",
                   "/data/in/"}),
    [](const testing::TestParamInfo<NotifyCase>& info) { return info.param.name; });

TEST_F(EngineTest, OpenShowsAFileUnlessItsFormatIsBlockedAndAFolderAlways) {
    BlockedFormats = DefaultBlockedFormats();
    BlockedFormats.insert(BlockedFormats.begin(), udtBlockedFormat{});
    BlockedCount = static_cast<int32_t>(BlockedFormats.size() - 1);
    Notify = 1;
    NotifySound = false;

    user.answerMsgBoxEx(2);
    NotifyUser(kOne, QStringLiteral("Anna"), QString());
    user.answerMsgBoxEx(2);
    NotifyUser({QStringLiteral("b.exe|/data/in/b.exe")}, QStringLiteral("Anna"), QString());
    user.answerMsgBoxEx(2);
    NotifyUser(kTwo, QStringLiteral("Anna"), QString()); // several: the folder, no format test
    user.answerMsgBoxEx(1);
    NotifyUser(kOne, QStringLiteral("Anna"), QString());

    EXPECT_EQ(user.opened(),
              QStringList({QStringLiteral("/data/in/Scan 1.pdf"), QStringLiteral("/data/in/")}));
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt, QStringLiteral("Dateien dieses Typs sind blockiert und können nicht "
                                              "ausgeführt oder geöffnet werden!"));
    EXPECT_EQ(boxes[0].icon, 16);
    EXPECT_EQ(user.beeps(), 5); // one per box, one for the blocked file
    EXPECT_TRUE(user.sounds().isEmpty());
}

TEST_F(EngineTest, NothingSavedIsSilentUnlessOnlyTheSoundIsOn) {
    NotifySound = true;
    for (int mode : {1, 2}) {
        Notify = static_cast<int16_t>(mode);
        NotifyUser({}, QStringLiteral("Anna"), QString());
    }
    EXPECT_TRUE(user.transcript().isEmpty());

    Notify = 0;
    NotifyUser({}, QStringLiteral("Anna"), QString());
    EXPECT_EQ(user.sounds(), QStringList{SoundFilePath(QStringLiteral("Moog 1"))});
    EXPECT_TRUE(user.questions().empty());

    NotifySound = false;
    NotifyUser(kOne, QStringLiteral("Anna"), QString());
    EXPECT_EQ(user.transcript().size(), 1);
}

TEST_F(EngineTest, TheSoundReplacesTheBeepOfTheBox) {
    Notify = 1;
    NotifySound = true;
    SoundName = QStringLiteral("Chime");
    NotifyUser(kOne, QStringLiteral("Anna"), QString());
    EXPECT_EQ(user.sounds(), QStringList{SoundFilePath(QStringLiteral("Chime"))});
    EXPECT_TRUE(
        SoundFilePath(QStringLiteral("Chime")).endsWith(QStringLiteral("/Sounds/Chime.wav")));
    EXPECT_EQ(user.beeps(), 0);
}

TEST_F(EngineTest, RulesNotifyInRealRunsAndInTestRunsOnlyWhenAsked) {
    Notify = 1;
    NotifySound = false;
    udtRule& rule = addRule(QStringLiteral("R"));
    rule.Notify = vbTrue;
    const auto notes = [&] {
        int n = 0;
        for (const auto& q : user.questions(Kind::MsgBoxEx))
            n += q.title.endsWith(QStringLiteral("Neuer Anhang:"));
        return n;
    };

    addMail(QStringLiteral("m"), {QStringLiteral("a.pdf")});
    runFolder(true);
    EXPECT_EQ(notes(), 0);
    TestNotifies = true;
    runFolder(true); // the target need not exist
    EXPECT_EQ(notes(), 1);
    runFolder(false);
    EXPECT_EQ(notes(), 2);
    addMail(QStringLiteral("n"), {QStringLiteral("b.pdf")});
    SWTest = false;
    SWRun = false; // a folder call without the run flag
    StowawayNow(inbox, nullptr, nullptr);
    EXPECT_EQ(notes(), 2);
}

TEST_F(EngineTest, ProgressBarsShowShares) {
    RecordingStatus status;
    ShowProgress(0, 0, &status);
    ShowProgress(5, 10, &status);
    ShowProgress(1, 3, &status);
    ShowProgress(1, 0, &status); // no total: nothing to show
    ShowProgress(-1, -1, &status);
    ShowSubProgress(0, 0, &status);
    ShowSubProgress(3, 4, &status);
    ShowSubProgress(-1, -1, &status);
    ShowSubProgress(1, 2, nullptr);
    EXPECT_EQ(status.calls(),
              QStringList({QStringLiteral("main 1  0.00"), QStringLiteral("main 1 50% 0.50"),
                           QStringLiteral("main 1 33% 0.33"), QStringLiteral("main 0  0.00"),
                           QStringLiteral("sub 1 0.00"), QStringLiteral("sub 1 0.75"),
                           QStringLiteral("sub 0 0.00")}));
}

TEST_F(EngineTest, LastActionTexts) {
    EXPECT_EQ(LastActionStart(), QStringLiteral("Initialisierung..."));
    EXPECT_EQ(LastActionNewMail(QStringLiteral("Inbox")),
              QStringLiteral("Neue Nachricht(en) in 'Inbox'..."));
    EXPECT_EQ(LastActionNewPost(QStringLiteral("News")),
              QStringLiteral("Neue(r) Post(s) in 'News'..."));
    const QRegularExpression germanRun(
        QStringLiteral("^Ausführung für 'Inbox', \\w+, \\d+\\. \\w+ \\d{4}, \\d{1,2}:\\d\\d$"));
    EXPECT_TRUE(germanRun.match(LastActionRealRun(QStringLiteral("Inbox"))).hasMatch());
    CurrLang = 1;
    EXPECT_EQ(LastActionStart(), QStringLiteral("Initialize..."));
    EXPECT_EQ(LastActionNewMail(QStringLiteral("Inbox")),
              QStringLiteral("New mail(s) in 'Inbox'..."));
    EXPECT_EQ(LastActionNewPost(QStringLiteral("News")),
              QStringLiteral("New post(s) in 'News'..."));
    EXPECT_TRUE(LastActionTestRun(QStringLiteral("Inbox"))
                    .startsWith(QStringLiteral("Test run on 'Inbox', ")));
    EXPECT_TRUE(LastActionFlagsReset(QStringLiteral("Inbox"))
                    .startsWith(QStringLiteral("Flags resetted for 'Inbox', ")));
}
