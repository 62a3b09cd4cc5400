#include "BeaconryKit/relay/TlsTrust.h"

#include "BeaconryKit/relay/RelayLog.h"

namespace pelorin {

QSslConfiguration tlsTrust() {
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    const QString file = qEnvironmentVariable("SSL_CERT_FILE");
    // Added to, the system's authorities go on being looked up one by one as they are needed.
    if (!file.isEmpty() && !configuration.addCaCertificates(file))
        qCDebug(relayLog) << "There are no certificates in the file that SSL_CERT_FILE names.";
    return configuration;
}

} // namespace pelorin
