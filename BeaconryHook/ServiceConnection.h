#pragma once

#include "BeaconryBase/FileDescriptor.h"
#include "BeaconryHook/Deadline.h"
#include "BeaconryHook/DialogWatch.h"
#include "BeaconryHook/HttpExchange.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace pelorin::hook {

/// How long, in milliseconds, a waiting connection takes silence for no more than the user's thinking.
inline constexpr int usualSilence = 30'000;

/// A connection to the application.
class ServiceConnection {
public:
    /// Connects to the port on the loopback interface; nothing when nobody listens there, or nobody answers by the
    /// deadline, or the system says that it is neither this user nor root who listens.
    static std::optional<ServiceConnection> open(std::uint16_t port, const Deadline& deadline);

    /// Hands all bytes to the system, which carries them on even when this process has ended, unless the connection is
    /// reset then. False when they have not all been taken by the deadline.
    bool send(std::string_view bytes, const Deadline& deadline);

    /// From here on the connection is reset, and not merely closed, when this process ends, however it is ended: so the
    /// application learns that nobody waits for its reply any more. A reply that has been received undoes this. To be
    /// called before the request is sent: once the application has it, there must be no moment without this.
    void resetUnlessAnswered();

    /// Waits until the application has said something, or has closed the connection, or the time is up. Until then the
    /// system can tell the application whose the connection is.
    void awaitReply(const Deadline& deadline);

    /// Lets a wait for a decision end with `ask`, too, as soon as the watch finds the request answered. It must outlive
    /// the wait.
    void stopWhenAnswered(DialogWatch& watch) { m_watch = &watch; }

    /// Waits for the reply. Gives `ask` at the deadline, when the connection ends without a decision, and when whoever
    /// reads the answer at the other end of `answerDescriptor` has gone. After each `silence` it asks for the
    /// application's status on a second connection, and gives `ask` when as long after that there is no answer either.
    Decision awaitDecision(int answerDescriptor, const Deadline& deadline, int silence = usualSilence);

private:
    ServiceConnection(FileDescriptor socket, std::uint16_t port) : m_socket(std::move(socket)), m_port(port) {}

    std::optional<ServiceConnection> askForStatus() const;

    FileDescriptor m_socket;
    std::uint16_t m_port;
    DialogWatch* m_watch = nullptr;
};

} // namespace pelorin::hook
