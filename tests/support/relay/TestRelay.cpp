#include "tests/support/relay/TestRelay.h"

#include "tests/support/relay/PhonePage.h"

#include <QCryptographicHash>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>
#include <QTcpSocket>
#include <QtEndian>

#include <algorithm>
#include <sys/socket.h>

namespace pelorin {

namespace {

using Header = std::pair<QByteArray, QByteArray>;

QByteArray replyBytes(int status, const QByteArray& body, const QByteArray& type, const QList<Header>& headers = {}) {
    QByteArray reply = "HTTP/1.1 " + QByteArray::number(status) + " -\r\nContent-Type: " + type +
                       "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n";
    for (const auto& [name, value] : headers)
        reply += name + ": " + value + "\r\n";
    return reply + "\r\n" + body;
}

QByteArray jsonReply(const QJsonObject& object) {
    return replyBytes(200, QJsonDocument(object).toJson(QJsonDocument::Compact), "application/json");
}

QString newToken() {
    QByteArray bytes(16, 0);
    for (char& byte : bytes)
        byte = static_cast<char>(QRandomGenerator::system()->generate() & 0xff);
    return QString::fromLatin1(bytes.toHex());
}

void resetConnection(QTcpSocket* socket) {
    socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    const linger now{.l_onoff = 1, .l_linger = 0};
    setsockopt(static_cast<int>(socket->socketDescriptor()), SOL_SOCKET, SO_LINGER, &now, sizeof now);
    socket->abort();
}

} // namespace

QByteArray TestRelayRequest::header(const QByteArray& name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

QString TestRelayRequest::token() const {
    const QByteArray authorization = header("Authorization");
    return authorization.startsWith("Bearer ") ? QString::fromUtf8(authorization.sliced(7)) : QString();
}

TestRelayAnswer TestRelayAnswer::status(int status, const QByteArray& body, const QList<Header>& headers) {
    return {Kind::bytes, replyBytes(status, body, "application/json", headers)};
}

TestRelaySocket::TestRelaySocket(QTcpSocket* socket, QString token) : m_socket(socket), m_token(std::move(token)) {
    connect(socket, &QTcpSocket::disconnected, this, [this] {
        m_isOpen = false;
        emit ended();
    });
}

void TestRelaySocket::sendText(const QString& text) {
    sendFrame(0x1, text.toUtf8());
}

void TestRelaySocket::sendFrame(quint8 opcode, const QByteArray& payload, bool isFinal) {
    QByteArray frame;
    frame.append(static_cast<char>(opcode | (isFinal ? 0x80 : 0)));
    if (payload.size() < 126) {
        frame.append(static_cast<char>(payload.size()));
    } else if (payload.size() < 65'536) {
        frame.append(char(126));
        const quint16 size = qToBigEndian(static_cast<quint16>(payload.size()));
        frame.append(reinterpret_cast<const char*>(&size), sizeof size);
    } else {
        frame.append(char(127));
        const quint64 size = qToBigEndian(static_cast<quint64>(payload.size()));
        frame.append(reinterpret_cast<const char*>(&size), sizeof size);
    }
    sendBytes(frame + payload);
}

void TestRelaySocket::sendBytes(const QByteArray& bytes) {
    if (!m_isOpen)
        return;
    m_socket->write(bytes);
    m_socket->flush();
}

void TestRelaySocket::close(quint16 code) {
    const quint16 payload = qToBigEndian(code);
    sendFrame(0x8, QByteArray(reinterpret_cast<const char*>(&payload), sizeof payload));
    drop();
}

void TestRelaySocket::drop() {
    if (m_isOpen)
        m_socket->disconnectFromHost();
}

void TestRelaySocket::reset() {
    if (m_isOpen)
        resetConnection(m_socket);
}

void TestRelaySocket::stopReading() {
    // Without a bound the toolkit reads all that the system has got.
    m_socket->setReadBufferSize(1);
    disconnect(m_socket, &QTcpSocket::readyRead, nullptr, nullptr);
}

void TestRelaySocket::goOnReading() {
    m_socket->setReadBufferSize(0);
    connect(m_socket, &QTcpSocket::readyRead, this, [this] { receive(m_socket->readAll()); });
    receive(m_socket->readAll());
}

void TestRelaySocket::receive(const QByteArray& bytes) {
    m_buffer += bytes;
    while (m_isOpen && takeFrame()) {
    }
}

bool TestRelaySocket::takeFrame() {
    if (m_buffer.size() < 2)
        return false;
    const auto byte = [this](qsizetype index) {
        return static_cast<quint8>(m_buffer[index]);
    };
    const bool isFinal = (byte(0) & 0x80) != 0;
    const int opcode = byte(0) & 0x0f;
    quint64 size = byte(1) & 0x7f;
    qsizetype head = 2;
    if (size == 126)
        head = 4;
    else if (size == 127)
        head = 10;
    // Frames of a client are masked.
    if (m_buffer.size() < head + 4)
        return false;
    if (head == 4)
        size = qFromBigEndian<quint16>(m_buffer.constData() + 2);
    else if (head == 10)
        size = qFromBigEndian<quint64>(m_buffer.constData() + 2);
    if (static_cast<quint64>(m_buffer.size()) < static_cast<quint64>(head) + 4 + size)
        return false;
    const QByteArray mask = m_buffer.mid(head, 4);
    QByteArray payload = m_buffer.mid(head + 4, static_cast<qsizetype>(size));
    m_buffer.remove(0, head + 4 + static_cast<qsizetype>(size));
    for (qsizetype index = 0; index < payload.size(); ++index)
        payload[index] = static_cast<char>(payload[index] ^ mask[index % 4]);
    if (opcode == 0x8) {
        m_closePayload = payload;
        drop();
    } else if (opcode <= 0x2) {
        ++m_frames;
        m_message += payload;
        if (isFinal) {
            m_texts.append(QString::fromUtf8(std::exchange(m_message, {})));
            emit textArrived(m_texts.last());
        }
    }
    return true;
}

struct TestRelay::Peer {
    QTcpSocket* connection;
    QByteArray buffer;
    TestRelaySocket* socket = nullptr;
    std::optional<TestRelayRequest> held;
};

TestRelay::TestRelay() = default;

TestRelay::~TestRelay() {
    goAway();
}

void TestRelay::useTls(const QString& certificateFile, const QString& keyFile) {
    m_tlsFiles = {certificateFile, keyFile};
}

bool TestRelay::start(quint16 port) {
    if (port != 0)
        m_port = port;
    const bool isListening = listen(QHostAddress::LocalHost, m_port);
    m_port = serverPort();
    return isListening;
}

void TestRelay::goAway() {
    close();
    const auto peers = std::exchange(m_peers, {});
    for (const auto& peer : peers)
        peer->connection->abort();
}

QString TestRelay::url() const {
    return QStringLiteral("%1://127.0.0.1:%2").arg(m_tlsFiles ? "https" : "http").arg(m_port);
}

void TestRelay::addToken(const QString& token) {
    m_instances[token];
}

void TestRelay::answer(const QByteArray& path, const std::optional<TestRelayAnswer>& answer) {
    if (answer)
        m_answers.insert(path, *answer);
    else
        m_answers.remove(path);
}

void TestRelay::release() {
    for (const auto& peer : m_peers) {
        if (const auto request = std::exchange(peer->held, std::nullopt))
            peer->connection->write(reply(*request));
    }
}

QList<TestRelayRequest> TestRelay::requests(const QByteArray& path) const {
    QList<TestRelayRequest> matching;
    std::ranges::copy_if(m_requests, std::back_inserter(matching),
                         [&](const TestRelayRequest& request) { return request.path() == path; });
    return matching;
}

TestRelaySocket* TestRelay::openSocket() const {
    const auto newest = std::find_if(m_sockets.rbegin(), m_sockets.rend(),
                                     [](const TestRelaySocket* socket) { return socket->isOpen(); });
    return newest == m_sockets.rend() ? nullptr : *newest;
}

int TestRelay::openSockets() const {
    return static_cast<int>(
        std::ranges::count_if(m_sockets, [](const TestRelaySocket* socket) { return socket->isOpen(); }));
}

void TestRelay::decide(const QString& token, const QString& id, const QString& decision) {
    const QJsonObject element{{"id", id}, {"decision", decision}};
    m_instances[token].decisions.append(element);
    const QJsonObject message{{"type", "decision"}, {"decisions", QJsonArray{element}}};
    sendToComputers(token, QString::fromUtf8(QJsonDocument(message).toJson(QJsonDocument::Compact)));
}

void TestRelay::sendToComputers(const QString& token, const QString& text) {
    for (TestRelaySocket* socket : m_sockets) {
        if (socket->isOpen() && socket->token() == token)
            socket->sendText(text);
    }
}

void TestRelay::addDevice(const QString& token, const QJsonObject& device) {
    m_instances[token].devices.append(device);
}

void TestRelay::incomingConnection(qintptr descriptor) {
    ++m_connections;
    auto* const connection = m_tlsFiles ? new QSslSocket(this) : new QTcpSocket(this);
    connection->setSocketDescriptor(descriptor);
    connection->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_peers.push_back(std::make_unique<Peer>(Peer{.connection = connection}));
    Peer* const peer = m_peers.back().get();
    connect(connection, &QTcpSocket::disconnected, this, [this, peer, connection] {
        connection->deleteLater();
        std::erase_if(m_peers, [&](const auto& candidate) { return candidate.get() == peer; });
    });
    if (m_isMute) {
        connection->setReadBufferSize(1);
        return;
    }
    connect(connection, &QTcpSocket::readyRead, this, [this, peer] { received(*peer); });
    if (auto* const secure = qobject_cast<QSslSocket*>(connection)) {
        QFile key(m_tlsFiles->second);
        if (key.open(QFile::ReadOnly))
            secure->setPrivateKey(QSslKey(&key, QSsl::Ec));
        secure->setLocalCertificateChain(QSslCertificate::fromPath(m_tlsFiles->first));
        secure->startServerEncryption();
    }
}

void TestRelay::received(Peer& peer) {
    if (peer.socket) {
        peer.socket->receive(peer.connection->readAll());
        return;
    }
    peer.buffer += peer.connection->readAll();
    while (!peer.socket && takeRequest(peer)) {
    }
}

bool TestRelay::takeRequest(Peer& peer) {
    const qsizetype end = peer.buffer.indexOf("\r\n\r\n");
    if (end < 0)
        return false;
    const QList<QByteArray> lines = peer.buffer.left(end).split('\n');
    const QList<QByteArray> parts = lines.first().trimmed().split(' ');
    TestRelayRequest request{.method = parts.value(0), .target = parts.value(1)};
    for (const QByteArray& line : lines.sliced(1)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    const qsizetype length = request.header("Content-Length").toLongLong();
    if (peer.buffer.size() < end + 4 + length)
        return false;
    request.body = peer.buffer.mid(end + 4, length);
    peer.buffer.remove(0, end + 4 + length);
    m_requests.append(request);
    respond(peer, request);
    emit requestArrived(request.path());
    return std::ranges::any_of(m_peers, [&](const auto& candidate) { return candidate.get() == &peer; });
}

void TestRelay::respond(Peer& peer, const TestRelayRequest& request) {
    const auto answer = m_answers.constFind(request.path());
    if (answer != m_answers.constEnd()) {
        switch (answer->kind) {
        case TestRelayAnswer::Kind::silence:
            return;
        case TestRelayAnswer::Kind::close:
            peer.connection->disconnectFromHost();
            return;
        case TestRelayAnswer::Kind::reset:
            resetConnection(peer.connection);
            return;
        case TestRelayAnswer::Kind::bytes:
            peer.connection->write(answer->bytes);
            return;
        case TestRelayAnswer::Kind::bytesAndClose:
            peer.connection->write(answer->bytes);
            peer.connection->disconnectFromHost();
            return;
        case TestRelayAnswer::Kind::held:
            peer.held = request;
            return;
        }
    }
    const QString token = request.token();
    if (request.path().endsWith("/ws-mac") && m_instances.contains(token))
        openSocket(peer, request, token);
    else
        peer.connection->write(reply(request));
}

void TestRelay::openSocket(Peer& peer, const TestRelayRequest& request, const QString& token) {
    // The one number that every implementation of the protocol shares.
    const QByteArray salted = request.header("Sec-WebSocket-Key") + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    peer.connection->write("HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
                           "Sec-WebSocket-Accept: " +
                           QCryptographicHash::hash(salted, QCryptographicHash::Sha1).toBase64() + "\r\n\r\n");
    auto* const socket = new TestRelaySocket(peer.connection, token);
    socket->setParent(this);
    peer.socket = socket;
    m_sockets.append(socket);
    connect(socket, &TestRelaySocket::textArrived, this, [this, socket](const QString& text) {
        const QJsonObject message = QJsonDocument::fromJson(text.toUtf8()).object();
        if (message.value("type") == QLatin1String("term-out"))
            m_instances[socket->token()].terminalOutput += message.value("data").toString();
        else if (m_greetsBack && message.value("type") == QLatin1String("hello"))
            socket->sendText(QStringLiteral(R"({"type":"ready"})"));
    });
    emit socketOpened(socket);
    socket->receive(std::exchange(peer.buffer, {}));
}

QByteArray TestRelay::reply(const TestRelayRequest& request) {
    const QByteArray path = request.path();
    const QJsonObject body = QJsonDocument::fromJson(request.body).object();
    if (path == "/" && request.method == "GET")
        return replyBytes(200, phonePage, "text/html; charset=utf-8");
    if (path == "/provision" && request.method == "POST") {
        const QString token = newToken();
        addToken(token);
        emit tokenHandedOut(token);
        return jsonReply({{"token", token}});
    }
    const QString token = request.token();
    const auto found = m_instances.find(token);
    if (found == m_instances.end())
        return replyBytes(401, {}, "text/plain");
    Instance& instance = *found;
    if (path == "/sync" && request.method == "POST") {
        instance.asks = body.value("asks").toArray();
        QJsonArray stillOpen;
        for (const QJsonValue& decision : std::as_const(instance.decisions)) {
            if (std::ranges::any_of(std::as_const(instance.asks),
                                    [&](const QJsonValue& ask) { return ask["id"] == decision["id"]; }))
                stillOpen.append(decision);
        }
        instance.decisions = stillOpen;
        return jsonReply({});
    }
    if (path == "/clear" && request.method == "POST") {
        QJsonArray others;
        for (const QJsonValue& ask : std::as_const(instance.asks)) {
            if (ask["id"] != body.value("id"))
                others.append(ask);
        }
        instance.asks = others;
        return jsonReply({});
    }
    if (path == "/poll" && request.method == "GET")
        return jsonReply({{"decisions", instance.decisions}});
    if (path == "/devices" && request.method == "GET")
        return jsonReply({{"devices", instance.devices}});
    if (path == "/device-remove" && request.method == "POST") {
        QJsonArray others;
        for (const QJsonValue& device : std::as_const(instance.devices)) {
            if (device["id"] != body.value("id"))
                others.append(device);
        }
        instance.devices = others;
        return jsonReply({});
    }
    return pageReply(request, token, body);
}

QByteArray TestRelay::pageReply(const TestRelayRequest& request, const QString& token, const QJsonObject& body) {
    const QByteArray path = request.path();
    Instance& instance = m_instances[token];
    if (path == "/phone/state" && request.method == "POST") {
        const QString id = body.value("id").toString();
        if (std::ranges::none_of(std::as_const(instance.devices),
                                 [&](const QJsonValue& device) { return device["id"].toString() == id; })) {
            instance.devices.append(QJsonObject{{"id", id},
                                                {"label", "browser"},
                                                {"country", ""},
                                                {"ua", QString::fromUtf8(request.header("User-Agent"))}});
        }
        const auto computers = std::ranges::count_if(
            m_sockets, [&](const TestRelaySocket* socket) { return socket->isOpen() && socket->token() == token; });
        return jsonReply({{"asks", instance.asks},
                          {"computers", static_cast<qint64>(computers)},
                          {"output", instance.terminalOutput}});
    }
    if (path == "/phone/decide" && request.method == "POST") {
        decide(token, body.value("id").toString(), body.value("decision").toString());
        return jsonReply({});
    }
    if (path == "/phone/terminal" && request.method == "POST") {
        sendToComputers(token, QString::fromUtf8(QJsonDocument(body).toJson(QJsonDocument::Compact)));
        return jsonReply({});
    }
    return replyBytes(404, {}, "text/plain");
}

} // namespace pelorin
