#include "BeaconryApp/InstanceChannel.h"

#include "tests/support/Eventually.h"
#include "tests/support/LoopbackListener.h"
#include "tests/support/Processes.h"
#include "tests/support/TestDescriptor.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <future>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace pelorin {
namespace {

/// A number that no other test uses meanwhile: this one holds the port.
class InstanceChannelTest : public ::testing::Test {
protected:
    void listen() {
        channel = InstanceChannel::listen(port(), [this](const QByteArray& token) { tokens << token; });
    }
    std::uint16_t port() const { return holder.port(); }

    /// Asks as another program would, while this one's event loop turns.
    bool ask(const QByteArray& token = {}) {
        auto answer =
            std::async(std::launch::async, [&] { return InstanceChannel::askToShowManager(port(), token, limit); });
        EXPECT_TRUE(eventually([&] { return answer.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return answer.get();
    }

    LoopbackListener holder;
    std::chrono::milliseconds limit = std::chrono::seconds(20);
    QList<QByteArray> tokens;
    std::unique_ptr<InstanceChannel> channel;
};

TEST_F(InstanceChannelTest, ReachesTheCopyThatRuns) {
    listen();
    EXPECT_TRUE(ask());
    EXPECT_TRUE(ask("a token"));
    EXPECT_TRUE(eventually([&] { return tokens.size() == 2; }));
    EXPECT_EQ(tokens, QList<QByteArray>({"", "a token"}));
}

TEST_F(InstanceChannelTest, FindsNobodyWhereNoneRuns) {
    EXPECT_FALSE(ask());
    listen();
    EXPECT_TRUE(ask());
    channel.reset();
    EXPECT_FALSE(ask());
    listen();
    EXPECT_TRUE(ask());
}

TEST_F(InstanceChannelTest, IsOneCopysAlone) {
    listen();
    ASSERT_TRUE(channel);
    EXPECT_FALSE(InstanceChannel::listen(port(), [](const QByteArray&) {}));
    EXPECT_TRUE(ask());
}

TEST_F(InstanceChannelTest, CopiesOnOtherPortsDoNotMeet) {
    listen();
    const LoopbackListener other;
    EXPECT_FALSE(InstanceChannel::askToShowManager(other.port(), {}));
    EXPECT_FALSE(InstanceChannel::listen(0, [](const QByteArray&) {}));
    EXPECT_FALSE(InstanceChannel::askToShowManager(0, {}));
}

TEST_F(InstanceChannelTest, DoesNotWaitForOneThatHangs) {
    listen();
    // Nobody turns the event loop.
    EXPECT_FALSE(InstanceChannel::askToShowManager(port(), {}, std::chrono::milliseconds(20)));
    // The request has been made; it is taken late.
    EXPECT_TRUE(eventually([&] { return tokens.size() == 1; }));
    EXPECT_TRUE(ask());
}

/// What connects to the channel and says something else, or nothing.
TestDescriptor connectTo(std::uint16_t port) {
    const std::string name = "com.pelorin.manager-" + std::to_string(geteuid()) + "-" + std::to_string(port);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, name.size());
    TestDescriptor connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    EXPECT_EQ(connect(connection.get(), reinterpret_cast<const sockaddr*>(&address),
                      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())),
              0);
    return connection;
}

TEST_F(InstanceChannelTest, IsNotHeldUpByThoseWhoAskForNothing) {
    listen();
    std::vector<TestDescriptor> silent;
    for (int i = 0; i < 40; ++i) {
        silent.push_back(connectTo(port()));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(ask());
    const TestDescriptor babbler = connectTo(port());
    EXPECT_EQ(send(babbler.get(), "hello", 5, MSG_NOSIGNAL), 5);
    char reply = 0;
    // It is hung up on.
    EXPECT_TRUE(eventually([&] { return recv(babbler.get(), &reply, 1, MSG_DONTWAIT) == 0; }));
    EXPECT_EQ(tokens.size(), 1);
}

TEST_F(InstanceChannelTest, LeavesNothingOpen) {
    const QStringList before = openDescriptors();
    listen();
    for (int i = 0; i < 40; ++i)
        EXPECT_TRUE(ask());
    channel.reset();
    EXPECT_TRUE(onlyLeavesOpen(before));
}

} // namespace
} // namespace pelorin
