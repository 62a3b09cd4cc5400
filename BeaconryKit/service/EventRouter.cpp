#include "BeaconryKit/service/EventRouter.h"

#include "BeaconryKit/model/AskClassifier.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <algorithm>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(routerLog, "pelorin.router", QtCriticalMsg)

constexpr auto toastLifetime = std::chrono::seconds(3);

QByteArray askReply(const char* why) {
    return QByteArray("{\"decision\":\"ask\",\"why\":\"") + why + "\"}";
}

QByteArray decisionReply(AutoDecision policy) {
    return "{\"decision\":\"" + rawValue(policy).toUtf8() + "\"}";
}

} // namespace

std::shared_ptr<EventRouter> EventRouter::create(Dispatch& dispatch, AskStore& store, SessionRegistry& registry,
                                                 NotifierSettings& settings, DecisionRouter& router,
                                                 FocusAction onFocus) {
    return std::shared_ptr<EventRouter>(
        new EventRouter(dispatch, store, registry, settings, router, std::move(onFocus)));
}

EventRouter::EventRouter(Dispatch& dispatch, AskStore& store, SessionRegistry& registry, NotifierSettings& settings,
                         DecisionRouter& router, FocusAction onFocus)
    : m_dispatch(dispatch),
      m_store(store),
      m_registry(registry),
      m_settings(settings),
      m_router(router),
      m_onFocus(std::move(onFocus)) {
}

void EventRouter::route(const QByteArray& path, const QByteArray& body, const WaitingHook& hook) {
    if (path == "/permission") {
        meetSession(body);
        handlePermission(body, hook);
        return;
    }
    if (path == "/status") {
        hook.respond(statusJSON());
        return;
    }
    // These callers learn nothing but that the request came; what cannot be read is dropped in silence.
    hook.respond("ok");
    if (path == "/event") {
        meetSession(body);
        handleNotification(body);
    } else if (path == "/clear") {
        meetSession(body);
        if (const auto sessionId = sessionIdOf(body))
            m_store.clearNotifications(*sessionId);
    } else if (path == "/register") {
        handleRegister(body);
    } else if (path == "/unregister") {
        handleUnregister(body);
    } else {
        qCDebug(routerLog) << "Nothing answers to" << path;
    }
}

void EventRouter::meetSession(const QByteArray& body) {
    if (m_helpedSessions)
        m_helpedSessions->meet(body);
}

void EventRouter::handleRegister(const QByteArray& body) {
    const auto session = SessionInfo::decode(body);
    if (!session)
        return;
    if (m_details)
        m_details->keepSession(session->sessionId, HelperDetails::decode(body));
    m_registry.registerSession(*session);
    if (m_helpedSessions)
        m_helpedSessions->begin(session->sessionId, body);
}

void EventRouter::handleUnregister(const QByteArray& body) {
    const auto sessionId = sessionIdOf(body);
    if (!sessionId)
        return;
    if (m_details)
        m_details->forgetSession(*sessionId);
    if (m_helpedSessions)
        m_helpedSessions->end(*sessionId);
    m_registry.unregister(*sessionId);
    m_store.clear(*sessionId);
}

void EventRouter::handleNotification(const QByteArray& body) {
    const auto ask = AskEvent::decode(body, m_dispatch.now());
    if (!ask) {
        qCDebug(routerLog) << "Dropped a notification that could not be decoded.";
        return;
    }
    if (!m_registry.shouldShow(*ask))
        return;
    if (!isRelevant(*ask) && !m_settings.showPlainNotifications())
        return;
    // A notice never hides or displaces a waiting permission request.
    if (m_store.hasPermission(ask->sessionId))
        return;
    keepDetails(*ask, body);
    m_store.upsert(*ask);
    scheduleAutoDismiss(*ask);
}

void EventRouter::keepDetails(const AskEvent& ask, const QByteArray& body) {
    if (m_details)
        m_details->keep(ask, HelperDetails::decode(body));
}

bool EventRouter::isRelevant(const AskEvent& ask) const {
    return ask.isPermission() || AskClassifier::needsAction(ask.notificationType, ask.message) ||
           m_settings.matchesAskKeywords(ask.message);
}

void EventRouter::handlePermission(const QByteArray& body, const WaitingHook& hook) {
    const auto decoded = AskEvent::decode(body, m_dispatch.now());
    if (!decoded || !decoded->isPermission()) {
        hook.respond(askReply("decode"));
        return;
    }
    const AskEvent& ask = *decoded;
    if (!m_registry.shouldShow(ask)) {
        hook.respond(askReply("filtered"));
        return;
    }
    m_store.clearNotifications(ask.sessionId);

    const AutoDecision policy = m_registry.effectivePolicy(ask.sessionId, m_settings.defaultPolicy());
    if (policy != AutoDecision::wait) {
        hook.respond(decisionReply(policy));
        if (!m_settings.silentMode())
            showAutoDecisionToast(ask, policy);
        return;
    }
    // In silent mode only a phone could answer.
    if (m_settings.silentMode() && !m_settings.relayConfigured()) {
        hook.respond(askReply("silent"));
        return;
    }
    keepDetails(ask, body);
    park(ask, hook);
    m_store.upsert(ask);
}

void EventRouter::park(const AskEvent& ask, const WaitingHook& hook) {
    const auto waiter = std::make_shared<const char>();
    const auto row = std::make_shared<const AskEvent>(ask);
    const auto wait = static_cast<double>(m_settings.decisionWaitSeconds());
    if (m_details)
        m_details->keepWait(ask,
                            ask.receivedAt + std::chrono::duration_cast<WallTime::duration>(secondsToDuration(wait)));
    TaskQueue& mainQueue = m_dispatch.mainQueue();
    m_router.park(
        ask.requestId, wait, hook.respond,
        // The deadline runs on another queue, and the store belongs to the main thread. The reply is under way already.
        [self = weak_from_this(), row, &mainQueue] {
            mainQueue.async([self, row] {
                if (const auto router = self.lock())
                    router->expireParked(*row);
            });
        },
        waiter);
    if (!hook.whenGone)
        return;
    hook.whenGone([self = weak_from_this(), id = ask.requestId, waiter, &mainQueue] {
        mainQueue.async([self, id, waiter] {
            const auto router = self.lock();
            if (router && router->m_router.withdraw(id, waiter))
                router->m_store.remove(id);
        });
    });
}

void EventRouter::expireParked(const AskEvent& ask) {
    if (!m_store.contains(ask) && m_changedExpiry)
        m_changedExpiry(ask);
    expire(ask);
}

void EventRouter::expire(const AskEvent& ask) {
    if (!m_store.contains(ask))
        return;
    m_store.remove(ask.id());

    // The notice points at the terminal only by its device: it offers nothing to type into a pane.
    AskEvent notice;
    notice.sessionId = ask.sessionId;
    notice.cwd = ask.cwd;
    notice.tty = ask.tty;
    notice.termProgram = ask.termProgram;
    notice.receivedAt = ask.receivedAt;
    notice.agentType = ask.agentType;
    notice.source = ask.source;
    notice.message = expiredMessageStart.toString() + ask.displayMessage();
    notice.notificationType = QStringLiteral("permission_prompt");
    if (m_details)
        m_details->keepExpiry(notice);
    m_store.upsert(notice);
}

void EventRouter::scheduleAutoDismiss(const AskEvent& ask) {
    const qint64 seconds = m_settings.notificationAutoDismissSeconds();
    if (seconds >= 1 && !ask.isPermission())
        removeAfter(secondsToDuration(static_cast<double>(seconds)), ask);
}

void EventRouter::showAutoDecisionToast(const AskEvent& ask, AutoDecision policy) {
    const QString label =
        policy == AutoDecision::allow ? QStringLiteral("Auto-allowed") : QStringLiteral("Auto-denied");
    AskEvent toast;
    toast.sessionId = ask.sessionId;
    toast.cwd = ask.cwd;
    toast.tty = ask.tty;
    toast.termProgram = ask.termProgram;
    toast.receivedAt = ask.receivedAt;
    toast.source = ask.source;
    toast.message = label + QStringLiteral(": ") + ask.displayMessage();
    m_store.upsert(toast);
    removeAfter(toastLifetime, toast);
}

void EventRouter::removeAfter(Duration delay, const AskEvent& ask) {
    m_dispatch.mainQueue().asyncAfter(delay, [self = weak_from_this(), ask] {
        const auto router = self.lock();
        // A newer notice of the same session has taken the row's place and is not this timer's to remove.
        if (router && router->m_store.contains(ask))
            router->m_store.remove(ask.id());
    });
}

QByteArray EventRouter::statusJSON() const {
    const QJsonObject status{
        {"build", "v6"},
        {"silent", m_settings.silentMode()},
        {"trackOnlyOptIn", m_registry.trackOnlyOptIn()},
        {"defaultPolicy", rawValue(m_settings.defaultPolicy())},
        {"decisionWaitSeconds", m_settings.decisionWaitSeconds()},
        {"pendingAsks", m_store.asks().size()},
        {"sessions", m_registry.sessions().size()},
    };
    return QJsonDocument(status).toJson(QJsonDocument::Compact);
}

} // namespace pelorin
