#include "BeaconryKit/relay/ProxyChoice.h"

#include "BeaconryKit/relay/ReservedName.h"

#include <QHostAddress>

namespace pelorin {

namespace {

/// Sockets have the proxies of requests.
QList<QNetworkProxy> proxiesFor(QUrl url) {
    if (url.scheme() == QLatin1String("wss"))
        url.setScheme(QStringLiteral("https"));
    else if (url.scheme() == QLatin1String("ws"))
        url.setScheme(QStringLiteral("http"));
    return ProxyChoice().queryProxy(QNetworkProxyQuery(url));
}

} // namespace

bool isLoopback(const QString& host) {
    const QString name = host.endsWith(u'.') ? host.chopped(1) : host;
    if (name.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0 ||
        name.endsWith(QLatin1String(".localhost"), Qt::CaseInsensitive))
        return true;
    return QHostAddress(name).isLoopback();
}

QList<QNetworkProxy> ProxyChoice::queryProxy(const QNetworkProxyQuery& query) {
    if (isLoopback(query.peerHostName()))
        return {QNetworkProxy::NoProxy};
    return systemProxyForQuery(query);
}

QNetworkProxy ProxyChoice::forSocket(const QUrl& url) {
    const QList<QNetworkProxy> proxies = proxiesFor(url);
    for (const QNetworkProxy& proxy : proxies) {
        if (proxy.type() == QNetworkProxy::NoProxy || proxy.capabilities().testFlag(QNetworkProxy::TunnelingCapability))
            return proxy;
    }
    return QNetworkProxy::NoProxy;
}

bool ProxyChoice::leadsNowhere(const QUrl& url) {
    return isReservedName(url.host()) && proxiesFor(url).constFirst().type() == QNetworkProxy::NoProxy;
}

} // namespace pelorin
