#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonArray>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTcpServer>
#include <QUrlQuery>

#include <memory>
#include <optional>
#include <utility>

class QTcpSocket;

namespace pelorin {

/// One request as the relay read it.
struct TestRelayRequest {
    QByteArray method;
    /// Path and query, as they stood.
    QByteArray target;
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;

    /// The header's value, case of the name aside; empty when it is missing.
    QByteArray header(const QByteArray& name) const;
    /// What it was authorised with; empty when it was not.
    QString token() const;
    /// The path alone.
    QByteArray path() const { return target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?')); }
};

/// How the relay answers instead of its usual way.
struct TestRelayAnswer {
    enum class Kind {
        /// Reads the request and never says anything.
        silence,
        /// Closes the connection, orderly.
        close,
        /// Resets the connection.
        reset,
        /// Sends the bytes, whatever they are.
        bytes,
        /// Sends the bytes and closes.
        bytesAndClose,
        /// Waits for `release`, then answers as usual.
        held
    };
    Kind kind = Kind::silence;
    QByteArray bytes;

    /// A whole reply of that status.
    static TestRelayAnswer status(int status, const QByteArray& body = {},
                                  const QList<std::pair<QByteArray, QByteArray>>& headers = {});
};

/// One WebSocket of a computer, seen from the relay.
class TestRelaySocket final : public QObject {
    Q_OBJECT

public:
    TestRelaySocket(QTcpSocket* socket, QString token);

    const QString& token() const { return m_token; }
    /// The text messages that arrived, in order.
    const QStringList& texts() const { return m_texts; }
    /// How many frames arrived that were parts of messages.
    int frames() const { return m_frames; }
    /// The payload of the close frame that arrived.
    const std::optional<QByteArray>& closePayload() const { return m_closePayload; }
    bool isOpen() const { return m_isOpen; }

    void sendText(const QString& text);
    void sendFrame(quint8 opcode, const QByteArray& payload, bool isFinal = true);
    void sendBytes(const QByteArray& bytes);
    /// Sends a close frame and ends the connection.
    void close(quint16 code);
    /// Ends the connection without a word.
    void drop();
    void reset();
    /// Reads nothing more, so that what the computer sends piles up there.
    void stopReading();
    /// Takes what has piled up, and goes on.
    void goOnReading();

    void receive(const QByteArray& bytes);

signals:
    void textArrived(const QString& text);
    void ended();

private:
    bool takeFrame();

    QTcpSocket* m_socket;
    const QString m_token;
    QByteArray m_buffer;
    QByteArray m_message;
    int m_frames = 0;
    QStringList m_texts;
    std::optional<QByteArray> m_closePayload;
    bool m_isOpen = true;
};

/// A small relay: HTTP and WebSockets, http or https, on the loopback interface. It keeps what computers push, hands
/// the phones' decisions over sockets and polls, and can fail in all the ways that tests need. The WebSocket's framing
/// is written out here, independent of the toolkit's, so that it can be broken on purpose. Lives on one thread with an
/// event loop.
class TestRelay final : public QTcpServer {
    Q_OBJECT

public:
    TestRelay();
    ~TestRelay() override;

    /// Speaks https with the certificate and key in these PEM files. Before `start`.
    void useTls(const QString& certificateFile, const QString& keyFile);

    /// Listens on 127.0.0.1; port 0 lets the system choose, once: the port is kept over `goAway`.
    bool start(quint16 port = 0);

    /// Ends every connection and listens no more, as a relay that is switched off.
    void goAway();

    /// The base address.
    QString url() const;

    /// Accepts the token; an instance is made for it.
    void addToken(const QString& token);

    /// Whether the relay answers a computer's hello, as a relay does that wants its polls to pause.
    void setGreetsBack(bool greetsBack) { m_greetsBack = greetsBack; }

    /// Answers all requests for the path (for example "/poll") so from now on; nothing: as usual again.
    void answer(const QByteArray& path, const std::optional<TestRelayAnswer>& answer);

    /// Answers all that is held.
    void release();

    /// Accepts connections and never reads from them nor says anything.
    void setIsMute(bool isMute) { m_isMute = isMute; }

    /// All requests so far, handshakes included.
    const QList<TestRelayRequest>& requests() const { return m_requests; }
    /// Those for the path.
    QList<TestRelayRequest> requests(const QByteArray& path) const;
    /// How many connections have come so far.
    int connections() const { return m_connections; }

    /// The sockets that completed their handshake, in order, closed ones included.
    const QList<TestRelaySocket*>& sockets() const { return m_sockets; }
    /// The newest socket that is open; null when there is none.
    TestRelaySocket* openSocket() const;
    int openSockets() const;

    /// What the computer with the token last said is waiting.
    QJsonArray asks(const QString& token) const { return m_instances.value(token).asks; }

    /// A phone decides: every open socket of the token gets it, and so does every poll until the ask is gone from a
    /// push.
    void decide(const QString& token, const QString& id, const QString& decision);

    /// Sends a text to every open socket of the token.
    void sendToComputers(const QString& token, const QString& text);

    /// Puts a phone on the list of the token.
    void addDevice(const QString& token, const QJsonObject& device);
    QJsonArray devices(const QString& token) const { return m_instances.value(token).devices; }

    /// All output of the phone terminal's shell.
    QString terminalOutput(const QString& token) const { return m_instances.value(token).terminalOutput; }

signals:
    void requestArrived(const QByteArray& path);
    /// A computer that had no token got this one.
    void tokenHandedOut(const QString& token);
    void socketOpened(pelorin::TestRelaySocket* socket);

protected:
    void incomingConnection(qintptr descriptor) override;

private:
    struct Instance {
        QJsonArray asks;
        QJsonArray decisions;
        QJsonArray devices;
        QString terminalOutput;
    };
    struct Peer;

    void received(Peer& peer);
    bool takeRequest(Peer& peer);
    void respond(Peer& peer, const TestRelayRequest& request);
    void openSocket(Peer& peer, const TestRelayRequest& request, const QString& token);
    QByteArray reply(const TestRelayRequest& request);
    QByteArray pageReply(const TestRelayRequest& request, const QString& token, const QJsonObject& body);

    std::optional<std::pair<QString, QString>> m_tlsFiles;
    quint16 m_port = 0;
    bool m_greetsBack = false;
    bool m_isMute = false;
    int m_connections = 0;
    int m_lastToken = 0;
    QHash<QByteArray, TestRelayAnswer> m_answers;
    QHash<QString, Instance> m_instances;
    QList<TestRelayRequest> m_requests;
    QList<TestRelaySocket*> m_sockets;
    std::vector<std::unique_ptr<Peer>> m_peers;
};

} // namespace pelorin
