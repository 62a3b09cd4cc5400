#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/AutoDecision.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/service/EventServer.h"
#include "BeaconryKit/service/HelpedSessions.h"
#include "BeaconryKit/service/RequestDetails.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QByteArray>
#include <QStringView>

#include <functional>
#include <memory>

namespace pelorin {

/// How the message begins that takes the place of a request which has expired; what the request said follows.
inline constexpr QStringView expiredMessageStart = u"Answer in terminal — ";

/// Takes every hook call. Answers it by its path, at once or by parking the reply, and updates the store and the
/// registry by the user's settings. Keeps no state of its own; all that it is given must outlive it. Runs on the main
/// thread. Its timers are never cancelled: each looks at the store when it fires.
class EventRouter : public std::enable_shared_from_this<EventRouter> {
public:
    using FocusAction = std::function<void(const AskEvent&)>;

    static std::shared_ptr<EventRouter> create(Dispatch& dispatch, AskStore& store, SessionRegistry& registry,
                                               NotifierSettings& settings, DecisionRouter& router, FocusAction onFocus);

    /// Keeps what our own helper tells beyond the records in `details`, which must outlive the router; without this it
    /// is dropped.
    void keepDetails(RequestDetails& details) { m_details = &details; }

    /// Lets `sessions`, which must outlive the router, do what only our own helper's sessions get.
    void setHelpedSessions(HelpedSessions& sessions) { m_helpedSessions = &sessions; }

    /// Handles one request: `path` by exact comparison, `body` as the hook sent it, and the hook that waits for the
    /// reply. Every request is answered.
    void route(const QByteArray& path, const QByteArray& body, const WaitingHook& hook);

    /// Brings the ask's terminal forward; supplied by the application.
    const FocusAction& onFocus() const { return m_onFocus; }

    /// Makes what the expiry of a parked ask makes of its row: a notice in its place. Nothing when the store holds no
    /// row that equals the ask in every field.
    void expire(const AskEvent& ask);

    /// Told of each ask that has expired and whose row is not as it was parked, or not there any more. The application
    /// knows what it has filled in.
    void setChangedExpiry(std::function<void(const AskEvent& parked)> changedExpiry) {
        m_changedExpiry = std::move(changedExpiry);
    }

    /// The status object: build, silent, trackOnlyOptIn, defaultPolicy, decisionWaitSeconds, pendingAsks, sessions.
    QByteArray statusJSON() const;

private:
    EventRouter(Dispatch& dispatch, AskStore& store, SessionRegistry& registry, NotifierSettings& settings,
                DecisionRouter& router, FocusAction onFocus);

    void meetSession(const QByteArray& body);
    void handleNotification(const QByteArray& body);
    void handlePermission(const QByteArray& body, const WaitingHook& hook);
    void handleRegister(const QByteArray& body);
    void handleUnregister(const QByteArray& body);
    void keepDetails(const AskEvent& ask, const QByteArray& body);
    bool isRelevant(const AskEvent& ask) const;
    void park(const AskEvent& ask, const WaitingHook& hook);
    void expireParked(const AskEvent& ask);
    void scheduleAutoDismiss(const AskEvent& ask);
    void showAutoDecisionToast(const AskEvent& ask, AutoDecision policy);
    void removeAfter(Duration delay, const AskEvent& ask);

    Dispatch& m_dispatch;
    AskStore& m_store;
    SessionRegistry& m_registry;
    NotifierSettings& m_settings;
    DecisionRouter& m_router;
    FocusAction m_onFocus;
    RequestDetails* m_details = nullptr;
    HelpedSessions* m_helpedSessions = nullptr;
    std::function<void(const AskEvent& parked)> m_changedExpiry;
};

} // namespace pelorin
