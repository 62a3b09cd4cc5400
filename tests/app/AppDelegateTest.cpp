#include "tests/app/DelegateFixture.h"
#include "tests/support/LoopbackListener.h"
#include "tests/support/OtherUser.h"

#include "BeaconryKit/relay/RelayMessages.h"

#include <QTcpSocket>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class AppDelegateTest : public DelegateFixture {
protected:
    explicit AppDelegateTest(const QJsonObject& settings = {}) : DelegateFixture(settings) {}
    void SetUp() override {
        start();
        settle();
    }
    void choose(MenuAction action) {
        statusItem.handlers.onTriggered(action, {});
        settle();
    }
};

TEST_F(AppDelegateTest, WithoutARelayNothingLeavesAndNothingRuns) {
    choose(MenuAction::toggleSilentMode);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
    dispatch.advance(600s);
    EXPECT_THAT(http.sent, IsEmpty());
    EXPECT_THAT(sockets.connections, IsEmpty());
}

TEST_F(AppDelegateTest, ListensAndShowsItsItem) {
    EXPECT_NE(delegate.port(), 0);
    ASSERT_TRUE(statusItem.icon);
    EXPECT_EQ(statusItem.icon->symbol, "bell");
    EXPECT_EQ(statusItem.menu.at(6).title, "No Active Sessions");
}

#if defined(__linux__)
TEST_F(AppDelegateTest, ListensForThisMachineAlone) {
    // All of 127.0.0.0/8 is this machine: who listens on all addresses is reached here, too.
    QTcpSocket socket;
    socket.connectToHost(QStringLiteral("127.0.0.2"), delegate.port());
    EXPECT_FALSE(socket.waitForConnected());
    EXPECT_EQ(socket.error(), QAbstractSocket::ConnectionRefusedError);
}
#endif

TEST_F(AppDelegateTest, TheManagerWindowNeedsADisplay) {
    delegate.openManager();
    choose(MenuAction::openManager);
    EXPECT_EQ(statusItem.icon->symbol, "bell");
}

class BusyPort : public DelegateFixture {
protected:
    std::optional<Alert> alertFor(const LoopbackListener& listener) {
        const auto alert = delegate.start(listener.port(), Display::absent);
        EXPECT_TRUE(alert);
        if (alert) {
            EXPECT_EQ(alert->messageText, QStringLiteral("Pelorin could not listen on port %1").arg(listener.port()));
            EXPECT_EQ(alert->informativeText, "Is another copy already running? (notReady)");
        }
        return alert;
    }
};

TEST_F(BusyPort, IsAnAlert) {
    EXPECT_EQ(alertFor(LoopbackListener())->furtherText, "");
}

TEST_F(BusyPort, IsToldToBeAnotherUsers) {
    if (!canBeOtherUser())
        GTEST_SKIP() << "Only root can be another user.";
    std::optional<LoopbackListener> listener;
    {
        const AsOtherUser user;
        listener.emplace();
    }
    EXPECT_EQ(
        alertFor(*listener)->furtherText,
        "Another user of this computer listens there. Set BEACONRY_PORT to a port of your own, for Pelorin and for "
        "your CLIs.");
}

class AppDelegateWithARelay : public AppDelegateTest {
protected:
    AppDelegateWithARelay() : AppDelegateTest({{"relayURL", "https://relay.test"}, {"relayToken", "secret"}}) {}
};

TEST_F(AppDelegateWithARelay, AChangedSettingReachesTheItemAndTheRelay) {
    ASSERT_THAT(sockets.connections, SizeIs(1));
    EXPECT_THAT(sockets.connections.front()->sent, ElementsAre(relayHello(PhoneTerminal::disabled)));
    choose(MenuAction::toggleSilentMode);
    EXPECT_EQ(statusItem.icon->symbol, "bell.slash");
    EXPECT_THAT(sockets.connections.front()->sent, SizeIs(2));
    EXPECT_THAT(sockets.connections, SizeIs(1));
}

} // namespace
} // namespace pelorin
