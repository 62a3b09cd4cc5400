#pragma once

#include "BeaconryKit/relay/NetworkTransport.h"
#include "BeaconryKit/relay/SocketTransport.h"

#include <QObject>
#include <QStringList>
#include <QWebSocket>

#include <deque>

class QTcpSocket;

namespace pelorin {

class TaskQueue;

/// One WebSocket of a NetworkTransport. Lives on the transport's thread, whose queue it is given. Receivers may do
/// anything but destroy it.
class SocketConnection final : public QObject {
    Q_OBJECT

public:
    /// A socket that is being closed becomes a child of `leaving`.
    SocketConnection(SocketRequest request, const NetworkTransport::Limits& limits, TaskQueue& queue, QObject* leaving);
    /// Closes as going away, without a word to those who wait.
    ~SocketConnection() override;

    void resume();
    void send(const QString& text);
    void sendInTurn(const QString& text, Task onTaken);
    void receive(SocketReceiver receiver);
    void cancel(SocketCloseCode code);

private:
    enum class State { fresh, connecting, open, ended };

    struct Waiting {
        QString text;
        Task onTaken;
    };

    void opened();
    void watchSocketBelow();
    qint64 bytesToWrite() const;
    void sendWhatHasRoom();
    void checkThatPeerReads();
    void arrived(SocketMessage message);
    void deliver();
    void deliverLater();
    void fail();
    void end(std::optional<SocketCloseCode> code);

    const SocketRequest m_request;
    const NetworkTransport::Limits m_limits;
    TaskQueue& m_queue;
    QObject* const m_leaving;
    QWebSocket* m_socket = nullptr;
    // The TCP socket below, there once that connects.
    QTcpSocket* m_below = nullptr;
    State m_state = State::fresh;
    QStringList m_unsent;
    qint64 m_unsentBytes = 0;
    std::deque<Waiting> m_inTurn;
    bool m_isSendingInTurn = false;
    std::deque<SocketReceiver> m_receivers;
    std::deque<SocketMessage> m_unread;
    qint64 m_unreadBytes = 0;
    bool m_isDelivering = false;
};

} // namespace pelorin
