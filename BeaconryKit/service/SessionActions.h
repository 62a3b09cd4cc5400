#pragma once

#include <QString>

namespace pelorin {

class AskStore;
class NotifierSettings;
class SessionRegistry;

/// What the user does to sessions, from the status menu or a window. Whoever offers the actions owns it; all that it is
/// given must outlive it. Lives on the main thread.
class SessionActions {
public:
    SessionActions(AskStore& store, SessionRegistry& registry, NotifierSettings& settings)
        : m_store(store), m_registry(registry), m_settings(settings) {}

    /// Mutes or unmutes the session. A session that was not muted before loses its waiting rows when it is muted;
    /// unmuting brings nothing back.
    void setMuted(bool muted, const QString& sessionId);

    /// Whether only sessions started through the `wyrn` launcher notify: kept across launches, and in effect at once.
    void setTrackOnlyOptIn(bool trackOnlyOptIn);

private:
    AskStore& m_store;
    SessionRegistry& m_registry;
    NotifierSettings& m_settings;
};

} // namespace pelorin
