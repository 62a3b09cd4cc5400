#include "BeaconryKit/interface/status/StatusMenu.h"

#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

namespace pelorin {

namespace {

MenuItem separator() {
    return {.kind = MenuItem::Kind::separator, .isEnabled = false};
}

CheckState checked(bool isOn) {
    return isOn ? CheckState::on : CheckState::off;
}

QString policyMark(std::optional<AutoDecision> policy) {
    if (policy == AutoDecision::allow)
        return QStringLiteral(" [Auto-allow]");
    if (policy == AutoDecision::deny)
        return QStringLiteral(" [Auto-deny]");
    return {};
}

void call(const std::function<void()>& callback) {
    if (callback)
        callback();
}

} // namespace

StatusMenu::StatusMenu(AskStore& store, SessionRegistry& registry, NotifierSettings& settings,
                       std::unique_ptr<StatusItem> item, Callbacks callbacks)
    : m_store(store),
      m_registry(registry),
      m_settings(settings),
      m_actions(store, registry, settings),
      m_callbacks(std::move(callbacks)),
      m_item(std::move(item)) {
    if (m_item)
        m_item->setHandlers(
            {.onTriggered = [this](MenuAction action,
                                   const std::optional<QString>& sessionId) { perform(action, sessionId); },
             .onActivated =
                 [this] {
                     perform(MenuAction::openManager);
                 }});
    rebuildMenu();
    // Changes are announced before they are stored: the new values are read on a later turn.
    connect(&m_store, &AskStore::objectWillChange, this, &StatusMenu::updateStatusIcon, Qt::QueuedConnection);
    connect(&m_registry, &SessionRegistry::objectWillChange, this, &StatusMenu::rebuildMenu, Qt::QueuedConnection);
}

StatusMenu::~StatusMenu() = default;

void StatusMenu::updateStatusIcon() {
    if (!m_item)
        return;
    const qsizetype waiting = m_store.asks().size();
    StatusIcon icon;
    if (m_settings.silentMode())
        icon.symbol = QStringLiteral("bell.slash");
    else
        icon.symbol = waiting > 0 ? QStringLiteral("bell.badge.fill") : QStringLiteral("bell");
    if (waiting > 0) {
        icon.title = QStringLiteral(" %1").arg(waiting);
        icon.imagePosition = ImagePosition::imageLeading;
    }
    if (m_settings.defaultPolicy() == AutoDecision::allow)
        icon.notice = QStringLiteral("Auto-allow is on: every permission request is approved without asking.");
    m_item->setIcon(icon);
}

void StatusMenu::rebuildMenu() {
    updateStatusIcon();
    if (m_item)
        m_item->setMenu(menu());
}

Menu StatusMenu::menu() const {
    const bool trackOnly = m_registry.trackOnlyOptIn();
    Menu menu{
        {.title = QStringLiteral("Open Manager…"), .action = MenuAction::openManager},
        separator(),
        {.title = QStringLiteral("Silent Mode"),
         .checkState = checked(m_settings.silentMode()),
         .action = MenuAction::toggleSilentMode},
        {.title = QStringLiteral("Track All Sessions"),
         .checkState = checked(!trackOnly),
         .action = MenuAction::trackAllSessions},
        {.title = QStringLiteral("Track Only wyrn Sessions"),
         .checkState = checked(trackOnly),
         .action = MenuAction::trackOnlyWyrn},
        separator(),
        {.title = m_registry.sessions().isEmpty() ? QStringLiteral("No Active Sessions") : QStringLiteral("Sessions"),
         .isEnabled = false},
    };
    for (const SessionInfo& session : m_registry.sessions())
        menu.push_back(sessionItem(session));
    menu.push_back(separator());
    menu.push_back(
        {.title = QStringLiteral("Quit Pelorin"), .keyEquivalent = QStringLiteral("q"), .action = MenuAction::quit});
    return menu;
}

MenuItem StatusMenu::sessionItem(const SessionInfo& session) const {
    const QString& id = session.sessionId;
    return {
        .title = sessionTitle(session),
        .representedObject = id,
        .submenu = {
            {.title = QStringLiteral("Jump to Terminal"), .action = MenuAction::jumpToSession, .representedObject = id},
            {.title =
                 m_registry.isMuted(id) ? QStringLiteral("Unmute Notifications") : QStringLiteral("Mute Notifications"),
             .action = MenuAction::toggleMute,
             .representedObject = id}}};
}

QString StatusMenu::sessionTitle(const SessionInfo& session) const {
    QString title = session.optIn ? QStringLiteral("\u2B51 ") : QString();
    title += session.displayName();
    title += QStringLiteral(" — ");
    title += session.tty.isEmpty() ? QStringLiteral("no tty") : session.tty;
    if (m_registry.isMuted(session.sessionId))
        title += QStringLiteral(" (muted)");
    return title + policyMark(m_registry.policy(session.sessionId));
}

void StatusMenu::perform(MenuAction action, const std::optional<QString>& sessionId) {
    switch (action) {
    case MenuAction::none:
        return;
    case MenuAction::openManager:
        return call(m_callbacks.openManager);
    case MenuAction::toggleSilentMode:
        return m_settings.setSilentMode(!m_settings.silentMode());
    case MenuAction::trackAllSessions:
        return m_actions.setTrackOnlyOptIn(false);
    case MenuAction::trackOnlyWyrn:
        return m_actions.setTrackOnlyOptIn(true);
    case MenuAction::jumpToSession:
        if (sessionId)
            jumpToSession(*sessionId);
        return;
    case MenuAction::toggleMute:
        if (sessionId)
            m_actions.setMuted(!m_registry.isMuted(*sessionId), *sessionId);
        return;
    case MenuAction::quit:
        return call(m_callbacks.quit);
    }
}

void StatusMenu::jumpToSession(const QString& sessionId) {
    const auto session = m_registry.session(sessionId);
    if (session && m_callbacks.jumpToSession)
        m_callbacks.jumpToSession(*session);
}

} // namespace pelorin
