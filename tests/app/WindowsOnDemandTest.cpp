#include "tests/app/RecordedMachine.h"
#include "tests/app/ShownWindows.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/FakeSocketTransport.h"
#include "tests/support/MemoryUserDefaults.h"

#include <QTcpSocket>
#include <gtest/gtest.h>

namespace pelorin {
namespace {

/// The whole application on a screen of its own.
class WindowsOnDemand : public ::testing::Test, public RecordedMachine {
protected:
    explicit WindowsOnDemand(const QJsonObject& settings = {}) : defaults(settings) {}
    void SetUp() override { ASSERT_EQ(delegate.start(0, Display::present), std::nullopt); }

    void post(QTcpSocket& socket, const QByteArray& path, const QByteArray& body) const {
        socket.connectToHost(QStringLiteral("127.0.0.1"), delegate.port());
        socket.write("POST " + path + " HTTP/1.1\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" +
                     body);
    }
    /// Asks as a hook does, and goes on waiting.
    void ask(const QByteArray& body = R"({"session_id":"s","request_id":"r","tool_name":"Bash","tmux_pane":"%3"})") {
        post(hook, "/permission", body);
        ASSERT_TRUE(eventually([&] { return statusItem.icon->title == QStringLiteral(" 1"); }));
    }
    void choose(MenuAction action) { statusItem.handlers.onTriggered(action, {}); }
    bool isSilent() const { return statusItem.icon->symbol == QStringLiteral("bell.slash"); }

    const std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    MemoryUserDefaults defaults;
    FakeHTTPTransport http;
    FakeSocketTransport sockets{*dispatch};
    AppDelegate delegate{with(*dispatch, defaults, http, sockets)};
    QTcpSocket hook;
};

TEST_F(WindowsOnDemand, ThePanelIsMadeForTheFirstAsk) {
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    ask();
    EXPECT_TRUE(eventually([] { return shownWindow(panelTitle) != nullptr; }));
    EXPECT_EQ(QGuiApplication::allWindows().size(), 1);
}

TEST_F(WindowsOnDemand, ATerminalThatCannotBeBroughtForwardIsToldOf) {
    QTcpSocket start;
    post(start, "/register", R"({"session_id":"s","label":"api","helper_version":1})");
    ASSERT_TRUE(eventually([&] { return start.bytesAvailable() > 0; }));
    ask(R"({"session_id":"s","request_id":"r","tool_name":"Bash","helper_version":1})");
    EXPECT_TRUE(clickUntil(panelTitle, QStringLiteral("Jump"), [] {
        QQuickWindow* const panel = shownWindow(panelTitle);
        return panel &&
               findItem(panel->contentItem(), QStringLiteral("The terminal of “api” could not be brought forward."));
    }));
    // The question is the terminal's all the same.
    EXPECT_TRUE(eventually([&] { return hook.bytesAvailable() > 0; }));
}

/// With a relay, asks wait for an answer also while nothing is shown.
class WindowsOnDemandWithARelay : public WindowsOnDemand {
protected:
    WindowsOnDemandWithARelay() : WindowsOnDemand({{"relayURL", "https://relay.test"}, {"relayToken", "secret"}}) {}
};

TEST_F(WindowsOnDemandWithARelay, WhileSilentNoPanelIsMade) {
    choose(MenuAction::toggleSilentMode);
    ASSERT_TRUE(eventually([&] { return isSilent(); }));
    ask();
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    choose(MenuAction::toggleSilentMode);
    EXPECT_TRUE(eventually([] { return shownWindow(panelTitle) != nullptr; }));
}

/// Asks wait as shortly as the settings allow.
class WindowsOfShortWaits : public WindowsOnDemand {
protected:
    WindowsOfShortWaits() : WindowsOnDemand({{"decisionWaitSeconds", 5}}) {}
};

TEST_F(WindowsOfShortWaits, AnUnfoldedRowExpiresAsAnyOther) {
    runner.result = QStringLiteral("Do you want to proceed?\n❯ 1. Yes\n  2. No");
    ask();
    const auto isOnPanel = [](const char* name) {
        QQuickWindow* const panel = shownWindow(panelTitle);
        return panel && findItem(panel->contentItem(), QString::fromUtf8(name));
    };
    ASSERT_TRUE(clickUntil(panelTitle, QStringLiteral("Show details"), [&] { return isOnPanel("Hide details"); }));
    ASSERT_TRUE(isOnPanel("Allow"));
    EXPECT_TRUE(eventually([&] { return hook.bytesAvailable() > 0; }));
    EXPECT_TRUE(eventually([&] { return !isOnPanel("Allow") && !isOnPanel("Deny"); }));
    EXPECT_EQ(statusItem.icon->title, QStringLiteral(" 1"));
}

TEST_F(WindowsOnDemand, TheManagerIsMadeWhenItIsOpened) {
    EXPECT_TRUE(QGuiApplication::allWindows().isEmpty());
    choose(MenuAction::openManager);
    EXPECT_TRUE(eventually([] { return shownWindow(managerTitle) != nullptr; }));
    EXPECT_EQ(QGuiApplication::allWindows().size(), 1);
}

} // namespace
} // namespace pelorin
