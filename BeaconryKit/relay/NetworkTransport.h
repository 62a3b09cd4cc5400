#pragma once

#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/relay/HTTPTransport.h"
#include "BeaconryKit/relay/SocketTransport.h"

#include <QtGlobal>

#include <chrono>
#include <memory>

namespace pelorin {

/// HTTP requests and WebSockets over the network, on a thread of their own, which comes into being with the first of
/// them.
///
/// The system's proxies and certificate authorities count (see `tlsTrust`); a certificate that does not hold refuses
/// the connection. Addresses of this machine are never reached through a proxy. Redirects are followed within the same
/// origin (scheme, host and port) only, so that neither the token nor what is sent ever goes to somebody else. Nothing
/// is looked up for a reserved name (see `isReservedName`): it fails at once. What was refused is said in the log
/// category `pelorin.relay`.
///
/// Owned by the application, made after the application object and destroyed before it, on the main thread; those who
/// use it are to be destroyed first.
class NetworkTransport final : public HTTPTransport, public SocketTransport {
public:
    struct Limits {
        /// The longest reply to a request, in bytes; a longer one counts as none.
        qint64 reply = 1'048'576;
        /// The longest message from a WebSocket, in bytes; a longer one ends the connection. As much may wait in a
        /// connection that nobody asks for messages.
        qint64 message = 1'048'576;
        /// How many bytes may wait to be sent on a WebSocket; what comes on top is dropped. A peer that sends pings and
        /// reads nothing until twice as much waits is left.
        qint64 backlog = 8'388'608;
        /// How many bytes may wait on a WebSocket for what is sent in turn to follow.
        qint64 room = 65'536;
        /// How long a newer request of a queue waits for one that is under way before it takes its place.
        std::chrono::milliseconds lanePatience{2000};
    };

    NetworkTransport();
    explicit NetworkTransport(const Limits& limits);
    /// Ends what is under way: requests are completed without a reply, connections are closed without a word.
    ~NetworkTransport() override;

    void send(const HTTPRequest& request, HTTPCompletion completion = {}) override;
    std::shared_ptr<SocketTask> makeTask(const SocketRequest& request) override;

private:
    class Core;
    class Task;

    std::shared_ptr<Core> core();

    const Limits m_limits;
    // Null before the first use.
    Guarded<std::shared_ptr<Core>> m_core;
};

} // namespace pelorin
