#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/RelayConfig.h"
#include "BeaconryKit/relay/SocketTransport.h"

#include <QString>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// Keeps one WebSocket open to the relay. Over it come the decisions of phones and what a phone's terminal says; this
/// side greets and sends what the shell prints. It connects again, every 2 seconds and for ever, whenever there is no
/// connection. Owned by the application.
///
/// `start`, `stop`, `reconnect` and `sendHello` belong to the main thread, `sendTermOut` and `isConnected` to any.
///
/// | state   | entered by                         | left by                                           |
/// | ------- | ---------------------------------- | ------------------------------------------------- |
/// | idle    | construction                       | an attempt, by `start`; `stop`                    |
/// | waiting | no usable configuration; a failure | an attempt, 2 seconds later or sooner; `stop`     |
/// | open    | an attempt                         | a failure; `reconnect`, which tries again; `stop` |
/// | stopped | `stop`                             | `start`, which tries again                        |
///
/// Apart from these, the socket is confirmed or not. A message confirms it, also one of a connection that is forgotten;
/// a failure, `reconnect` and `stop` end that.
///
/// `reconnect` connects twice: the old connection, which it closes, fails, and a failure always forgets the present
/// connection and connects again 2 seconds later. The relay must bear several connections from one computer for a
/// while. One that is forgotten stays open for another minute, because a decision may be on its way in it, and is
/// closed then.
class RelaySocket {
public:
    /// All are called on background threads and without a lock.
    struct Callbacks {
        /// The relay to connect to next; nothing while none is configured.
        std::function<std::optional<RelayConfig>()> config;
        /// Whether phones may drive a shell now.
        std::function<bool()> termEnabled;
        /// A phone has decided a permission request; `decision` is the relay's word for it.
        std::function<void(const QString& requestId, const QString& decision)> onDecision;
        /// Keystrokes for the shell.
        std::function<void(const QString& text)> onInput;
        /// The size of the phone's terminal; each from 0 to 65535.
        std::function<void(int cols, int rows)> onResize;
        /// The phone asks for a fresh shell.
        std::function<void()> onNewShell;
    };

    /// The time from a failure to the next attempt.
    static constexpr std::chrono::seconds reconnectDelay{2};
    /// How long it may take until a connection stands.
    static constexpr std::chrono::seconds connectTimeout{60};
    /// How long a connection that was forgotten stays open.
    static constexpr std::chrono::seconds farewell{60};

    /// Connects to nothing yet. Dispatch and transport must outlive the socket.
    RelaySocket(Dispatch& dispatch, SocketTransport& transport, Callbacks callbacks);
    /// Closes all connections. A callback that runs on another thread meanwhile may end later.
    ~RelaySocket();
    RelaySocket(const RelaySocket&) = delete;
    RelaySocket& operator=(const RelaySocket&) = delete;

    /// Connects, and keeps connecting.
    void start();

    /// Closes the connection and connects no more.
    void stop();

    /// Connects anew, with the configuration as it is now.
    void reconnect();

    /// Tells the relay whether phones may drive a shell; nothing happens without a connection.
    void sendHello();

    /// Sends what the shell printed; dropped without a connection. `onTaken`, where there is one, is called exactly
    /// once, on any thread, also within this call: when the connection has room for more.
    void sendTermOut(const QString& text, Task onTaken = {});

    /// Whether the connection has delivered a message: an open connection alone proves nothing.
    bool isConnected() const;

    /// The address to connect to for a relay's base address; nothing when that begins neither with "https://" nor with
    /// "http://" (lower case) or cannot be understood.
    static std::optional<QUrl> wsURL(const QString& base);

private:
    class Core;
    std::shared_ptr<Core> m_core;
};

} // namespace pelorin
