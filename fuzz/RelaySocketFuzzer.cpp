#include "tests/support/FakeSocketTransport.h"
#include "tests/support/ManualDispatch.h"

#include "BeaconryKit/relay/RelayMessages.h"
#include "BeaconryKit/relay/RelaySocket.h"

#include <cstdint>
#include <cstdlib>

// A line of the input is one thing that happens to the socket. Whatever happens, in whatever order: messages are acted
// on once and in order, a stopped socket stays away, and one that may connect does so in the end.

namespace {

using namespace pelorin;

void require(bool holds) {
    if (!holds)
        std::abort();
}

class Life {
public:
    void happen(char what, const QByteArray& text) {
        const bool wasStopped = m_isStopped;
        const std::size_t connections = m_transport.connections.size();
        act(what, text);
        m_dispatch.runDue();
        require(!wasStopped || !m_isStopped || m_transport.connections.size() == connections);
        // It may have lost its connection since, but it never claims one that has said nothing.
        require(m_isConfirmed || !m_socket.isConnected());
        require(m_acts == m_expected);
    }

    void end() {
        happen('S', {});
        happen('C', "https://relay.test");
        m_dispatch.advance(RelaySocket::reconnectDelay * 2);
        const auto last = newest();
        require(last != nullptr && last->isResumed && !last->sent.isEmpty());
        require(last->sent.first() == relayHello(PhoneTerminal::enabled) ||
                last->sent.first() == relayHello(PhoneTerminal::disabled));

        happen('s', {});
        m_dispatch.advance(RelaySocket::farewell * 2);
        for (const auto& connection : m_transport.connections)
            require(connection->isGone);
        require(m_dispatch.waitingTasks() == 0);
    }

private:
    using Connection = std::shared_ptr<FakeConnection>;

    void act(char what, const QByteArray& text) {
        switch (what) {
        case 't':
            deliver(newest(), {SocketMessage::Kind::text, text});
            break;
        case 'o':
            deliver(oldest(), {SocketMessage::Kind::text, text});
            break;
        case 'b':
            deliver(newest(), {SocketMessage::Kind::binary, text});
            break;
        case 'f':
            fail(newest());
            break;
        case 'F':
            fail(oldest());
            break;
        case 'r':
            m_isConfirmed = false;
            m_socket.reconnect();
            require(!m_socket.isConnected());
            break;
        case 's':
            m_isConfirmed = false;
            m_isStopped = true;
            m_socket.stop();
            require(!m_socket.isConnected());
            break;
        case 'S':
            m_isStopped = false;
            m_socket.start();
            break;
        case 'c':
            m_config.reset();
            break;
        case 'C':
            m_config = RelayConfig{QString::fromUtf8(text), QStringLiteral("token")};
            break;
        case 'h':
            m_isTerminalEnabled = !m_isTerminalEnabled;
            m_socket.sendHello();
            break;
        case 'p':
            m_socket.sendTermOut(QString::fromUtf8(text));
            break;
        default:
            m_dispatch.advance(std::chrono::milliseconds(500));
        }
    }

    static bool isListening(const Connection& connection) { return !connection->receivers.empty(); }

    Connection newest() const {
        const auto& all = m_transport.connections;
        const auto found = std::find_if(all.rbegin(), all.rend(), isListening);
        return found == all.rend() ? nullptr : *found;
    }

    Connection oldest() const {
        const auto& all = m_transport.connections;
        const auto found = std::find_if(all.begin(), all.end(), isListening);
        return found == all.end() ? nullptr : *found;
    }

    void deliver(const Connection& connection, const SocketMessage& message) {
        if (!connection)
            return;
        if (message.kind == SocketMessage::Kind::text)
            expect(relayMessage(message.payload));
        m_isConfirmed = true;
        connection->give(message);
        require(m_socket.isConnected());
    }

    void fail(const Connection& connection) {
        if (!connection)
            return;
        m_isConfirmed = false;
        connection->fail();
        require(!m_socket.isConnected());
    }

    void expect(const RelayMessage& message) {
        if (const auto* const decisions = std::get_if<QList<RelayDecision>>(&message)) {
            for (const RelayDecision& decision : *decisions)
                m_expected.append(decision.requestId + u'=' + decision.decision);
        } else if (const auto* const input = std::get_if<RelayTerminalInput>(&message)) {
            m_expected.append(input->text);
        } else if (const auto* const size = std::get_if<RelayTerminalSize>(&message)) {
            require(size->columns >= 0 && size->columns <= 65'535 && size->rows >= 0 && size->rows <= 65'535);
            m_expected.append(QStringLiteral("%1x%2").arg(size->columns).arg(size->rows));
        } else if (std::holds_alternative<RelayNewShell>(message)) {
            m_expected.append(QStringLiteral("new"));
        }
    }

    std::optional<RelayConfig> m_config = RelayConfig{QStringLiteral("https://relay.test"), QStringLiteral("token")};
    bool m_isTerminalEnabled = false;
    bool m_isStopped = false;
    bool m_isConfirmed = false;
    QStringList m_acts;
    QStringList m_expected;
    ManualDispatch m_dispatch;
    FakeSocketTransport m_transport{m_dispatch};
    RelaySocket m_socket{m_dispatch, m_transport, callbacks()};

    RelaySocket::Callbacks callbacks() {
        return {
            .config = [this] { return m_config; },
            .termEnabled = [this] { return m_isTerminalEnabled; },
            .onDecision = [this](const QString& id, const QString& decision) { m_acts.append(id + u'=' + decision); },
            .onInput = [this](const QString& text) { m_acts.append(text); },
            .onResize = [this](int columns,
                               int rows) { m_acts.append(QStringLiteral("%1x%2").arg(columns).arg(rows)); },
            .onNewShell =
                [this] {
                    m_acts.append(QStringLiteral("new"));
                }};
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    Life life;
    for (const QByteArray& line : bytes.split('\n')) {
        if (!line.isEmpty())
            life.happen(line.front(), line.sliced(1));
    }
    life.end();
    return 0;
}
