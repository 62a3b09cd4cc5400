#include "BeaconryApp/AppDelegate.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/platform/Overloaded.h"
#include "BeaconryKit/platform/WhileAlive.h"
#include "BeaconryKit/relay/RelayMessages.h"
#include "BeaconryKit/terminal/ExpandedAsk.h"
#include "BeaconryKit/terminal/TerminalCapture.h"

#include <QCoreApplication>
#include <QThread>

#include <algorithm>

namespace pelorin {

AppDelegate::AppDelegate(const AppDependencies& dependencies)
    : m_dependencies(dependencies),
      m_settings(dependencies.defaults),
      m_router(dependencies.dispatch),
      m_focus(dependencies.launcher, dependencies.raiser),
      m_answerRouter(m_router, m_settings, dependencies.runner),
      m_relay(dependencies.dispatch, dependencies.http),
      m_provisioner(dependencies.dispatch, dependencies.http),
      m_askListSync(dependencies.dispatch, dependencies.dispatch.mainQueue(), relayQuietTime, [this] {
          syncRelay();
          m_gate->refresh(m_settings);
      }) {
}

AppDelegate::~AppDelegate() {
    // The socket first: what it still hands to the shell then reaches the whole shell.
    m_relaySocket.reset();
}

std::optional<Alert> AppDelegate::start(quint16 port, Display display) {
    m_registry.setTrackOnlyOptIn(m_settings.trackOnlyOptIn());
    if (display == Display::present)
        makeWindows();
    if (auto alert = startServer(port))
        return alert;
    setUpStatusItem();
    // The announcement comes before the change is stored: the new values are read on a later turn.
    connect(&m_settings, &NotifierSettings::objectWillChange, this, &AppDelegate::settingsChanged,
            Qt::QueuedConnection);
    if (m_panelController)
        m_panelController->setSilenced(m_settings.silentMode());
    connect(&m_store, &AskStore::objectWillChange, this, [this] { m_askListSync.trigger(); });
    startRelay();
    return std::nullopt;
}

void AppDelegate::makeWindows() {
    const auto onAction = [this](const AskEvent& ask, const AskAction& action) {
        handle(ask, action);
    };
    const auto engine = std::make_shared<InterfaceEngine>();
    m_panelController = std::make_unique<NotchPanelController>(m_store, m_settings, m_dependencies.dispatch, onAction,
                                                               makePanelDependencies(engine));
    m_managerController = std::make_unique<ManagerWindowController>(
        ManagerParts{.store = m_store,
                     .registry = m_registry,
                     .settings = m_settings,
                     .dispatch = m_dependencies.dispatch,
                     .relay = m_relay,
                     .provisioner = m_provisioner},
        onAction, [this](const SessionInfo& session) { m_focus.focus(session); }, engine);
}

void AppDelegate::setUpStatusItem() {
    m_statusMenu = std::make_unique<StatusMenu>(
        m_store, m_registry, m_settings, m_dependencies.statusItem(),
        StatusMenu::Callbacks{
            .openManager = [this] { openManager(); },
            .jumpToSession = [this](const SessionInfo& session) { m_focus.focus(session); },
            .quit = [] { QCoreApplication::quit(); },
        });
}

void AppDelegate::openManager() {
    if (m_managerController)
        m_managerController->show();
}

std::optional<Alert> AppDelegate::startServer(quint16 port) {
    m_eventRouter = EventRouter::create(m_dependencies.dispatch, m_store, m_registry, m_settings, m_router,
                                        [this](const AskEvent& ask) { m_focus.focus(ask); });
    m_server = std::make_unique<EventServer>(
        port, true,
        [&mainQueue = m_dependencies.dispatch.mainQueue(), router = std::weak_ptr(m_eventRouter)](
            const QByteArray& path, const QByteArray& body, const WaitingHook& hook) {
            mainQueue.async([router, path, body, hook] {
                if (const auto target = router.lock())
                    target->route(path, body, hook);
            });
        });
    if (const auto error = m_server->start()) {
        m_server.reset();
        return Alert{QStringLiteral("Pelorin could not listen on port %1").arg(port),
                     QStringLiteral("Is another copy already running? (%1)").arg(description(*error))};
    }
    return std::nullopt;
}

RelaySocket::Callbacks AppDelegate::relayCallbacks() {
    const auto withShell = [shell = std::weak_ptr(m_phoneShell)](auto action) {
        return [shell, action](const auto&... values) {
            if (const auto present = shell.lock())
                action(*present, values...);
        };
    };
    return {
        .config = [gate = m_gate] { return gate->pollConfig(); },
        .termEnabled = [gate = m_gate] { return gate->termConfig().has_value(); },
        .onDecision = relayDecisionHandler(),
        .onInput = withShell([](PhoneShell& shell, const QString& text) { shell.type(text); }),
        .onResize = withShell([](PhoneShell& shell, int columns, int rows) { shell.resize(columns, rows); }),
        .onNewShell = withShell([](PhoneShell& shell) { shell.restart(); }),
    };
}

std::function<void(const QString&, const QString&)> AppDelegate::relayDecisionHandler() {
    return [&mainQueue = m_dependencies.dispatch.mainQueue(), decide = whileAlive(this, &AppDelegate::decideFromRelay)](
               const QString& requestId, const QString& decision) {
        mainQueue.async([decide, requestId, decision] { decide(requestId, decision); });
    };
}

void AppDelegate::startRelay() {
    m_gate->refresh(m_settings);
    m_lastRelayIdentity = relayIdentity();
    provisionRelayIfNeeded();
    // The shell needs the socket for its output, and the socket the shell for a phone's input: the shell's end is weak.
    const auto socket = std::make_shared<std::weak_ptr<RelaySocket>>();
    m_phoneShell = std::make_shared<PhoneShell>(m_dependencies.dispatch, m_gate, [socket](const QString& text) {
        if (const auto present = socket->lock())
            present->sendTermOut(text);
    });
    m_relaySocket = std::make_shared<RelaySocket>(m_dependencies.dispatch, m_dependencies.sockets, relayCallbacks());
    *socket = m_relaySocket;
    m_relaySocket->start();
    // While the socket speaks, it brings the decisions.
    m_relay.startPolling(
        relayPollInterval,
        [gate = m_gate, socket]() -> std::optional<RelayConfig> {
            const auto present = socket->lock();
            return present && present->isConnected() ? std::nullopt : gate->pollConfig();
        },
        relayDecisionHandler());
}

void AppDelegate::settingsChanged() {
    if (m_panelController)
        m_panelController->setSilenced(m_settings.silentMode());
    m_gate->refresh(m_settings);
    if (const QString identity = relayIdentity(); identity != m_lastRelayIdentity) {
        m_lastRelayIdentity = identity;
        m_relaySocket->reconnect();
    }
    if (!m_gate->termConfig())
        m_phoneShell->stop();
    // The phone learns at once whether it has a terminal.
    m_relaySocket->sendHello();
    m_statusMenu->rebuildMenu();
}

QString AppDelegate::relayIdentity() const {
    // The separator cannot occur in an address or a token.
    return m_settings.relayURL() + QChar(u'\x01') + m_settings.relayToken();
}

void AppDelegate::syncRelay() {
    if (m_settings.relayConfigured())
        m_relay.sync(relayAsks(m_store.asks()), m_settings.relayURL(), m_settings.relayToken());
}

void AppDelegate::provisionRelayIfNeeded() {
    const auto hasToken = [](const AppDelegate& self) {
        return !trimBlanks(self.m_settings.relayToken()).isEmpty();
    };
    if (hasToken(*this))
        return;
    m_provisioner.provision(m_settings.relayURL(), RelayProvisioner::deviceName(),
                            whileAlive(this, [hasToken](AppDelegate& self, const std::optional<QString>& token) {
                                // A token that was typed meanwhile wins.
                                if (!token || hasToken(self))
                                    return;
                                self.m_settings.setRelayToken(*token);
                                self.syncRelay();
                            }));
}

void AppDelegate::decideFromRelay(const QString& requestId, const QString& decision) {
    m_router.resolve(requestId, decision == QLatin1String("allow") ? Decision::allow : Decision::deny);
    m_store.remove(requestId);
}

quint16 AppDelegate::port() const {
    return m_server ? m_server->port() : 0;
}

SessionTarget AppDelegate::target(const AskEvent& ask) const {
    const auto session = m_registry.session(ask.sessionId);
    return {.tmuxPane = ask.tmuxPane,
            .tty = ask.ttyDevicePath().value_or(QString()),
            .termProgram = ask.termProgram,
            .optIn = session && session->optIn};
}

void AppDelegate::answer(const AskEvent& ask, const AskChoice& choice) {
    if (m_answerRouter.answer(ask, choice, target(ask)) == AnswerResult::needsTerminal())
        m_focus.focus(ask);
    else
        m_store.remove(ask.id());
}

bool AppDelegate::resolve(const AskEvent& ask, Decision decision) {
    return ask.isPermission() && m_router.resolve(ask.requestId, decision);
}

void AppDelegate::decide(const AskEvent& ask, Decision decision) {
    // A hook that waits no longer has left the question to the terminal.
    if (ask.isPermission() && !resolve(ask, decision))
        m_focus.focus(ask);
    m_store.remove(ask.id());
}

void AppDelegate::handle(const AskEvent& ask, const AskAction& action) {
    std::visit(Overloaded{
                   [&](const AskAction::Option& option) { answer(ask, AskChoice::option(option.index)); },
                   [&](const AskAction::Text& text) { answer(ask, AskChoice::text(text.text)); },
                   [&](const AskAction::Open&) {
                       // The CLI's own prompt gets the question back.
                       resolve(ask, Decision::ask);
                       m_focus.focus(ask);
                       m_store.remove(ask.id());
                   },
                   [&](const AskAction::Dismiss&) {
                       resolve(ask, Decision::ask);
                       m_store.remove(ask.id());
                   },
                   [&](const AskAction::Allow&) { decide(ask, Decision::allow); },
                   [&](const AskAction::Deny&) { decide(ask, Decision::deny); },
                   [&](const AskAction::Expand&) { expand(ask.id()); },
               },
               action.value);
}

void AppDelegate::expand(const QString& id) {
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(
            this, [this, id] { expand(id); }, Qt::BlockingQueuedConnection);
        return;
    }
    const SharedAsks& asks = m_store.asks();
    const auto row = std::find_if(asks.begin(), asks.end(), [&](const auto& ask) { return ask->id() == id; });
    if (row == asks.end())
        return;
    const AskEvent ask = **row;
    if (const auto screen = TerminalCapture::screen(target(ask), m_dependencies.runner))
        m_store.upsert(expandedAsk(ask, *screen));
}

} // namespace pelorin
