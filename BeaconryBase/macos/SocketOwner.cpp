#include "BeaconryBase/SocketOwner.h"

namespace pelorin {

SocketOwners::SocketOwners() = default;

bool SocketOwners::tellsOf(int) const {
    return false;
}

SocketOwner SocketOwners::ofPeer(int) const {
    return SocketOwner::nobody;
}

SocketOwner SocketOwners::ofListener(std::uint16_t) const {
    return SocketOwner::nobody;
}

} // namespace pelorin
