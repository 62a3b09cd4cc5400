#include "tests/app/PanelPicture.h"
#include "tests/app/RunningApplication.h"
#include "tests/support/Eventually.h"
#include "tests/support/Patience.h"
#include "tests/support/wayland/SwayDesktop.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

std::vector<std::string> onDesktop(const SwayDesktop& desktop) {
    return {"WAYLAND_DISPLAY=" + desktop.socketPath()};
}

bool waitForButton(const SwayDesktop& desktop) {
    return eventually([&] { return findButton(desktop.picture(), isAllowGreen).has_value(); });
}

TEST(OnAWaylandDesktop, AClickEndsTheWaitingHookWithTheAnswer) {
    SwayDesktop desktop;
    const RunningApplication application({}, RunningApplication::Screen::none, {}, onDesktop(desktop));
    const auto hook = application.startHook("claude-permission-hook.sh", capturedPayload("PermissionRequest.Bash"));

    // A button takes no click while its row has only just come: the click is tried again until it is taken.
    const WaitLimit limit(patience);
    const auto isShown = [&] {
        return application.status().value("pendingAsks").toInt() == 1;
    };
    ASSERT_TRUE(application.waitForPendingAsks(1));
    while (isShown() && limit.remainingMilliseconds() > 0) {
        if (const auto button = findButton(desktop.picture(), isAllowGreen))
            desktop.click(*button);
    }
    EXPECT_EQ(hook->waitForExit(), exited(0));
    EXPECT_EQ(hook->output(), allowedByHook);
}

TEST(OnAWaylandDesktop, TheProgramStartsWhereThereIsNothingToTypeWith) {
    const SwayDesktop desktop(SwayDesktop::Equipment::nothing);
    RunningApplication application({}, RunningApplication::Screen::none, {}, onDesktop(desktop));
    const auto hook = application.startHook("claude-permission-hook.sh", capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(waitForButton(desktop)) << "There is no panel.";
}

TEST(OnAWaylandDesktop, TheProgramComesBackWithTheCompositor) {
    SwayDesktop desktop;
    RunningApplication application({}, RunningApplication::Screen::none, {}, onDesktop(desktop));
    const auto abandoned =
        application.startHook("claude-permission-hook.sh", capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    desktop.crash();
    EXPECT_EQ(abandoned->waitForExit(), exited(0));
    EXPECT_EQ(abandoned->output(), "");
    desktop.restart();
    ASSERT_TRUE(application.waitForPendingAsks(0));
    const auto hook = application.startHook("claude-permission-hook.sh", capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    EXPECT_TRUE(waitForButton(desktop)) << "There is no panel.";
}

TEST(OnAWaylandDesktop, TheProgramEndsWithACompositorThatStaysAway) {
    SwayDesktop desktop;
    RunningApplication application({}, RunningApplication::Screen::none, {}, onDesktop(desktop));
    const auto hook = application.startHook("claude-permission-hook.sh", capturedPayload("PermissionRequest.Bash"));
    ASSERT_TRUE(application.waitForPendingAsks(1));
    desktop.crash();
    EXPECT_EQ(application.process().waitForExit(), exited(1));
    // Without an answer the CLI asks in its terminal.
    EXPECT_EQ(hook->waitForExit(), exited(0));
    EXPECT_EQ(hook->output(), "");
}

} // namespace
} // namespace pelorin
