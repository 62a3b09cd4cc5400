#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/HTTPTransport.h"

#include <QString>

#include <functional>
#include <optional>

namespace pelorin {

/// Obtains a token from a relay, so that the user need not make one by hand. Keeps no state: several requests may be
/// under way. Lives on the main thread.
class RelayProvisioner {
public:
    /// Takes the token (without blanks at its ends, never empty), or nothing when none came.
    using Completion = std::function<void(const std::optional<QString>& token)>;

    /// How long the whole request may take.
    static constexpr std::chrono::seconds timeout{12};

    /// Both must outlive the provisioner and the requests that it has under way.
    RelayProvisioner(Dispatch& dispatch, HTTPTransport& transport);

    /// The name under which this computer introduces itself: its own, else "Mac".
    static QString deviceName();
    /// The same for a computer of that name, or of none.
    static QString deviceName(const std::optional<QString>& computersName);

    /// Asks the relay at `url` for a token for a computer of that name. `completion` is called exactly once, on a later
    /// turn of the main queue. The reply's status does not matter, a token in it does.
    void provision(const QString& url, const QString& name, Completion completion);

private:
    Dispatch& m_dispatch;
    HTTPTransport& m_transport;
};

} // namespace pelorin
