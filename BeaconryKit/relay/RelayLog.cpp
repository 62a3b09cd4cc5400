#include "BeaconryKit/relay/RelayLog.h"

namespace pelorin {

Q_LOGGING_CATEGORY(relayLog, "pelorin.relay", QtCriticalMsg)

QString loggable(const QUrl& url) {
    QUrl origin;
    origin.setScheme(url.scheme());
    origin.setHost(url.host());
    origin.setPort(url.port());
    return origin.toString() + QStringLiteral(" ") + url.fileName();
}

} // namespace pelorin
