#pragma once

#include <QLoggingCategory>
#include <QString>
#include <QUrl>

namespace pelorin {

/// Why the relay was not reached, or did not do what was asked. Off by default; switched on by
/// `QT_LOGGING_RULES=pelorin.relay=true`. No token and no content ever goes in here.
Q_DECLARE_LOGGING_CATEGORY(relayLog)

/// As much of an address as a log may hold: scheme, host, port and the last part of the path. A user may have put a
/// password or a token into the rest.
QString loggable(const QUrl& url);

} // namespace pelorin
