#include "BeaconryKit/relay/RelayClient.h"

#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/relay/RelayMessages.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace pelorin {

namespace {

/// A request to one of the relay's endpoints; nothing when the address or the token is unusable.
std::optional<HTTPRequest> authorized(HTTPRequest::Method method, const QString& endpoint, const RelayConfig& config,
                                      std::chrono::milliseconds timeout) {
    std::optional<QUrl> url = RelayClient::base(config.url);
    if (!url || config.token.isEmpty())
        return std::nullopt;
    QString path = url->path(QUrl::FullyEncoded);
    while (path.endsWith(u'/'))
        path.chop(1);
    url->setPath(path + u'/' + endpoint, QUrl::StrictMode);
    return HTTPRequest{.method = method,
                       .url = *url,
                       .headers = {{"Authorization", "Bearer " + config.token.toUtf8()}},
                       .timeout = timeout};
}

std::optional<HTTPRequest> authorizedPost(const QString& endpoint, const QJsonObject& body, const RelayConfig& config,
                                          std::chrono::milliseconds timeout) {
    auto request = authorized(HTTPRequest::Method::post, endpoint, config, timeout);
    if (request) {
        request->headers.emplace_back("Content-Type", "application/json");
        request->body = QJsonDocument(body).toJson(QJsonDocument::Compact);
    }
    return request;
}

} // namespace

// Firings hold it weakly: a client that is gone, or polls anew, is polled for no more.
struct RelayClient::Polling {
    Provider provider;
    OnDecision onDecision;
};

RelayClient::RelayClient(Dispatch& dispatch, HTTPTransport& transport) : m_dispatch(dispatch), m_transport(transport) {
}

RelayClient::~RelayClient() {
    stopPolling();
}

void RelayClient::sync(const QJsonArray& asks, const QString& url, const QString& token) {
    auto request =
        authorizedPost(QStringLiteral("sync"), {{QStringLiteral("asks"), asks}}, {url, token}, requestTimeout);
    if (!request)
        return;
    // A newer list must never be overtaken by an older one on another connection.
    request->queue = "sync";
    m_transport.send(*request);
}

void RelayClient::clear(const QString& id, const QString& url, const QString& token) {
    if (const auto request =
            authorizedPost(QStringLiteral("clear"), {{QStringLiteral("id"), id}}, {url, token}, requestTimeout))
        m_transport.send(*request);
}

void RelayClient::startPolling(double interval, Provider provider, OnDecision onDecision) {
    stopPolling();
    m_polling = std::make_shared<Polling>(Polling{std::move(provider), std::move(onDecision)});
    auto poll = [weak = std::weak_ptr(m_polling), &transport = m_transport, &main = m_dispatch.mainQueue()] {
        const auto polling = weak.lock();
        const auto config = polling ? polling->provider() : std::nullopt;
        const auto request = config
                                 ? authorized(HTTPRequest::Method::get, QStringLiteral("poll"), *config, requestTimeout)
                                 : std::nullopt;
        if (!request)
            return;
        transport.send(*request, [onDecision = polling->onDecision, &main](const std::optional<HTTPReply>& reply) {
            if (!reply)
                return;
            for (const RelayDecision& decision : relayDecisions(reply->body))
                main.async([onDecision, decision] { onDecision(decision.requestId, decision.decision); });
        });
    };
    if (!m_pollQueue)
        m_pollQueue = m_dispatch.makeSerialQueue("com.pelorin.relay");
    m_pollTimer = m_pollQueue->every(secondsToDuration(interval), std::move(poll));
}

void RelayClient::stopPolling() {
    m_pollTimer.reset();
    m_polling.reset();
}

void RelayClient::devices(const QString& url, const QString& token, OnDevices onDevices) {
    TaskQueue& main = m_dispatch.mainQueue();
    const auto finish = [onDevices = std::move(onDevices), &main](std::optional<QList<RelayDevice>> devices) {
        main.async([onDevices, devices = std::move(devices)] { onDevices(devices); });
    };
    const auto request = authorized(HTTPRequest::Method::get, QStringLiteral("devices"), {url, token}, deviceTimeout);
    if (!request) {
        finish(std::nullopt);
        return;
    }
    m_transport.send(*request, [finish](const std::optional<HTTPReply>& reply) {
        finish(reply ? relayDevices(reply->body) : std::nullopt);
    });
}

void RelayClient::removeDevice(const QString& id, const QString& url, const QString& token, OnRemoval onRemoval) {
    TaskQueue& main = m_dispatch.mainQueue();
    const auto finish = [onRemoval = std::move(onRemoval), &main](Removal removal) {
        main.async([onRemoval, removal] { onRemoval(removal); });
    };
    const auto request =
        authorizedPost(QStringLiteral("device-remove"), {{QStringLiteral("id"), id}}, {url, token}, deviceTimeout);
    if (!request) {
        finish(Removal::failed);
        return;
    }
    m_transport.send(*request, [finish](const std::optional<HTTPReply>& reply) {
        const bool succeeded = reply && reply->status >= 200 && reply->status < 300;
        finish(succeeded ? Removal::done : Removal::failed);
    });
}

std::optional<QUrl> RelayClient::base(const QString& url) {
    const QString text = trimBlanks(url);
    // The parsed address has its scheme in lower case whatever the text says.
    if (!text.startsWith(QLatin1String("https:")) && !text.startsWith(QLatin1String("http:")))
        return std::nullopt;
    const QUrl parsed(text, QUrl::StrictMode);
    if (!parsed.isValid() || parsed.host().isEmpty())
        return std::nullopt;
    return parsed;
}

} // namespace pelorin
