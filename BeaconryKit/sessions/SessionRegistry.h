#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/AutoDecision.h"
#include "BeaconryKit/model/SessionInfo.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>

#include <optional>

namespace pelorin {

/// The live sessions that have announced themselves, and the user's choices for each: muted, or answered automatically.
/// Mutes and policies are kept by id alone, whether or not the session is registered. Nothing is persisted. Lives on
/// the main thread. Every change is announced before it is stored, first for the property with its new value, then for
/// the object as a whole; subscribers connect queued and read on a later turn.
class SessionRegistry final : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// The registered sessions, in the order of their first registration.
    const QList<SessionInfo>& sessions() const { return m_sessions; }
    /// The ids of sessions whose asks are never shown.
    const QSet<QString>& mutedIds() const { return m_mutedIds; }
    /// The automatic decisions of sessions that have one of their own.
    const QHash<QString, AutoDecision>& policies() const { return m_policies; }
    /// Whether only sessions started through the `wyrn` launcher may show asks.
    bool trackOnlyOptIn() const { return m_trackOnlyOptIn; }
    void setTrackOnlyOptIn(bool trackOnlyOptIn);

    /// Adds a session, or replaces the one of the same id where it stands.
    void registerSession(const SessionInfo& session);
    /// Forgets the session, its mute and its policy, in this order.
    void unregister(const QString& sessionId);
    /// The registered session of that id, if there is one.
    std::optional<SessionInfo> session(const QString& sessionId) const;

    /// Whether an ask of its session may be shown: never when muted; with track-only, only when registered and opted
    /// in.
    bool shouldShow(const AskEvent& ask) const;

    bool isMuted(const QString& sessionId) const { return m_mutedIds.contains(sessionId); }
    void setMuted(bool muted, const QString& sessionId);

    /// The session's own policy, if it has one.
    std::optional<AutoDecision> policy(const QString& sessionId) const;
    /// Sets the session's own policy; nothing removes it.
    void setPolicy(std::optional<AutoDecision> policy, const QString& sessionId);
    /// The session's own policy, else the default.
    AutoDecision effectivePolicy(const QString& sessionId, AutoDecision defaultPolicy) const;

signals:
    void sessionsWillChange(const QList<pelorin::SessionInfo>& sessions);
    void mutedIdsWillChange(const QSet<QString>& mutedIds);
    void policiesWillChange(const QHash<QString, pelorin::AutoDecision>& policies);
    void trackOnlyOptInWillChange(bool trackOnlyOptIn);
    /// Follows each of the above.
    void objectWillChange();

private:
    void setSessions(QList<SessionInfo> sessions);
    void setMutedIds(QSet<QString> mutedIds);
    void setPolicies(QHash<QString, AutoDecision> policies);

    QList<SessionInfo> m_sessions;
    QSet<QString> m_mutedIds;
    QHash<QString, AutoDecision> m_policies;
    bool m_trackOnlyOptIn = false;
};

} // namespace pelorin
