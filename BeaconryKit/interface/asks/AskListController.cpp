#include "BeaconryKit/interface/asks/AskListController.h"

#include "BeaconryKit/platform/WhileAlive.h"

#include <QLoggingCategory>

#include <utility>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(logAsks, "pelorin.asks", QtInfoMsg)

bool isDecision(const AskAction& action) {
    return std::holds_alternative<AskAction::Allow>(action.value) ||
           std::holds_alternative<AskAction::Deny>(action.value);
}

} // namespace

AskListController::AskListController(AskStore& store, NotifierSettings& settings, Dispatch& dispatch,
                                     AskListModel& asks, AskActions& actions, AskActionHandler onAction)
    : m_store(store), m_settings(settings), m_dispatch(dispatch), m_asks(asks), m_onAction(std::move(onAction)) {
    connect(&actions, &AskActions::acted, this, &AskListController::report);
    connect(&actions, &AskActions::rowPlaced, this, [this](const QString& askId, double place) {
        m_asks.setPlace(askId, place, settledMoment());
        scheduleArming();
    });
}

void AskListController::follow() {
    m_asks.setCountdown(m_settings.decisionWaitSeconds(), m_dispatch.now());
    m_asks.sync(m_store.asks(), settledMoment());
    scheduleArming();
    refreshCountdown();
}

void AskListController::clear() {
    m_asks.sync({}, settledMoment());
    refreshCountdown();
}

void AskListController::watch() {
    if (std::exchange(m_isWatched, true))
        return;
    disarm();
    m_asks.setCountdown(m_settings.decisionWaitSeconds(), m_dispatch.now());
    refreshCountdown();
}

void AskListController::unwatch() {
    m_isWatched = false;
    m_asks.disarmAll(AskListModel::Moment::max());
    m_countdownTimer.reset();
}

void AskListController::disarm() {
    m_asks.disarmAll(settledMoment());
    scheduleArming();
}

void AskListController::report(const QString& askId, const AskAction& action) {
    const SharedAsk seen = m_asks.ask(askId);
    const SharedAsk current = m_store.ask(askId);
    // The row has been answered on this very turn, and the view does not know it yet.
    if (!seen || !current) {
        qCDebug(logAsks) << "An action came too late for" << askId;
        return;
    }
    if (std::holds_alternative<AskAction::Option>(action.value) && seen->options != current->options) {
        qCDebug(logAsks) << "The options are no longer those that were picked from:" << askId;
        return;
    }
    if (isDecision(action) && current->isPermission() && !m_asks.takesDecision(*current, m_dispatch.now())) {
        qCDebug(logAsks) << "Nothing waits for the decision any more:" << askId;
        return;
    }
    // The handler may withdraw the row from the store: it stays for as long as it is held here.
    m_onAction(*current, action);
}

void AskListController::refreshCountdown() {
    if (!m_isWatched || !m_asks.isCountingDown()) {
        m_countdownTimer.reset();
        return;
    }
    if (m_countdownTimer)
        return;
    m_countdownTimer = m_dispatch.mainQueue().every(countdownInterval, whileAlive(this, [](AskListController& self) {
                                                        self.m_asks.setCountdown(self.m_settings.decisionWaitSeconds(),
                                                                                 self.m_dispatch.now());
                                                        self.refreshCountdown();
                                                    }));
}

void AskListController::scheduleArming() {
    if (!m_isWatched || m_isArmingScheduled)
        return;
    const auto now = m_dispatch.monotonicNow();
    const auto next = m_asks.arm(now);
    // Rows that nobody sees are never due.
    if (!next || *next == AskListModel::Moment::max())
        return;
    m_isArmingScheduled = true;
    m_dispatch.mainQueue().asyncAfter(*next - now, whileAlive(this, [](AskListController& self) {
        self.m_isArmingScheduled = false;
        self.scheduleArming();
    }));
}

AskListModel::Moment AskListController::settledMoment() const {
    return m_dispatch.monotonicNow() + settleTime;
}

} // namespace pelorin
