#include "BeaconryApp/AppDelegate.h"

#include "BeaconryBase/ServicePort.h"
#include "BeaconryBase/SocketOwner.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/asks/DisplayText.h"

#include <QCoreApplication>

namespace pelorin {

namespace {

constexpr qsizetype longestName = 80;

/// What helps a user whose port somebody else has.
QString whoListensOn(quint16 port) {
    if (SocketOwners().ofListener(port) != SocketOwner::anotherUser)
        return {};
    return QStringLiteral("Another user of this computer listens there. Set %1 to a port of your own, for Pelorin and "
                          "for your CLIs.")
        .arg(QLatin1String(servicePortVariable));
}

} // namespace

AppDelegate::AppDelegate(const AppDependencies& dependencies)
    : m_dependencies(dependencies),
      m_requestDetails(m_store),
      m_settings(dependencies.defaults),
      m_router(dependencies.dispatch),
      m_helpedSessions({.dispatch = dependencies.dispatch,
                        .store = m_store,
                        .registry = m_registry,
                        .router = m_router,
                        .details = m_requestDetails}),
      m_focus(dependencies.launcher, dependencies.raiser),
      m_answering({.store = m_store,
                   .registry = m_registry,
                   .settings = m_settings,
                   .router = m_router,
                   .focus = m_focus,
                   .runner = dependencies.runner,
                   .details = &m_requestDetails,
                   .dispatch = &dependencies.dispatch}),
      m_relay({.store = m_store,
               .settings = m_settings,
               .dispatch = dependencies.dispatch,
               .http = dependencies.http,
               .sockets = dependencies.sockets},
              [this](const QString& requestId, Decision decision) { m_answering.decideByPhone(requestId, decision); }) {
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
    m_relay.start();
    return std::nullopt;
}

void AppDelegate::makeWindows() {
    const auto onAction = [this](const AskEvent& ask, const AskAction& action) {
        m_answering.handle(ask, action);
    };
    const auto engine = std::make_shared<InterfaceEngine>();
    m_panelController = std::make_unique<NotchPanelController>(m_store, m_settings, m_dependencies.dispatch, onAction,
                                                               makePanelDependencies(engine));
    m_managerController = std::make_unique<ManagerWindowController>(
        ManagerParts{.store = m_store,
                     .registry = m_registry,
                     .settings = m_settings,
                     .dispatch = m_dependencies.dispatch,
                     .relay = m_relay.client(),
                     .provisioner = m_relay.provisioner(),
                     .hooks = m_dependencies.hooks},
        onAction, [this](const SessionInfo& session) { m_answering.show(session); }, engine);
    m_panelController->setEndOfWait([this](const QString& askId) { return m_requestDetails.endOfWait(askId); });
    m_managerController->setEndOfWait([this](const QString& askId) { return m_requestDetails.endOfWait(askId); });
    m_managerController->keepClearOf([this] { return m_panelController->shownFrame(); });
    connect(&m_answering, &AskAnswering::terminalNotShown, this, &AppDelegate::sayThatNothingIsShown);
}

void AppDelegate::sayThatNothingIsShown(const QString& sessionId) {
    const auto session = m_registry.session(sessionId);
    const QString name = displayText(session ? session->displayName() : QString(), longestName, LineBreaks::join);
    const QString line = name.isEmpty()
                             ? QStringLiteral("That session's terminal could not be brought forward.")
                             : QStringLiteral("The terminal of “%1” could not be brought forward.").arg(name);
    // Where the user is.
    if (!m_managerController->announce(line))
        m_panelController->announce(line);
}

void AppDelegate::setUpStatusItem() {
    m_statusMenu = std::make_unique<StatusMenu>(
        m_store, m_registry, m_settings, m_dependencies.statusItem(),
        StatusMenu::Callbacks{
            .openManager = [this] { openManager(); },
            .jumpToSession = [this](const SessionInfo& session) { m_answering.show(session); },
            .quit = [] { QCoreApplication::quit(); },
        });
}

void AppDelegate::openManager() {
    if (m_managerController)
        m_managerController->show();
}

std::optional<Alert> AppDelegate::startServer(quint16 port) {
    m_eventRouter = EventRouter::create(m_dependencies.dispatch, m_store, m_registry, m_settings, m_router,
                                        [this](const AskEvent& ask) { m_answering.show(ask); });
    m_eventRouter->keepDetails(m_requestDetails);
    m_eventRouter->setHelpedSessions(m_helpedSessions);
    // An unfolded row is not as it was parked, and expires all the same.
    m_eventRouter->setChangedExpiry([this](const AskEvent& parked) {
        if (const auto row = m_answering.unfolded(parked))
            m_eventRouter->expire(*row);
    });
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
                     QStringLiteral("Is another copy already running? (%1)").arg(description(*error)),
                     whoListensOn(port)};
    }
    return std::nullopt;
}

void AppDelegate::settingsChanged() {
    if (m_panelController)
        m_panelController->setSilenced(m_settings.silentMode());
    m_relay.followSettings();
    m_statusMenu->rebuildMenu();
}

quint16 AppDelegate::port() const {
    return m_server ? m_server->port() : 0;
}

} // namespace pelorin
