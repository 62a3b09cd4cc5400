#include "BeaconryApp/AppDelegate.h"
#include "tests/app/ShownWindows.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/FakeSocketTransport.h"
#include "tests/support/FakeStatusItem.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/support/RecordingRunner.h"

#include <QTcpSocket>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

/// The whole application on a screen of its own.
class WindowsOnDemand : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(delegate.start(0, Display::present), std::nullopt); }

    /// Asks as a hook does, and goes on waiting.
    void ask() {
        hook.connectToHost(QStringLiteral("127.0.0.1"), delegate.port());
        const QByteArray body = R"({"session_id":"s","request_id":"r","tool_name":"Bash"})";
        hook.write("POST /permission HTTP/1.1\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" +
                   body);
        ASSERT_TRUE(eventually([&] { return statusItem.icon->title == QStringLiteral(" 1"); }));
    }
    void choose(MenuAction action) { statusItem.handlers.onTriggered(action, {}); }
    bool isSilent() const { return statusItem.icon->symbol == QStringLiteral("bell.slash"); }

    const std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    MemoryUserDefaults defaults;
    RecordingRunner runner;
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    FakeHTTPTransport http;
    FakeSocketTransport sockets{*dispatch};
    StatusItemRecord statusItem;
    AppDelegate delegate{{.dispatch = *dispatch,
                          .defaults = defaults,
                          .runner = runner,
                          .launcher = launcher,
                          .raiser = raiser,
                          .http = http,
                          .sockets = sockets,
                          .statusItem = [this] {
                              return std::make_unique<FakeStatusItem>(statusItem);
                          }}};
    QTcpSocket hook;
};

TEST_F(WindowsOnDemand, ThePanelIsMadeForTheFirstAsk) {
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    ask();
    EXPECT_TRUE(eventually([] { return shownWindow(panelTitle) != nullptr; }));
    EXPECT_EQ(QGuiApplication::allWindows().size(), 1);
}

TEST_F(WindowsOnDemand, WhileSilentNoPanelIsMade) {
    choose(MenuAction::toggleSilentMode);
    ASSERT_TRUE(eventually([&] { return isSilent(); }));
    ask();
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    choose(MenuAction::toggleSilentMode);
    EXPECT_TRUE(eventually([] { return shownWindow(panelTitle) != nullptr; }));
}

TEST_F(WindowsOnDemand, TheManagerIsMadeWhenItIsOpened) {
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    choose(MenuAction::openManager);
    EXPECT_TRUE(eventually([] { return shownWindow(managerTitle) != nullptr; }));
    EXPECT_EQ(QGuiApplication::allWindows().size(), 1);
}

} // namespace
} // namespace pelorin
