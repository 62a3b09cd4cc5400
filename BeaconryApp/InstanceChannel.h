#pragma once

#include <QByteArray>

#include <chrono>
#include <functional>
#include <memory>

namespace pelorin {

/// How a copy of the program that the user starts reaches the one that runs already: to bring its manager window
/// forward, where there is no status item or none in sight. Copies of one user that listen on the same port reach each
/// other, whether or not there is a display or a session bus; nothing is left on the disk, however they end. The one
/// that runs owns a channel. Lives on the main thread.
class InstanceChannel {
public:
    /// Is handed what lets a window come to the front on desktops that guard the focus (an activation token); empty
    /// where the asking copy had none. Called on a turn of its own.
    using Handler = std::function<void(const QByteArray& activationToken)>;

    /// Takes requests of other copies from now on. Nothing when there is no such channel on this system, when another
    /// copy has it, and for port 0, on which copies don't meet.
    static std::unique_ptr<InstanceChannel> listen(quint16 port, Handler onShowManager);

    /// Asks the copy that runs to show its manager window. Whether there is one and it has taken the request. Blocks
    /// until then, no longer than about the limit when the other one hangs; needs no application object.
    static bool askToShowManager(quint16 port, const QByteArray& activationToken,
                                 std::chrono::milliseconds limit = std::chrono::seconds(1));

    virtual ~InstanceChannel() = default;
    InstanceChannel(const InstanceChannel&) = delete;
    InstanceChannel& operator=(const InstanceChannel&) = delete;

protected:
    InstanceChannel() = default;
};

} // namespace pelorin
