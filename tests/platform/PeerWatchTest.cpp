#include "BeaconryKit/platform/PeerWatch.h"

#include <asio.hpp>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

using asio::ip::tcp;

int option(tcp::socket& socket, int level, int name) {
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(socket.native_handle(), level, name, &value, &size);
    return value;
}

TEST(PeerWatch, LetsTheSystemProbeAQuietPeer) {
    asio::io_context context;
    tcp::acceptor acceptor(context, {asio::ip::address_v4::loopback(), 0});
    tcp::socket socket(context);
    socket.connect(acceptor.local_endpoint());
    ASSERT_EQ(option(socket, SOL_SOCKET, SO_KEEPALIVE), 0);
    watchForVanishedPeer(socket.native_handle());
    EXPECT_NE(option(socket, SOL_SOCKET, SO_KEEPALIVE), 0);
    EXPECT_EQ(option(socket, IPPROTO_TCP, TCP_KEEPINTVL), 10);
    EXPECT_EQ(option(socket, IPPROTO_TCP, TCP_KEEPCNT), 3);
#if defined(TCP_KEEPIDLE)
    EXPECT_EQ(option(socket, IPPROTO_TCP, TCP_KEEPIDLE), 30);
#endif
#if defined(TCP_USER_TIMEOUT)
    EXPECT_EQ(option(socket, IPPROTO_TCP, TCP_USER_TIMEOUT), 60'000);
#endif
}

TEST(PeerWatch, LeavesWhatIsNoSocketAlone) {
    watchForVanishedPeer(-1);
    EXPECT_EQ(errno, EBADF);
}

} // namespace
} // namespace pelorin
