#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/SocketTransport.h"

#include <QStringList>

#include <deque>
#include <vector>

namespace pelorin {

/// What became of one connection; stays when the task is gone.
struct FakeConnection {
    SocketRequest request;
    bool isResumed = false;
    QStringList sent;
    /// Whether something was sent before the connection was resumed.
    bool spokeTooEarly = false;
    std::vector<SocketReceiver> receivers;
    std::optional<SocketCloseCode> cancelled;
    /// The task was destroyed.
    bool isGone = false;

    void deliver(const QString& text) { give(SocketMessage{SocketMessage::Kind::text, text.toUtf8()}); }
    void deliverBinary(const QByteArray& bytes) { give(SocketMessage{SocketMessage::Kind::binary, bytes}); }
    /// Gives the message, or the failure, to the one who has waited longest.
    void give(const std::optional<SocketMessage>& message) {
        const SocketReceiver receiver = receivers.front();
        receivers.erase(receivers.begin());
        receiver(message);
    }
    /// Fails everybody who waits.
    void fail() {
        for (const SocketReceiver& receiver : std::exchange(receivers, {}))
            receiver(std::nullopt);
    }
};

/// Notes connections and lets the test play the relay. As over a real network, a cancelled connection fails its
/// receivers on a later turn.
class FakeSocketTransport final : public SocketTransport {
public:
    explicit FakeSocketTransport(Dispatch& dispatch) : m_dispatch(dispatch) {}

    std::shared_ptr<SocketTask> makeTask(const SocketRequest& request) override {
        connections.push_back(std::make_shared<FakeConnection>());
        connections.back()->request = request;
        return std::make_shared<Task>(m_dispatch, connections.back());
    }

    std::vector<std::shared_ptr<FakeConnection>> connections;

private:
    class Task final : public SocketTask {
    public:
        Task(Dispatch& dispatch, std::shared_ptr<FakeConnection> connection)
            : m_dispatch(dispatch), m_connection(std::move(connection)) {}
        ~Task() override {
            m_connection->isGone = true;
            if (!m_connection->cancelled)
                m_connection->receivers.clear();
        }
        void resume() override { m_connection->isResumed = true; }
        void send(const QString& text) override {
            m_connection->spokeTooEarly = m_connection->spokeTooEarly || !m_connection->isResumed;
            m_connection->sent.append(text);
        }
        void receive(SocketReceiver receiver) override { m_connection->receivers.push_back(std::move(receiver)); }
        void cancel(SocketCloseCode code) override {
            m_connection->cancelled = code;
            m_dispatch.globalQueue().async([connection = m_connection] { connection->fail(); });
        }

    private:
        Dispatch& m_dispatch;
        const std::shared_ptr<FakeConnection> m_connection;
    };

    Dispatch& m_dispatch;
};

} // namespace pelorin
