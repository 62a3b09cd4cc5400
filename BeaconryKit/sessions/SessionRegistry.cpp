#include "BeaconryKit/sessions/SessionRegistry.h"

#include <algorithm>

namespace pelorin {

void SessionRegistry::setTrackOnlyOptIn(bool trackOnlyOptIn) {
    emit trackOnlyOptInWillChange(trackOnlyOptIn);
    emit objectWillChange();
    m_trackOnlyOptIn = trackOnlyOptIn;
}

void SessionRegistry::setSessions(QList<SessionInfo> sessions) {
    emit sessionsWillChange(sessions);
    emit objectWillChange();
    m_sessions = std::move(sessions);
}

void SessionRegistry::setMutedIds(QSet<QString> mutedIds) {
    emit mutedIdsWillChange(mutedIds);
    emit objectWillChange();
    m_mutedIds = std::move(mutedIds);
}

void SessionRegistry::setPolicies(QHash<QString, AutoDecision> policies) {
    emit policiesWillChange(policies);
    emit objectWillChange();
    m_policies = std::move(policies);
}

void SessionRegistry::registerSession(const SessionInfo& session) {
    QList<SessionInfo> sessions = m_sessions;
    const auto same = std::ranges::find(sessions, session.sessionId, &SessionInfo::sessionId);
    if (same != sessions.end())
        *same = session;
    else
        sessions.append(session);
    setSessions(std::move(sessions));
}

void SessionRegistry::unregister(const QString& sessionId) {
    // The id may belong to a record that this very call removes.
    const QString id = sessionId;
    QList<SessionInfo> sessions = m_sessions;
    sessions.removeIf([&](const SessionInfo& session) { return session.sessionId == id; });
    setSessions(std::move(sessions));
    setMuted(false, id);
    setPolicy(std::nullopt, id);
}

std::optional<SessionInfo> SessionRegistry::session(const QString& sessionId) const {
    const auto found = std::ranges::find(m_sessions, sessionId, &SessionInfo::sessionId);
    return found == m_sessions.end() ? std::nullopt : std::optional(*found);
}

bool SessionRegistry::shouldShow(const AskEvent& ask) const {
    if (isMuted(ask.sessionId))
        return false;
    if (!m_trackOnlyOptIn)
        return true;
    const auto registered = session(ask.sessionId);
    return registered && registered->optIn;
}

void SessionRegistry::setMuted(bool muted, const QString& sessionId) {
    QSet<QString> mutedIds = m_mutedIds;
    if (muted)
        mutedIds.insert(sessionId);
    else
        mutedIds.remove(sessionId);
    setMutedIds(std::move(mutedIds));
}

std::optional<AutoDecision> SessionRegistry::policy(const QString& sessionId) const {
    const auto found = m_policies.constFind(sessionId);
    return found == m_policies.constEnd() ? std::nullopt : std::optional(*found);
}

void SessionRegistry::setPolicy(std::optional<AutoDecision> policy, const QString& sessionId) {
    QHash<QString, AutoDecision> policies = m_policies;
    if (policy)
        policies.insert(sessionId, *policy);
    else
        policies.remove(sessionId);
    setPolicies(std::move(policies));
}

AutoDecision SessionRegistry::effectivePolicy(const QString& sessionId, AutoDecision defaultPolicy) const {
    return policy(sessionId).value_or(defaultPolicy);
}

} // namespace pelorin
