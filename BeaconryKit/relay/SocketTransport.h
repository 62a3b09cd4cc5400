#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace pelorin {

/// What a WebSocket is opened with.
struct SocketRequest {
    /// A ws or wss address.
    QUrl url;
    /// Sent with the handshake as they stand. A header with a line end or a zero byte in it makes the connection fail.
    QList<std::pair<QByteArray, QByteArray>> headers;
    /// How long it may take until the handshake is done.
    std::chrono::milliseconds timeout{};

    bool operator==(const SocketRequest&) const = default;
};

/// One whole message.
struct SocketMessage {
    enum class Kind { text, binary };

    Kind kind = Kind::text;
    QByteArray payload;

    bool operator==(const SocketMessage&) const = default;
};

/// Why a WebSocket is closed from this side.
enum class SocketCloseCode : quint16 {
    goingAway = 1001,
};

/// Takes the next message; nothing when the connection has failed or is closed.
using SocketReceiver = std::function<void(const std::optional<SocketMessage>&)>;

/// One WebSocket connection. All operations may be called from any thread and return at once. Destroying the task
/// closes the connection (as going away) without a word to those who still wait for messages.
class SocketTask {
public:
    virtual ~SocketTask() = default;
    SocketTask() = default;
    SocketTask(const SocketTask&) = delete;
    SocketTask& operator=(const SocketTask&) = delete;

    /// Starts to connect. What is sent before the connection stands waits for it.
    virtual void resume() = 0;

    /// Sends a text frame. What cannot be sent is dropped.
    virtual void send(const QString& text) = 0;

    /// Sends a text frame once the connection has room for it. Frames that are sent so keep their order; those of
    /// `send` go before them. `onTaken` is called exactly once, without a lock, on any thread, also within this call:
    /// when the frame has been taken, or when the connection has ended before that.
    virtual void sendInTurn(const QString& text, Task onTaken) {
        send(text);
        const Task taken = std::move(onTaken);
        taken();
    }

    /// Asks for the next message. `receiver` is called at most once (exactly once, unless the task is destroyed), on a
    /// thread of the transport's that it must not block; each call of `receive` gets a message or the failure of its
    /// own.
    virtual void receive(SocketReceiver receiver) = 0;

    /// Closes the connection with the code and no reason. Everybody who waits for a message is told of the failure,
    /// also when the task is destroyed right after this call.
    virtual void cancel(SocketCloseCode code) = 0;
};

/// Makes WebSocket connections.
class SocketTransport {
public:
    virtual ~SocketTransport() = default;
    SocketTransport() = default;
    SocketTransport(const SocketTransport&) = delete;
    SocketTransport& operator=(const SocketTransport&) = delete;

    /// A connection that has not started yet. Any thread.
    virtual std::shared_ptr<SocketTask> makeTask(const SocketRequest& request) = 0;
};

} // namespace pelorin
