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

TEST_F(Shell, WaitSecondsWithNoTimePumpsOnce) {
    for (float seconds : {0.0f, -3.0f}) {
        ui.pumps = 0;
        EXPECT_FALSE(WaitSeconds(seconds)) << seconds;
        EXPECT_EQ(ui.pumps, 1) << seconds;
    }
}

TEST_F(Shell, WaitSecondsPumpsUntilTheTimeHasPassed) {
    ScriptedClock clock{{100.0, 100.2, 100.4, 100.49, 100.5, 100.7}};
    const OpError err = WaitSeconds(0.5f, std::ref(clock));
    EXPECT_FALSE(err);
    EXPECT_EQ(ui.pumps, 4); // one pump before each reading up to 100.5
    EXPECT_EQ(clock.calls, 5);
}

TEST_F(Shell, WaitSecondsAcrossMidnightEndsWithAnOverflow) {
    ScriptedClock clock{{86399.5, 86399.9, 0.2, 0.6}};
    const OpError err = WaitSeconds(1.0f, std::ref(clock));
    EXPECT_EQ(err.number, ErrNo::Overflow);
    EXPECT_EQ(ui.pumps, 2); // the pump comes before the check
}
} // namespace
