#include "BeaconryKit/relay/ProxyChoice.h"

#include <QHostAddress>

namespace pelorin {

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
    QUrl like = url;
    like.setScheme(url.scheme() == QLatin1String("wss") ? QStringLiteral("https") : QStringLiteral("http"));
    const QList<QNetworkProxy> proxies = ProxyChoice().queryProxy(QNetworkProxyQuery(like));
    for (const QNetworkProxy& proxy : proxies) {
        if (proxy.type() == QNetworkProxy::NoProxy || proxy.capabilities().testFlag(QNetworkProxy::TunnelingCapability))
            return proxy;
    }
    return QNetworkProxy::NoProxy;
}

} // namespace pelorin
