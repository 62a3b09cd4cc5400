#pragma once

#include <QByteArray>

#include <chrono>
#include <functional>
#include <memory>

namespace pelorin {

/// Lets a second copy of the program, which the user starts, ask the running copy to bring its manager window forward:
/// the way in where there is no status item, or none in sight. Copies of one user that listen on the same port reach
/// each other, with or without a display or a session bus. Nothing is left on the disk, however they end. The running
/// copy owns a channel. Lives on the main thread.
class InstanceChannel {
public:
    /// Takes the asking copy's activation token, which lets a window come to the front on desktops that guard the
    /// focus; empty where that copy had none. Called on a turn of its own.
    using Handler = std::function<void(const QByteArray& activationToken)>;

    /// Takes requests of other copies from now on. Nothing when this system has no such channel, when another copy has
    /// it, and for port 0, on which copies don't meet.
    static std::unique_ptr<InstanceChannel> listen(quint16 port, Handler onShowManager);

    /// Asks the running copy to show its manager window. True when there is one and it has taken the request. Blocks
    /// until then, but for about `limit` at the most. Needs no application object.
    static bool askToShowManager(quint16 port, const QByteArray& activationToken,
                                 std::chrono::milliseconds limit = std::chrono::seconds(1));

    virtual ~InstanceChannel() = default;
    InstanceChannel(const InstanceChannel&) = delete;
    InstanceChannel& operator=(const InstanceChannel&) = delete;

protected:
    InstanceChannel() = default;
};

} // namespace pelorin
