#include "BeaconryBase/SocketOwner.h"

#include "tests/support/OtherUser.h"
#include "tests/support/TestDescriptor.h"

#include <gmock/gmock.h>

#include <netinet/in.h>
#include <sys/socket.h>

namespace pelorin {
namespace {

sockaddr_in addressOf(std::uint32_t host, std::uint16_t port = 0) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}

TestDescriptor boundSocket(const sockaddr_in& address) {
    TestDescriptor descriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    setsockopt(descriptor.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    EXPECT_EQ(bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return descriptor;
}

TestDescriptor listener(std::uint32_t host = INADDR_LOOPBACK, std::uint16_t port = 0) {
    TestDescriptor descriptor = boundSocket(addressOf(host, port));
    EXPECT_EQ(listen(descriptor.get(), 8), 0);
    return descriptor;
}

std::uint16_t portOf(const TestDescriptor& descriptor) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    EXPECT_EQ(getsockname(descriptor.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
    return ntohs(address.sin_port);
}

bool connectTo(const TestDescriptor& client, std::uint16_t port) {
    const sockaddr_in address = addressOf(INADDR_LOOPBACK, port);
    return connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

TestDescriptor clientOf(const TestDescriptor& service) {
    TestDescriptor client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_TRUE(connectTo(client, portOf(service)));
    return client;
}

TestDescriptor accept(const TestDescriptor& service) {
    return TestDescriptor(accept4(service.get(), nullptr, nullptr, SOCK_CLOEXEC));
}

void closeWithReset(TestDescriptor& descriptor) {
    const linger option{1, 0};
    setsockopt(descriptor.get(), SOL_SOCKET, SO_LINGER, &option, sizeof option);
    descriptor.close();
}

class SocketOwnersTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!owners.tellsOf(service.get()))
            GTEST_SKIP() << "This system does not tell whose a socket is.";
    }

    SocketOwners owners;
    TestDescriptor service = listener();
};

TEST_F(SocketOwnersTest, KnowsBothEndsOfThisUsersConnection) {
    const TestDescriptor client = clientOf(service);
    EXPECT_TRUE(owners.tellsOf(client.get()));
    const TestDescriptor accepted = accept(service);
    EXPECT_EQ(owners.ofListener(portOf(service)), SocketOwner::trusted);
    EXPECT_EQ(owners.ofPeer(client.get()), SocketOwner::trusted);
    EXPECT_EQ(owners.ofPeer(accepted.get()), SocketOwner::trusted);
}

TEST_F(SocketOwnersTest, KnowsAListenerOnAllAddresses) {
    const TestDescriptor everywhere = listener(INADDR_ANY);
    EXPECT_TRUE(owners.tellsOf(everywhere.get()));
    EXPECT_EQ(owners.ofListener(portOf(everywhere)), SocketOwner::trusted);
}

TEST_F(SocketOwnersTest, KnowsAPeerWithTheOtherKindOfAddress) {
    const TestDescriptor client(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!client.isOpen())
        GTEST_SKIP() << "This system has no IPv6.";
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(portOf(service));
    address.sin6_addr = {{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 127, 0, 0, 1}}};
    ASSERT_EQ(connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(owners.ofPeer(accept(service).get()), SocketOwner::trusted);
}

TEST_F(SocketOwnersTest, TakesAnEndThatNobodyHasForNobodys) {
    TestDescriptor client = clientOf(service);
    EXPECT_EQ(owners.ofPeer(client.get()), SocketOwner::nobody) << "not accepted yet";
    const TestDescriptor accepted = accept(service);
    client.close();
    EXPECT_EQ(owners.ofPeer(accepted.get()), SocketOwner::nobody) << "closed in good order";
    TestDescriptor second = clientOf(service);
    const TestDescriptor acceptedSecond = accept(service);
    closeWithReset(second);
    EXPECT_EQ(owners.ofPeer(acceptedSecond.get()), SocketOwner::nobody) << "reset";
    const std::uint16_t port = portOf(service);
    service.close();
    EXPECT_EQ(owners.ofListener(port), SocketOwner::nobody);
}

TEST_F(SocketOwnersTest, TakesNoListenerForThePeerThatWasThere) {
    // Somebody connects from the port that another program listens on, and leaves.
    TestDescriptor client = boundSocket(addressOf(INADDR_LOOPBACK + 1));
    const std::uint16_t port = portOf(client);
    ASSERT_TRUE(connectTo(client, portOf(service)));
    const TestDescriptor accepted = accept(service);
    closeWithReset(client);
    const TestDescriptor other = listener(INADDR_ANY, port);
    EXPECT_EQ(owners.ofListener(port), SocketOwner::trusted);
    EXPECT_EQ(owners.ofPeer(accepted.get()), SocketOwner::nobody);
}

TEST_F(SocketOwnersTest, TellsAnotherUsersSocketsFromThisOnes) {
    if (!canBeOtherUser())
        GTEST_SKIP() << "Only root can be another user.";
    TestDescriptor foreignService;
    TestDescriptor foreignClient;
    {
        const AsOtherUser user;
        foreignService = listener();
        foreignClient = clientOf(service);
    }
    EXPECT_EQ(owners.ofListener(portOf(foreignService)), SocketOwner::anotherUser);
    EXPECT_EQ(owners.ofPeer(accept(service).get()), SocketOwner::anotherUser);
    const TestDescriptor client = clientOf(foreignService);
    TestDescriptor accepted;
    {
        const AsOtherUser user;
        accepted = accept(foreignService);
    }
    EXPECT_EQ(owners.ofPeer(client.get()), SocketOwner::anotherUser);
}

TEST(SocketOwners, TellsNothingOfWhatIsNoSocket) {
    const SocketOwners owners;
    EXPECT_FALSE(owners.tellsOf(0));
    EXPECT_FALSE(owners.tellsOf(-1));
    EXPECT_EQ(owners.ofPeer(-1), SocketOwner::nobody);
}

} // namespace
} // namespace pelorin
