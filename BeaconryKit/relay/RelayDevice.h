#pragma once

#include <QString>

namespace pelorin {

/// One phone, as the relay lists it. Every text may be empty; the label is "phone" where the relay names none.
struct RelayDevice {
    /// Names the phone at the relay.
    QString id;
    /// What the phone calls itself.
    QString label = QStringLiteral("phone");
    /// Where it was last seen.
    QString country;
    /// The user agent of its browser.
    QString ua;

    bool operator==(const RelayDevice&) const = default;
};

} // namespace pelorin
