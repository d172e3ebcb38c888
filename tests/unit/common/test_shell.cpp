#include "common/lang.h"
#include "common/shell.h"
#include "common/wait.h"
#include "fakes/scripted_ui.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

using namespace Qt::StringLiterals;

namespace {
class Shell : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        SetUserInteraction(&ui);
    }
    ScriptedUserInteraction ui;
};

TEST_F(Shell, OpenHandsTheTargetToTheDesktopAndAFailureOrTheUnavailableBeepsAndSays) {
    OpenWithShell(u"/home/u/Mail Files/plan.pdf"_s);
    EXPECT_EQ(ui.opened(), QStringList{u"/home/u/Mail Files/plan.pdf"_s});
    EXPECT_EQ(ui.pumps(), 1);
    EXPECT_EQ(ui.beeps(), 0);
    EXPECT_TRUE(ui.questions().empty());

    const struct {
        const char* what;
        int lang;
        std::function<void()> call;
        QString prompt;
        MsgIcon icon;
        QString title;
    } rows[] = {
        // A failed open keeps its German first line and says what was tried and why.
        {"failed open", 1,
         [&] {
             ui.opens = false;
             OpenWithShell(u"/nowhere/x.pdf"_s);
         },
         u"Client konnte nicht gestartet werden...\n\nTried: open with the desktop's program "
         u"(xdg-open): /nowhere/x.pdf\nReason: the desktop gave no reason"_s,
         MsgIcon::Information, u"!!! Problem !!!"_s},
        {"not available", 0, ShowNotAvailable, u"Funktion noch nicht freigegeben..."_s,
         MsgIcon::Exclamation, u"Quillworks Stowaway v2.50"_s},
        {"not available", 1, ShowNotAvailable, u"Function not available yet..."_s,
         MsgIcon::Exclamation, u"Quillworks Stowaway v2.50"_s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        CurrLang = uint8_t(row.lang);
        const int beeps = ui.beeps();
        row.call();
        EXPECT_EQ(ui.beeps(), beeps + 1);
        const AskedQuestion& box = ui.questions().back();
        EXPECT_EQ(box.prompt, row.prompt);
        EXPECT_EQ(box.boxButtons, MsgButtons::OK);
        EXPECT_EQ(box.icon, int(row.icon));
        EXPECT_EQ(box.title, row.title);
    }
}

// A clock that answers the given readings in turn and then stays at the last one.
struct ScriptedClock {
    std::vector<double> readings;
    size_t next = 0;
    int calls = 0;
    double operator()() {
        ++calls;
        const double value = readings[std::min(next, readings.size() - 1)];
        ++next;
        return value;
    }
};

TEST_F(Shell, WaitSecondsPumpsUntilTheTimeHasPassed) {
    const struct {
        float seconds;
        std::vector<double> readings;
        int pumps; // one before each reading after the first, so one for no time at all
        int calls;
        bool overflow;
    } cases[] = {
        {0.0f, {100.0}, 1, 2, false},
        {-3.0f, {100.0}, 1, 2, false},
        {0.5f, {100.0, 100.2, 100.4, 100.49, 100.5, 100.7}, 4, 5, false},
        {1.0f, {86399.5, 86399.9, 0.2, 0.6}, 2, 3, true}, // across midnight
    };
    for (const auto& c : cases) {
        const int pumps = ui.pumps();
        ScriptedClock clock{c.readings};
        const OpError err = WaitSeconds(c.seconds, std::ref(clock));
        EXPECT_EQ(bool(err), c.overflow) << c.seconds;
        if (c.overflow) {
            EXPECT_EQ(err.number, ErrNo::Overflow);
        }
        EXPECT_EQ(ui.pumps() - pumps, c.pumps) << c.seconds;
        EXPECT_EQ(clock.calls, c.calls) << c.seconds;
    }
}
} // namespace
