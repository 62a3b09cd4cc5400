#pragma once

#include <QNetworkProxy>
#include <QNetworkProxyFactory>
#include <QString>
#include <QUrl>

namespace pelorin {

/// Whether the host of an address is this machine itself: an address of the loopback networks or a name under
/// "localhost".
bool isLoopback(const QString& host);

/// The system's proxies for every address but those of this machine, which are always reached directly. Asking the
/// system may block for a while.
class ProxyChoice final : public QNetworkProxyFactory {
public:
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override;

    /// The one proxy for a ws or wss address: it is asked for as for http or https, and must be able to tunnel.
    static QNetworkProxy forSocket(const QUrl& url);

    /// Whether nobody can be reached there: the name is reserved, and no proxy stands for it that might know better.
    static bool leadsNowhere(const QUrl& url);
};

} // namespace pelorin
