#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/HTTPTransport.h"
#include "BeaconryKit/relay/NetworkTransport.h"

#include <QHash>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>

#include <memory>

namespace pelorin {

/// Runs the HTTP requests of a NetworkTransport. Lives on the transport's thread, whose queue it is given.
class RequestRunner final : public QObject {
    Q_OBJECT

public:
    /// How many redirects of one request are followed.
    static constexpr int mostRedirects = 5;

    RequestRunner(TaskQueue& queue, const NetworkTransport::Limits& limits);
    /// Completes what is under way without a reply.
    ~RequestRunner() override;

    void run(HTTPRequest request, HTTPCompletion completion);

private:
    /// A request on its way to its one completion, over all redirects.
    struct Exchange {
        HTTPRequest request;
        HTTPCompletion completion;
        int redirects = 0;
        QNetworkReply* reply = nullptr;
    };
    using ExchangePointer = std::shared_ptr<Exchange>;
    struct RequestQueue {
        ExchangePointer running;
        ExchangePointer next;
        // The running request has had the time that it may keep a newer one waiting.
        bool isOutOfPatience = false;
    };

    void begin(const ExchangePointer& exchange);
    void send(const ExchangePointer& exchange);
    void received(const ExchangePointer& exchange);
    bool follow(const ExchangePointer& exchange, int status, const QUrl& target);
    static void complete(const ExchangePointer& exchange, const std::optional<HTTPReply>& reply);

    TaskQueue& m_queue;
    const NetworkTransport::Limits m_limits;
    QNetworkAccessManager m_manager;
    QList<ExchangePointer> m_running;
    QHash<QByteArray, RequestQueue> m_queues;
};

/// Whether all headers can be sent as they stand: a line end would start another header.
bool areSendable(const QList<std::pair<QByteArray, QByteArray>>& headers);

} // namespace pelorin
