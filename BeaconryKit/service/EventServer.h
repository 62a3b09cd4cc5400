#pragma once

#include "BeaconryKit/service/DecisionRouter.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// A hook that is waiting for its reply, as the handler of a request sees it.
struct WaitingHook {
    /// Sends the one reply and closes the connection. May be called from any thread, at any later time; further calls
    /// do nothing, and neither does a call after the peer or the server has gone. When the last copy goes without a
    /// call, the connection stays until its peer closes.
    Respond respond;
    /// Asks to be told, at most once and on any thread, when the peer resets the connection before the reply. A peer
    /// that only ends its sending side is still waiting. May be called from any thread.
    std::function<void(std::function<void()> onGone)> whenGone;
};

/// The door for hook scripts: an HTTP server on the loopback interface that takes one request a connection, hands it to
/// one handler and sends the one reply that the handler supplies, whenever it chooses to. Every reply has status 200.
/// Where the system tells whose a connection is, it serves its own user and root, and closes all others in silence.
/// Requests that are not complete keep 64 MB together at the most: those that began first are closed to make room, and
/// also when descriptors run short. Owned by the application; `start`, `stop` and the destructor belong to the main
/// thread.
class EventServer {
public:
    enum class ServerError {
        /// The listener was not ready within the start-up wait, or could not listen at all.
        notReady
    };

    /// Called on the server's queue once per complete request. It must not block.
    using Handler = std::function<void(const QByteArray& path, const QByteArray& body, const WaitingHook& hook)>;

    /// Listens on nothing yet. `port` 0 lets the system choose. With `loopbackOnly` false the server would be open to
    /// the network; the application always passes true.
    EventServer(quint16 port, bool loopbackOnly, Handler handler);
    /// Closes every connection.
    ~EventServer();
    EventServer(const EventServer&) = delete;
    EventServer& operator=(const EventServer&) = delete;

    /// Starts listening. Returns once the listener is ready, or with the error after at most 3 seconds.
    [[nodiscard]] std::optional<ServerError> start();

    /// Stops listening. Open connections are left to finish.
    void stop();

    /// The port that is listened on; 0 before `start`.
    quint16 port() const;

    /// How many connections are open. Any thread.
    int connectionCount() const;

private:
    class Core;
    std::shared_ptr<Core> m_core;
};

/// The error's name, as it stands in messages for the user: "notReady".
QString description(EventServer::ServerError error);

} // namespace pelorin
