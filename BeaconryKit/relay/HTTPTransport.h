#pragma once

#include <QByteArray>
#include <QList>
#include <QUrl>

#include <chrono>
#include <functional>
#include <optional>
#include <utility>

namespace pelorin {

/// One request over HTTP.
struct HTTPRequest {
    enum class Method { get, post };

    Method method = Method::get;
    /// Only http and https addresses with a host are sent.
    QUrl url;
    /// Sent as they stand. A header with a line end or a zero byte in it keeps the request from being sent.
    QList<std::pair<QByteArray, QByteArray>> headers;
    /// Sent with `post` only.
    QByteArray body;
    /// How long the whole exchange may take.
    std::chrono::milliseconds timeout{};
    /// Requests of one queue reach their destination in order: each waits until the one before has ended, and a newer
    /// one takes the place of one that still waits. Empty: the request waits for nothing.
    QByteArray queue;

    bool operator==(const HTTPRequest&) const = default;
};

/// What the other side answered, whatever its status.
struct HTTPReply {
    int status = 0;
    QByteArray body;

    bool operator==(const HTTPReply&) const = default;
};

/// Takes the reply; nothing when there was none: the connection failed, broke or was refused, the time was up, or the
/// reply was too long.
using HTTPCompletion = std::function<void(const std::optional<HTTPReply>&)>;

/// Carries requests to other machines.
class HTTPTransport {
public:
    virtual ~HTTPTransport() = default;
    HTTPTransport() = default;
    HTTPTransport(const HTTPTransport&) = delete;
    HTTPTransport& operator=(const HTTPTransport&) = delete;

    /// Sends the request. Any thread; returns at once. `completion`, where there is one, is called exactly once, later,
    /// on a thread of the transport's that it must not block.
    virtual void send(const HTTPRequest& request, HTTPCompletion completion = {}) = 0;
};

} // namespace pelorin
