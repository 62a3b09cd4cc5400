#include "BeaconryKit/platform/UnsentLimit.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace pelorin {

void limitUnsent(qintptr descriptor, int bytes) {
    setsockopt(static_cast<int>(descriptor), IPPROTO_TCP, TCP_NOTSENT_LOWAT, &bytes, sizeof bytes);
}

} // namespace pelorin
