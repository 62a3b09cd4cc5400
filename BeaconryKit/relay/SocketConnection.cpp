#include "BeaconryKit/relay/SocketConnection.h"

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/platform/PeerWatch.h"
#include "BeaconryKit/platform/UnsentLimit.h"
#include "BeaconryKit/relay/ProxyChoice.h"
#include "BeaconryKit/relay/RelayLog.h"
#include "BeaconryKit/relay/RequestRunner.h"
#include "BeaconryKit/relay/TlsTrust.h"

#include <QNetworkRequest>
#include <QPointer>
#include <QSslError>
#include <QSslSocket>
#include <QTcpSocket>

#include <utility>

namespace pelorin {

namespace {

/// How long a closing connection may take to send its last bytes.
constexpr std::chrono::seconds closingTimeout{5};

} // namespace

SocketConnection::SocketConnection(SocketRequest request, const NetworkTransport::Limits& limits, TaskQueue& queue,
                                   QObject* leaving)
    : m_request(std::move(request)), m_limits(limits), m_queue(queue), m_leaving(leaving) {
}

SocketConnection::~SocketConnection() {
    end(SocketCloseCode::goingAway);
}

void SocketConnection::resume() {
    if (m_state != State::fresh)
        return;
    m_state = State::connecting;
    if (!areSendable(m_request.headers) || ProxyChoice::leadsNowhere(m_request.url)) {
        qCDebug(relayLog) << "There is no sending a handshake to" << loggable(m_request.url);
        fail();
        return;
    }
    m_socket = new QWebSocket(QString(), QWebSocketProtocol::VersionLatest, this);
    m_socket->setMaxAllowedIncomingFrameSize(static_cast<quint64>(m_limits.message));
    m_socket->setMaxAllowedIncomingMessageSize(static_cast<quint64>(m_limits.message));
    // A message is one frame, however long.
    m_socket->setOutgoingFrameSize(QWebSocket::maxOutgoingFrameSize());
    // One message and the head of its frame, or of the handshake: what does not fit waits at the other end.
    m_socket->setReadBufferSize(m_limits.message + 65'536);
    m_socket->setProxy(ProxyChoice::forSocket(m_request.url));
    if (m_request.url.scheme() == QLatin1String("wss"))
        m_socket->setSslConfiguration(tlsTrust());
    connect(m_socket, &QWebSocket::connected, this, &SocketConnection::opened);
    connect(m_socket, &QWebSocket::textMessageReceived, this, [this](const QString& text) {
        arrived({SocketMessage::Kind::text, text.toUtf8()});
    });
    connect(m_socket, &QWebSocket::binaryMessageReceived, this, [this](const QByteArray& bytes) {
        arrived({SocketMessage::Kind::binary, bytes});
    });
    connect(m_socket, &QWebSocket::sslErrors, this, [this](const QList<QSslError>& errors) {
        for (const QSslError& error : errors)
            qCDebug(relayLog) << "The certificate of" << loggable(m_request.url)
                              << "does not hold:" << error.errorString();
    });
    connect(m_socket, &QWebSocket::disconnected, this, &SocketConnection::fail);
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    constexpr auto failed = &QWebSocket::errorOccurred;
#else
    constexpr auto failed = qOverload<QAbstractSocket::SocketError>(&QWebSocket::error);
#endif
    connect(m_socket, failed, this, [this](QAbstractSocket::SocketError error) {
        qCDebug(relayLog) << "The socket to" << loggable(m_request.url) << "failed:" << error;
        fail();
    });
    m_queue.asyncAfter(m_request.timeout, [weak = QPointer(this)] {
        if (weak && weak->m_state == State::connecting) {
            qCDebug(relayLog) << "No handshake in time with" << loggable(weak->m_request.url);
            weak->fail();
        }
    });

    QNetworkRequest request(m_request.url);
    for (const auto& [name, value] : m_request.headers)
        request.setRawHeader(name, value);
    m_socket->open(request);
}

void SocketConnection::opened() {
    m_state = State::open;
    watchSocketBelow();
    for (const QString& text : std::exchange(m_unsent, {}))
        m_socket->sendTextMessage(text);
    sendWhatHasRoom();
}

/// The toolkit keeps the TCP socket below to itself; as its child it can be found.
void SocketConnection::watchSocketBelow() {
    m_below = m_socket->findChild<QTcpSocket*>();
    if (!m_below)
        return;
    // A keystroke's echo must not wait for the next one.
    m_below->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    watchForVanishedPeer(m_below->socketDescriptor());
    limitUnsent(m_below->socketDescriptor(), static_cast<int>(m_limits.room));
    connect(m_below, &QTcpSocket::bytesWritten, this, &SocketConnection::sendWhatHasRoom);
    if (auto* const encrypted = qobject_cast<QSslSocket*>(m_below))
        connect(encrypted, &QSslSocket::encryptedBytesWritten, this, &SocketConnection::sendWhatHasRoom);
    // The toolkit has answered the pings among it by now.
    connect(m_below, &QTcpSocket::readyRead, this, &SocketConnection::checkThatPeerReads);
}

/// What has been sent and waits in the toolkit for the system to take it; what is encrypted no longer counts as the
/// socket's own.
qint64 SocketConnection::bytesToWrite() const {
    if (!m_below)
        return 0;
    const auto* const encrypted = qobject_cast<QSslSocket*>(m_below);
    return m_below->bytesToWrite() + (encrypted ? encrypted->encryptedBytesToWrite() : 0);
}

void SocketConnection::checkThatPeerReads() {
    // Each ping is answered, whether or not anybody takes the answers. We fill half of this ourselves at the most.
    if (bytesToWrite() > 2 * m_limits.backlog) {
        qCDebug(relayLog) << "No answers are taken by" << loggable(m_request.url);
        fail();
    }
}

void SocketConnection::sendInTurn(const QString& text, Task onTaken) {
    if (m_state == State::ended) {
        onTaken();
        return;
    }
    m_inTurn.push_back({text, std::move(onTaken)});
    sendWhatHasRoom();
}

void SocketConnection::sendWhatHasRoom() {
    // Sending may write at once, and who hears that there is room may send.
    if (m_state != State::open || std::exchange(m_isSendingInTurn, true))
        return;
    while (m_state == State::open && !m_inTurn.empty() && bytesToWrite() < m_limits.room) {
        const Waiting next = std::move(m_inTurn.front());
        m_inTurn.pop_front();
        m_socket->sendTextMessage(next.text);
        next.onTaken();
    }
    m_isSendingInTurn = false;
}

void SocketConnection::send(const QString& text) {
    const qint64 waiting = m_unsentBytes + bytesToWrite();
    if (m_state == State::ended || waiting + text.size() > m_limits.backlog) {
        qCDebug(relayLog) << "Dropped a message to" << loggable(m_request.url);
        return;
    }
    if (m_state == State::open) {
        m_socket->sendTextMessage(text);
    } else {
        m_unsent.append(text);
        m_unsentBytes += text.size();
    }
}

void SocketConnection::receive(SocketReceiver receiver) {
    m_receivers.push_back(std::move(receiver));
    // Not within this call: a receiver that asks again from within would otherwise go a level deeper for each message.
    if (!m_isDelivering && (!m_unread.empty() || m_state == State::ended)) {
        deliverLater();
    }
}

void SocketConnection::deliverLater() {
    m_queue.async([weak = QPointer(this)] {
        if (weak)
            weak->deliver();
    });
}

void SocketConnection::arrived(SocketMessage message) {
    // The end may come in the middle of what has been read already.
    if (m_state == State::ended)
        return;
    m_unreadBytes += message.payload.size();
    m_unread.push_back(std::move(message));
    deliver();
    if (m_unreadBytes > m_limits.message) {
        qCDebug(relayLog) << "Too much comes unasked from" << loggable(m_request.url);
        fail();
    }
}

void SocketConnection::deliver() {
    if (std::exchange(m_isDelivering, true))
        return;
    while (!m_receivers.empty() && !m_unread.empty()) {
        const SocketReceiver receiver = std::move(m_receivers.front());
        const SocketMessage message = std::move(m_unread.front());
        m_receivers.pop_front();
        m_unread.pop_front();
        m_unreadBytes -= message.payload.size();
        receiver(message);
    }
    if (m_state == State::ended) {
        for (const SocketReceiver& receiver : std::exchange(m_receivers, {}))
            receiver(std::nullopt);
    }
    m_isDelivering = false;
    // Who asks for more out of the failure itself is told on a later turn.
    if (!m_receivers.empty() && m_state == State::ended)
        deliverLater();
}

void SocketConnection::fail() {
    if (m_state == State::ended)
        return;
    // The peer is gone, or not worth a farewell.
    end(std::nullopt);
    deliver();
}

void SocketConnection::cancel(SocketCloseCode code) {
    if (m_state == State::ended)
        return;
    end(code);
    deliver();
}

void SocketConnection::end(std::optional<SocketCloseCode> code) {
    const State before = std::exchange(m_state, State::ended);
    m_unsent.clear();
    m_unsentBytes = 0;
    for (const Waiting& waiting : std::exchange(m_inTurn, {}))
        waiting.onTaken();
    QTcpSocket* const below = std::exchange(m_below, nullptr);
    QWebSocket* const socket = std::exchange(m_socket, nullptr);
    if (!socket)
        return;
    socket->disconnect(this);
    if (below)
        below->disconnect(this);
    // This may be one of the socket's own signals, and its last bytes may still have to leave.
    socket->setParent(m_leaving);
    if (code && before == State::open) {
        connect(socket, &QWebSocket::disconnected, socket, &QObject::deleteLater);
        m_queue.asyncAfter(closingTimeout, [weak = QPointer(socket)] {
            if (weak)
                weak->deleteLater();
        });
        socket->close(static_cast<QWebSocketProtocol::CloseCode>(*code));
    } else {
        socket->deleteLater();
    }
}

} // namespace pelorin
