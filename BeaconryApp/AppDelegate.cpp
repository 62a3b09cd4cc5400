#include "BeaconryApp/AppDelegate.h"

#include "BeaconryKit/platform/Overloaded.h"

namespace pelorin {

AppDelegate::AppDelegate(Dispatch& dispatch, UserDefaults& defaults)
    : m_dispatch(dispatch), m_settings(defaults), m_router(dispatch) {
}

AppDelegate::~AppDelegate() = default;

std::optional<Alert> AppDelegate::start(quint16 port, Display display) {
    m_registry.setTrackOnlyOptIn(m_settings.trackOnlyOptIn());
    if (display == Display::present)
        m_panelController = std::make_unique<NotchPanelController>(
            m_store, m_settings, m_dispatch,
            [this](const AskEvent& ask, const AskAction& action) { handle(ask, action); });
    if (auto alert = startServer(port))
        return alert;
    // The announcement comes before the change is stored: the new values are read on a later turn.
    connect(&m_settings, &NotifierSettings::objectWillChange, this, &AppDelegate::settingsChanged,
            Qt::QueuedConnection);
    settingsChanged();
    return std::nullopt;
}

std::optional<Alert> AppDelegate::startServer(quint16 port) {
    m_eventRouter = EventRouter::create(m_dispatch, m_store, m_registry, m_settings, m_router, [](const AskEvent&) {});
    m_server =
        std::make_unique<EventServer>(port, true,
                                      [&mainQueue = m_dispatch.mainQueue(), router = std::weak_ptr(m_eventRouter)](
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

void AppDelegate::settingsChanged() {
    if (m_panelController)
        m_panelController->setSilenced(m_settings.silentMode());
}

quint16 AppDelegate::port() const {
    return m_server ? m_server->port() : 0;
}

bool AppDelegate::resolve(const AskEvent& ask, Decision decision) {
    return ask.isPermission() && m_router.resolve(ask.requestId, decision);
}

void AppDelegate::decide(const AskEvent& ask, Decision decision) {
    resolve(ask, decision);
    m_store.remove(ask.id());
}

void AppDelegate::handle(const AskEvent& ask, const AskAction& action) {
    std::visit(Overloaded{
                   [&](const AskAction::Allow&) { decide(ask, Decision::allow); },
                   [&](const AskAction::Deny&) { decide(ask, Decision::deny); },
                   // Both hand the question back to the CLI's own prompt.
                   [&](const AskAction::Open&) { decide(ask, Decision::ask); },
                   [&](const AskAction::Dismiss&) { decide(ask, Decision::ask); },
                   [&](const auto&) {},
               },
               action.value);
}

} // namespace pelorin
