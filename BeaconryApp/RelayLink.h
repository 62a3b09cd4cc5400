#pragma once

#include "BeaconryApp/PhoneShell.h"

#include "BeaconryKit/model/Decision.h"
#include "BeaconryKit/platform/Debouncer.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/RelayClient.h"
#include "BeaconryKit/relay/RelayGate.h"
#include "BeaconryKit/relay/RelayProvisioner.h"
#include "BeaconryKit/relay/RelaySocket.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

namespace pelorin {

/// What the link to the relay works with. All of it must outlive the link.
struct RelayLinkParts {
    AskStore& store;
    NotifierSettings& settings;
    Dispatch& dispatch;
    HTTPTransport& http;
    SocketTransport& sockets;
};

/// This computer's end of the phone relay. Pushes the open asks, brings what phones decide, gives phones a shell where
/// the user allows it, and obtains the first token. The socket, the poll timer and the shell come into being when a
/// relay is configured, and are let go when none is configured any more: without one no timer runs, and nothing is
/// tried again and again. Lives on the main thread; owned by the delegate.
class RelayLink final : public QObject {
    Q_OBJECT

public:
    /// How long the ask list must be quiet before it is pushed.
    static constexpr std::chrono::milliseconds quietTime{60};
    /// How long changes that go on and on hold the push back.
    static constexpr std::chrono::milliseconds patience{500};
    /// The time between two polls, in seconds.
    static constexpr double pollInterval = 5.0;

    /// Takes what a phone has decided on a request. Called on the main thread, on a turn of its own.
    using OnDecision = std::function<void(const QString& requestId, Decision decision)>;

    RelayLink(const RelayLinkParts& parts, OnDecision onDecision);
    ~RelayLink() override;

    /// Follows the store from now on, asks for a token if there is none, and connects if a relay is configured.
    void start();

    /// Takes the settings as they are now, after any of them has changed.
    void followSettings();

    /// The relay over HTTP, for whoever else speaks to it.
    RelayClient& client() { return m_client; }
    RelayProvisioner& provisioner() { return m_provisioner; }

private:
    void open();
    void close();
    void push();
    void provisionIfNeeded();
    void decide(const QString& requestId, const QString& word);
    bool hasRelay() const;
    QString identity() const;
    std::function<void(const QString&, const QString&)> decisionHandler();
    RelaySocket::Callbacks socketCallbacks();

    const RelayLinkParts m_parts;
    const OnDecision m_onDecision;
    RelayClient m_client;
    RelayProvisioner m_provisioner;
    const std::shared_ptr<RelayGate> m_gate = std::make_shared<RelayGate>();
    // Both null while no relay is configured.
    std::shared_ptr<PhoneShell> m_shell;
    std::shared_ptr<RelaySocket> m_socket;
    // The address and the token of the last connection.
    QString m_lastIdentity;
    Debouncer m_listPush;
};

} // namespace pelorin
