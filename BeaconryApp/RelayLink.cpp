#include "BeaconryApp/RelayLink.h"

#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/platform/WhileAlive.h"
#include "BeaconryKit/relay/RelayMessages.h"
#include "BeaconryKit/relay/ReservedName.h"

#include <algorithm>
#include <utility>

namespace pelorin {

namespace {

/// Whether nobody can answer at the address, which is then left alone: the built-in one is of this kind.
bool leadsNowhere(const QString& url) {
    return isReservedName(QUrl(trimBlanks(url)).host());
}

/// Whether the lists say the same.
bool isSame(const SharedAsks& left, const SharedAsks& right) {
    return std::ranges::equal(
        left, right, [](const SharedAsk& one, const SharedAsk& other) { return one == other || *one == *other; });
}

} // namespace

RelayLink::RelayLink(const RelayLinkParts& parts, OnDecision onDecision)
    : m_parts(parts),
      m_onDecision(std::move(onDecision)),
      m_client(parts.dispatch, parts.http),
      m_provisioner(parts.dispatch, parts.http),
      m_listPush(
          parts.dispatch, parts.dispatch.mainQueue(), quietTime,
          [this] {
              push();
              m_gate->refresh(m_parts.settings);
          },
          patience) {
}

RelayLink::~RelayLink() {
    // The socket first: what it still hands to the shell then reaches the whole shell.
    m_socket.reset();
}

void RelayLink::start() {
    connect(&m_parts.store, &AskStore::asksWillChange, this, [this](const SharedAsks& asks) {
        // A session at work clears its rows with every step, mostly none: an ask must not wait for that.
        if (isSame(asks, m_parts.store.asks()))
            m_listPush.triggerWithoutDelay();
        else
            m_listPush.trigger();
    });
    m_gate->refresh(m_parts.settings);
    m_lastIdentity = identity();
    provisionIfNeeded();
    if (hasRelay())
        open();
}

void RelayLink::followSettings() {
    m_gate->refresh(m_parts.settings);
    const QString now = identity();
    const bool isAnother = std::exchange(m_lastIdentity, now) != now;
    if (!hasRelay()) {
        close();
        return;
    }
    if (!m_socket)
        open();
    else if (isAnother)
        m_socket->reconnect();
    if (!m_gate->termConfig())
        m_shell->stop();
    // The phone learns at once whether it has a terminal.
    m_socket->sendHello();
}

void RelayLink::open() {
    // The shell needs the socket for its output, and the socket the shell for a phone's input: the shell's end is weak.
    // The shell waits for its output before it goes, so that the output may name it plainly.
    struct Ends {
        std::weak_ptr<RelaySocket> socket;
        PhoneShell* shell = nullptr;
    };
    const auto ends = std::make_shared<Ends>();
    m_shell = std::make_shared<PhoneShell>(m_parts.dispatch, m_gate, [ends](const QString& text) {
        if (const auto present = ends->socket.lock())
            present->sendTermOut(text, ends->shell->hold(text));
    });
    ends->shell = m_shell.get();
    m_socket = std::make_shared<RelaySocket>(m_parts.dispatch, m_parts.sockets, socketCallbacks());
    ends->socket = m_socket;
    m_socket->start();
    // While the socket speaks, it brings the decisions.
    m_client.startPolling(
        pollInterval,
        [gate = m_gate, socket = std::weak_ptr(m_socket)]() -> std::optional<RelayConfig> {
            const auto present = socket.lock();
            return present && present->isConnected() ? std::nullopt : gate->pollConfig();
        },
        decisionHandler());
}

void RelayLink::close() {
    if (!m_socket)
        return;
    m_client.stopPolling();
    m_socket->stop();
    m_socket.reset();
    m_shell.reset();
}

RelaySocket::Callbacks RelayLink::socketCallbacks() {
    const auto withShell = [shell = std::weak_ptr(m_shell)](auto action) {
        return [shell, action](const auto&... values) {
            if (const auto present = shell.lock())
                action(*present, values...);
        };
    };
    return {
        .config = [gate = m_gate] { return gate->pollConfig(); },
        .termEnabled = [gate = m_gate] { return gate->termConfig().has_value(); },
        .onDecision = decisionHandler(),
        .onInput = withShell([](PhoneShell& shell, const QString& text) { shell.type(text); }),
        .onResize = withShell([](PhoneShell& shell, int columns, int rows) { shell.resize(columns, rows); }),
        .onNewShell = withShell([](PhoneShell& shell) { shell.restart(); }),
    };
}

std::function<void(const QString&, const QString&)> RelayLink::decisionHandler() {
    return [&mainQueue = m_parts.dispatch.mainQueue(),
            decide = whileAlive(this, &RelayLink::decide)](const QString& requestId, const QString& word) {
        mainQueue.async([decide, requestId, word] { decide(requestId, word); });
    };
}

void RelayLink::decide(const QString& requestId, const QString& word) {
    m_onDecision(requestId, word == QLatin1String("allow") ? Decision::allow : Decision::deny);
}

void RelayLink::push() {
    if (hasRelay())
        m_client.sync(relayAsks(m_parts.store.asks()), m_parts.settings.relayURL(), m_parts.settings.relayToken());
}

void RelayLink::provisionIfNeeded() {
    const auto hasToken = [](const RelayLink& self) {
        return !trimBlanks(self.m_parts.settings.relayToken()).isEmpty();
    };
    const QString url = m_parts.settings.relayURL();
    if (hasToken(*this) || leadsNowhere(url))
        return;
    m_provisioner.provision(url, RelayProvisioner::deviceName(),
                            whileAlive(this, [hasToken](RelayLink& self, const std::optional<QString>& token) {
                                // A token that was typed meanwhile wins.
                                if (!token || hasToken(self))
                                    return;
                                self.m_parts.settings.setRelayToken(*token);
                                self.push();
                            }));
}

bool RelayLink::hasRelay() const {
    return m_parts.settings.relayConfigured() && !leadsNowhere(m_parts.settings.relayURL());
}

QString RelayLink::identity() const {
    // The separator cannot occur in an address or a token.
    return m_parts.settings.relayURL() + QChar(u'\x01') + m_parts.settings.relayToken();
}

} // namespace pelorin
