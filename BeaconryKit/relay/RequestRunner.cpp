#include "BeaconryKit/relay/RequestRunner.h"

#include "BeaconryKit/relay/ProxyChoice.h"
#include "BeaconryKit/relay/RelayLog.h"
#include "BeaconryKit/relay/TlsTrust.h"

#include <QNetworkRequest>
#include <QSslError>

#include <algorithm>
#include <utility>

namespace pelorin {

namespace {

bool isSendable(const HTTPRequest& request) {
    const QString scheme = request.url.scheme();
    return (scheme == QLatin1String("https") || scheme == QLatin1String("http")) && !request.url.host().isEmpty() &&
           areSendable(request.headers);
}

/// Whether the error says no more than the reply's status does.
bool isStatus(QNetworkReply::NetworkError error) {
    return error == QNetworkReply::NoError || error == QNetworkReply::ProtocolInvalidOperationError ||
           (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError) ||
           (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError);
}

int effectivePort(const QUrl& url) {
    return url.port(url.scheme() == QLatin1String("https") ? 443 : 80);
}

bool keepsTheMethod(int status) {
    return status == 307 || status == 308;
}

bool isRedirect(int status) {
    return status == 301 || status == 302 || status == 303 || keepsTheMethod(status);
}

} // namespace

bool areSendable(const QList<std::pair<QByteArray, QByteArray>>& headers) {
    return std::ranges::none_of(headers, [](const auto& header) {
        const QByteArray both = header.first + header.second;
        return both.contains('\r') || both.contains('\n') || both.contains('\0');
    });
}

RequestRunner::RequestRunner(TaskQueue& queue, const NetworkTransport::Limits& limits)
    : m_queue(queue), m_limits(limits) {
    m_manager.setProxyFactory(new ProxyChoice);
}

RequestRunner::~RequestRunner() {
    for (const ExchangePointer& exchange : std::exchange(m_running, {})) {
        exchange->reply->disconnect(this);
        delete std::exchange(exchange->reply, nullptr);
        complete(exchange, std::nullopt);
    }
    for (const RequestQueue& queue : std::exchange(m_queues, {})) {
        if (queue.next)
            complete(queue.next, std::nullopt);
    }
}

void RequestRunner::run(HTTPRequest request, HTTPCompletion completion) {
    const auto exchange = std::make_shared<Exchange>(Exchange{std::move(request), std::move(completion)});
    if (!isSendable(exchange->request) || ProxyChoice::leadsNowhere(exchange->request.url)) {
        qCDebug(relayLog) << "There is no sending a request to" << loggable(exchange->request.url);
        complete(exchange, std::nullopt);
        return;
    }
    if (exchange->request.queue.isEmpty()) {
        begin(exchange);
        return;
    }
    RequestQueue& queue = m_queues[exchange->request.queue];
    if (!queue.running) {
        begin(exchange);
        return;
    }
    const ExchangePointer replaced = std::exchange(queue.next, exchange);
    // Its end comes within this call and takes the queue with it.
    if (queue.isOutOfPatience)
        queue.running->reply->abort();
    if (replaced)
        complete(replaced, std::nullopt);
}

void RequestRunner::begin(const ExchangePointer& exchange) {
    m_running.append(exchange);
    m_queue.asyncAfter(exchange->request.timeout, [weak = std::weak_ptr(exchange)] {
        const ExchangePointer late = weak.lock();
        if (late && late->reply) {
            qCDebug(relayLog) << "No reply in time from" << loggable(late->request.url);
            late->reply->abort();
        }
    });
    if (!exchange->request.queue.isEmpty()) {
        RequestQueue& queue = m_queues[exchange->request.queue];
        queue.running = exchange;
        queue.isOutOfPatience = false;
        m_queue.asyncAfter(m_limits.lanePatience, [this, weak = std::weak_ptr(exchange)] {
            const ExchangePointer slow = weak.lock();
            if (!slow || !slow->reply)
                return;
            RequestQueue& itsQueue = m_queues[slow->request.queue];
            itsQueue.isOutOfPatience = true;
            if (itsQueue.next)
                slow->reply->abort();
        });
    }
    send(exchange);
}

void RequestRunner::send(const ExchangePointer& exchange) {
    const HTTPRequest& request = exchange->request;
    QNetworkRequest networkRequest(request.url);
    for (const auto& [name, value] : request.headers)
        networkRequest.setRawHeader(name, value);
    networkRequest.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("Pelorin"));
    if (request.url.scheme() == QLatin1String("https"))
        networkRequest.setSslConfiguration(tlsTrust());
    // The toolkit takes all headers along to wherever it is redirected, and may send a redirected request twice.
    networkRequest.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    // A request that is given up takes its connection with it, so that the next one finds out by itself whether the way
    // is open again. Under HTTP/2 all requests would go on sharing the dead connection.
    networkRequest.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);

    QNetworkReply* const reply = request.method == HTTPRequest::Method::post
                                     ? m_manager.post(networkRequest, request.body)
                                     : m_manager.get(networkRequest);
    exchange->reply = reply;
    connect(reply, &QNetworkReply::finished, this, [this, exchange] { received(exchange); });
    connect(reply, &QNetworkReply::readyRead, this, [this, reply] {
        if (reply->bytesAvailable() > m_limits.reply) {
            qCDebug(relayLog) << "Too long a reply from" << loggable(reply->url());
            reply->abort();
        }
    });
    connect(reply, &QNetworkReply::sslErrors, this, [reply](const QList<QSslError>& errors) {
        for (const QSslError& error : errors)
            qCDebug(relayLog) << "The certificate of" << loggable(reply->url())
                              << "does not hold:" << error.errorString();
    });
}

void RequestRunner::received(const ExchangePointer& exchange) {
    QNetworkReply* const reply = std::exchange(exchange->reply, nullptr);
    // What its signals hold goes with it, this exchange among it.
    reply->deleteLater();
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (reply->error() != QNetworkReply::NoError)
        qCDebug(relayLog) << loggable(reply->url()) << "failed:" << reply->error() << status;
    std::optional<HTTPReply> answer;
    if (isStatus(reply->error()) && status != 0 && reply->bytesAvailable() <= m_limits.reply) {
        if (isRedirect(status) && reply->hasRawHeader("Location")) {
            const QUrl location = QUrl::fromEncoded(reply->rawHeader("Location"), QUrl::StrictMode);
            if (follow(exchange, status, location.isValid() ? reply->url().resolved(location) : QUrl()))
                return;
        } else {
            answer = HTTPReply{status, reply->readAll()};
        }
    }
    m_running.removeOne(exchange);
    complete(exchange, answer);

    if (exchange->request.queue.isEmpty())
        return;
    if (const ExchangePointer next = m_queues.take(exchange->request.queue).next)
        begin(next);
}

bool RequestRunner::follow(const ExchangePointer& exchange, int status, const QUrl& target) {
    HTTPRequest& request = exchange->request;
    const bool isSameOrigin = target.scheme() == request.url.scheme() && target.host() == request.url.host() &&
                              effectivePort(target) == effectivePort(request.url);
    qCDebug(relayLog) << loggable(request.url) << "redirects to"
                      << loggable(target.resolved(QUrl(QStringLiteral("/"))));
    if (!isSameOrigin || exchange->redirects == mostRedirects)
        return false;
    ++exchange->redirects;
    request.url = target;
    if (!keepsTheMethod(status))
        request.method = HTTPRequest::Method::get;
    send(exchange);
    return true;
}

void RequestRunner::complete(const ExchangePointer& exchange, const std::optional<HTTPReply>& reply) {
    if (exchange->completion)
        exchange->completion(reply);
}

} // namespace pelorin
