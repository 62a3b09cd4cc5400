#include "BeaconryApp/AppDelegate.h"
#include "tests/app/ShownWindows.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/FakeSocketTransport.h"
#include "tests/support/FakeStatusItem.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/TestProcess.h"
#include "tests/support/TmuxServer.h"

#include "BeaconryKit/platform/WindowRaiser.h"
#include "BeaconryKit/terminal/ProcessLauncher.h"
#include "BeaconryKit/terminal/ProcessRunner.h"

#include <QFile>
#include <gtest/gtest.h>

#include <algorithm>

namespace pelorin {
namespace {

/// The whole application with its panel, a real tmux with a program that asks in one of its panes, and the real hook
/// that announces it.
class TerminalRoad : public ::testing::Test {
protected:
    void SetUp() override {
        tmux.newSession("work", "exec sleep 600");
        pane = tmux.newWindow(
            "work", QString("exec '" PELORIN_SOURCE_DIR "/tests/fixtures/programs/dialog.sh' '%1'").arg(answersPath()));
        ASSERT_TRUE(eventually([&] { return tmux.run({"capture-pane", "-p", "-t", pane}).contains("3. No"); }));
        ASSERT_EQ(delegate.start(0, Display::present), std::nullopt);
        announce();
        ASSERT_TRUE(eventually([&] { return isOnPanel("Jump"); }));
    }

    void announce() {
        QFile payload(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude/tui/Notification.permission_prompt.json");
        ASSERT_TRUE(payload.open(QIODevice::ReadOnly));
        hook = TestProcess::start({.command = {PELORIN_SOURCE_DIR "/hooks/claude-notify-hook.sh"},
                                   .environment = {"PATH=/usr/bin:/bin", "TMUX_PANE=" + pane.toStdString(),
                                                   "BEACONRY_PORT=" + std::to_string(delegate.port()),
                                                   "PELORIN_HOOK_HELPER=" PELORIN_BINARY_DIR "/pelorin-hook"},
                                   .channels = ChildOptions::Channels::sockets});
        EXPECT_TRUE(hook->writeInput(payload.readAll().toStdString()));
        hook->closeInput();
    }

    QString answersPath() const { return tmux.filePath("answers"); }
    QString answered() const {
        QFile file(answersPath());
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    /// Whether the panel shows something of that accessible name.
    static bool isOnPanel(const QString& name) {
        QQuickWindow* const panel = shownWindow(panelTitle);
        return panel && findItem(panel->contentItem(), name);
    }
    /// Whether the text stands somewhere in what is visible below the item.
    static bool says(QQuickItem* item, const QString& text) {
        const QList<QQuickItem*> children = item->childItems();
        return item->isVisible() &&
               (item->property("text").toString().contains(text) ||
                std::ranges::any_of(children, [&](QQuickItem* child) { return says(child, text); }));
    }
    bool isWithdrawn() const { return statusItem.icon->title.isEmpty(); }

    TmuxServer tmux;
    QString pane;
    const std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    MemoryUserDefaults defaults{{{"relayURL", ""}}};
    ProcessRunner runner;
    ProcessLauncher launcher;
    const std::unique_ptr<WindowRaiser> raiser = makeWindowRaiser();
    FakeHTTPTransport http;
    FakeSocketTransport sockets{*dispatch};
    StatusItemRecord statusItem;
    AppDelegate delegate{{.dispatch = *dispatch,
                          .defaults = defaults,
                          .runner = runner,
                          .launcher = launcher,
                          .raiser = *raiser,
                          .http = http,
                          .sockets = sockets,
                          .statusItem = [this] {
                              return std::make_unique<FakeStatusItem>(statusItem);
                          }}};
    std::unique_ptr<TestProcess> hook;
};

TEST_F(TerminalRoad, TheQuestionUnfoldsAndAPickReachesThePane) {
    const auto isUnfolded = [] {
        return isOnPanel("Yes") && isOnPanel("Yes, and don't ask again") && isOnPanel("No");
    };
    ASSERT_TRUE(clickUntil(panelTitle, "Show details", isUnfolded));
    EXPECT_TRUE(says(shownWindow(panelTitle)->contentItem(), "Do you want to proceed?"));
    ASSERT_TRUE(clickUntil(panelTitle, "Yes, and don't ask again", [&] { return isWithdrawn(); }));
    // The row went because the dialog had: the key was typed before, and no Return with it.
    EXPECT_EQ(answered(), "2\n");
}

TEST_F(TerminalRoad, JumpChoosesTheWindow) {
    const auto current = [&] {
        return tmux.run({"display-message", "-p", "-t", "work", "#{pane_id}"});
    };
    ASSERT_NE(current(), pane);
    EXPECT_TRUE(clickUntil(panelTitle, "Jump", [&] { return isWithdrawn(); }));
    EXPECT_TRUE(eventually([&] { return current() == pane; }));
}

} // namespace
} // namespace pelorin
