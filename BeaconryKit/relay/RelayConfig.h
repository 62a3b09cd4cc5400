#pragma once

#include <QString>

namespace pelorin {

/// What is needed to speak to a relay, as it stands in the settings (nothing trimmed).
struct RelayConfig {
    /// The relay's base address.
    QString url;
    /// The token that authorises this computer there. It never goes into an address or a log.
    QString token;

    bool operator==(const RelayConfig&) const = default;
};

} // namespace pelorin
