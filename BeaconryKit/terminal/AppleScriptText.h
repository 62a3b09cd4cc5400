#pragma once

#include <QString>

namespace pelorin {

/// The text for the inside of an AppleScript string.
inline QString escapedForAppleScript(QString text) {
    // The backslashes first, so that those added for quotes stay single.
    return text.replace(QStringLiteral("\\"), QStringLiteral("\\\\"))
        .replace(QStringLiteral("\""), QStringLiteral("\\\""));
}

} // namespace pelorin
