#include "BeaconryKit/platform/PeerWatch.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace pelorin {

namespace {

void setOption(qintptr descriptor, int level, int option, int value) {
    setsockopt(static_cast<int>(descriptor), level, option, &value, sizeof value);
}

} // namespace

void watchForVanishedPeer(qintptr descriptor) {
    setOption(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
#if defined(TCP_KEEPIDLE)
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPIDLE, 30);
#elif defined(TCP_KEEPALIVE)
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPALIVE, 30);
#endif
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, 10);
    setOption(descriptor, IPPROTO_TCP, TCP_KEEPCNT, 3);
#if defined(TCP_USER_TIMEOUT)
    setOption(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, 60'000);
#endif
}

} // namespace pelorin
