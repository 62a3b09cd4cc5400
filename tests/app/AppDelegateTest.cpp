#include "tests/app/DelegateFixture.h"

#include "BeaconryKit/relay/RelayMessages.h"

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

TEST_F(AppDelegateTest, TheManagerWindowNeedsADisplay) {
    delegate.openManager();
    choose(MenuAction::openManager);
    EXPECT_EQ(statusItem.icon->symbol, "bell");
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
