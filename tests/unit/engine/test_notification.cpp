// What the user is told: after a rule, during a run, and as the last action.
#include "fakes/engine_fixture.h"

#include "data/defaults.h"
#include "engine/notification.h"

using namespace Qt::StringLiterals;

using Kind = AskedQuestion::Kind;

namespace {
const QStringList kOne{u"Scan 1.pdf|/data/in/Scan 1.pdf"_s};
const QStringList kTwo{u"a.pdf|/data/in/a.pdf"_s, u"b.exe|/data/in/b.exe"_s};
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
    NotifyUser(list, u"Anna Berg"_s, u"anna@berg.example"_s);
    const auto asked = user.questions(Kind::MsgBoxEx);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].title, title);
    EXPECT_EQ(asked[0].prompt, QString::fromUtf8(c.text));
    EXPECT_EQ(asked[0].icon, 64);
    EXPECT_EQ(asked[0].buttons, QStringList({u"Ok"_s, c.lang == 0 ? u"Öffnen"_s : u"Open"_s}));

    Notify = 2;
    NotifyUser(list, u"Anna Berg"_s, QString());
    ASSERT_EQ(user.trays().size(), 1u);
    const TrayNotification& tray = user.trays()[0];
    EXPECT_EQ(tray.title, title);
    EXPECT_EQ(tray.text, QString::fromUtf8(c.text));
    EXPECT_EQ(tray.target, QString::fromUtf8(c.target));
    EXPECT_EQ(tray.toolTip, gAppCaption);
    EXPECT_EQ(tray.menuCaption, u"Info..."_s);
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
    std::vector<udtBlockedFormat> blocked = DefaultBlockedFormats();
    blocked.erase(blocked.begin()); // its empty row 0
    BlockedFormats.assign(std::move(blocked));
    Notify = 1;
    NotifySound = false;

    user.answerMsgBoxEx(2);
    NotifyUser(kOne, u"Anna"_s, QString());
    user.answerMsgBoxEx(2);
    NotifyUser({u"b.exe|/data/in/b.exe"_s}, u"Anna"_s, QString());
    user.answerMsgBoxEx(2);
    NotifyUser(kTwo, u"Anna"_s, QString()); // several: the folder, no format test
    user.answerMsgBoxEx(1);
    NotifyUser(kOne, u"Anna"_s, QString());

    EXPECT_EQ(user.opened(), QStringList({u"/data/in/Scan 1.pdf"_s, u"/data/in/"_s}));
    const auto boxes = user.questions(Kind::MessageBox);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].prompt, u"Dateien dieses Typs sind blockiert und können nicht "
                               "ausgeführt oder geöffnet werden!"_s);
    EXPECT_EQ(boxes[0].icon, 16);
    EXPECT_EQ(user.beeps(), 5); // one per box, one for the blocked file
    EXPECT_TRUE(user.sounds().isEmpty());
}

TEST_F(EngineTest, NothingSavedIsSilentUnlessOnlyTheSoundIsOn) {
    NotifySound = true;
    for (int mode : {1, 2}) {
        Notify = static_cast<int16_t>(mode);
        NotifyUser({}, u"Anna"_s, QString());
    }
    EXPECT_TRUE(user.transcript().isEmpty());

    Notify = 0;
    NotifyUser({}, u"Anna"_s, QString());
    EXPECT_EQ(user.sounds(), QStringList{SoundFilePath(u"Moog 1"_s)});
    EXPECT_TRUE(user.questions().empty());

    NotifySound = false;
    NotifyUser(kOne, u"Anna"_s, QString());
    EXPECT_EQ(user.transcript().size(), 1);
}

TEST_F(EngineTest, TheSoundReplacesTheBeepOfTheBox) {
    Notify = 1;
    NotifySound = true;
    SoundName = u"Chime"_s;
    NotifyUser(kOne, u"Anna"_s, QString());
    EXPECT_EQ(user.sounds(), QStringList{SoundFilePath(u"Chime"_s)});
    EXPECT_TRUE(SoundFilePath(u"Chime"_s).endsWith(u"/Sounds/Chime.wav"_s));
    EXPECT_EQ(user.beeps(), 0);
}

TEST_F(EngineTest, RulesNotifyInRealRunsAndInTestRunsOnlyWhenAsked) {
    Notify = 1;
    NotifySound = false;
    udtRule& rule = addRule(u"R"_s);
    rule.Notify = vbTrue;
    const auto notes = [&] {
        int n = 0;
        for (const auto& q : user.questions(Kind::MsgBoxEx))
            n += q.title.endsWith(u"Neuer Anhang:"_s);
        return n;
    };

    addMail(u"m"_s, {u"a.pdf"_s});
    runFolder(true);
    EXPECT_EQ(notes(), 0);
    TestNotifies = true;
    runFolder(true); // the target need not exist
    EXPECT_EQ(notes(), 1);
    runFolder(false);
    EXPECT_EQ(notes(), 2);
    addMail(u"n"_s, {u"b.pdf"_s});
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
              QStringList({u"main 1  0.00"_s, u"main 1 50% 0.50"_s, u"main 1 33% 0.33"_s,
                           u"main 0  0.00"_s, u"sub 1 0.00"_s, u"sub 1 0.75"_s, u"sub 0 0.00"_s}));
}

// The fixed texts are checked where the watchers and commands show them; here the dated ones.
TEST_F(EngineTest, LastActionTextsCarryTheDate) {
    EXPECT_TRUE(QRegularExpression(
                    u"^Ausführung für 'Inbox', \\w+, \\d+\\. \\w+ \\d{4}, \\d{1,2}:\\d\\d$"_s)
                    .match(LastActionRealRun(u"Inbox"_s))
                    .hasMatch());
    CurrLang = 1;
    EXPECT_TRUE(LastActionTestRun(u"Inbox"_s).startsWith(u"Test run on 'Inbox', "_s));
    EXPECT_TRUE(LastActionFlagsReset(u"Inbox"_s).startsWith(u"Flags resetted for 'Inbox', "_s));
}
