#include "common/folders.h"
#include "common/lang.h"
#include "common/shell.h"
#include "common/wait.h"
#include "recording_ui.h"
#include "support/test_env.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Qt::StringLiterals;

namespace {
class Shell : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        ui.install();
    }
    RecordingUi ui;
};

TEST_F(Shell, OpenWithShellHandsTheTargetToTheDesktop) {
    OpenWithShell(u"/home/u/Mail Files/plan.pdf"_s);
    EXPECT_EQ(ui.opened, QStringList{u"/home/u/Mail Files/plan.pdf"_s});
    EXPECT_EQ(ui.pumps, 1);
    EXPECT_EQ(ui.beeps, 0);
    EXPECT_TRUE(ui.boxes.empty());
}

TEST_F(Shell, AFailedOpenBeepsAndSaysSoInGermanOnly) {
    ui.openSucceeds = false;
    CurrLang = 1;
    OpenWithShell(u"/nowhere/x.pdf"_s);
    EXPECT_EQ(ui.beeps, 1);
    ASSERT_EQ(ui.boxes.size(), 1u);
    EXPECT_EQ(ui.boxes[0].prompt, u"Client konnte nicht gestartet werden..."_s);
    EXPECT_EQ(ui.boxes[0].buttons, MsgButtons::OK);
    EXPECT_EQ(ui.boxes[0].icon, MsgIcon::Information);
    EXPECT_EQ(ui.boxes[0].title, u"!!! Problem !!!"_s);
}

TEST_F(Shell, NotAvailableInBothLanguages) {
    CurrLang = 0;
    ShowNotAvailable();
    CurrLang = 1;
    ShowNotAvailable();
    EXPECT_EQ(ui.beeps, 2);
    ASSERT_EQ(ui.boxes.size(), 2u);
    EXPECT_EQ(ui.boxes[0].prompt, u"Funktion noch nicht freigegeben..."_s);
    EXPECT_EQ(ui.boxes[1].prompt, u"Function not available yet..."_s);
    for (const ShownBox& box : ui.boxes) {
        EXPECT_EQ(box.icon, MsgIcon::Exclamation);
        EXPECT_EQ(box.title, u"Quillworks Stowaway v2.50"_s);
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
        ui.pumps = 0;
        ScriptedClock clock{c.readings};
        const OpError err = WaitSeconds(c.seconds, std::ref(clock));
        EXPECT_EQ(bool(err), c.overflow) << c.seconds;
        if (c.overflow) {
            EXPECT_EQ(err.number, ErrNo::Overflow);
        }
        EXPECT_EQ(ui.pumps, c.pumps) << c.seconds;
        EXPECT_EQ(clock.calls, c.calls) << c.seconds;
    }
}
} // namespace
