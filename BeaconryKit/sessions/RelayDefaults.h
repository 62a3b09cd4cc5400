#pragma once

#include <QString>

namespace pelorin {

/// The relay's built-in values, which both the settings and the relay need.
class RelayDefaults {
public:
    RelayDefaults() = delete;

    /// The default relay's base address, without a trailing slash. The name is reserved and resolves nowhere: until a
    /// public service exists, users point Pelorin at a relay of their own.
    static QString url() { return QStringLiteral("https://relay.pelorin.example"); }

    /// No token until one is provisioned.
    static QString token() { return {}; }
};

} // namespace pelorin
