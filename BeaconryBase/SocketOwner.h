#pragma once

#include "BeaconryBase/FileDescriptor.h"

#include <cstdint>

namespace pelorin {

/// Whose a socket of this machine is.
enum class SocketOwner {
    /// The user's of this process, or root's.
    trusted,
    anotherUser,
    /// There is no such socket, no process has it yet or any more, or the system does not tell.
    nobody
};

/// Asks the system about TCP sockets on the loopback interface (IPv4). Holds a descriptor of its own, and never waits.
/// Not to be used by two threads at once.
class SocketOwners {
public:
    SocketOwners();

    /// Whether the system tells of sockets at all, found out by one of this process's that listens or is connected.
    /// Only Linux does, and not every container lets it.
    bool tellsOf(int ownSocket) const;

    /// Who has the other end of this connected socket.
    SocketOwner ofPeer(int connectedSocket) const;

    /// Who takes connections to the port of 127.0.0.1.
    SocketOwner ofListener(std::uint16_t port) const;

private:
    FileDescriptor m_system;
};

} // namespace pelorin
