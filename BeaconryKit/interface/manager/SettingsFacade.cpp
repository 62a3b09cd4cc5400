#include "BeaconryKit/interface/manager/SettingsFacade.h"

#include <algorithm>
#include <limits>

namespace pelorin {

namespace {

int choiceOf(AutoDecision policy) {
    return static_cast<int>(std::ranges::find(allAutoDecisions, policy) - allAutoDecisions.begin());
}

} // namespace

SettingsFacade::SettingsFacade(NotifierSettings& settings, SessionActions& actions, QObject* parent)
    : QObject(parent), m_settings(settings), m_actions(actions) {
}

void SettingsFacade::setSilentMode(bool silent) {
    m_settings.setSilentMode(silent);
    emit changed();
}

int SettingsFacade::defaultPolicy() const {
    return choiceOf(m_settings.defaultPolicy());
}

void SettingsFacade::setDefaultPolicy(int choice) {
    if (choice >= 0 && choice < std::ssize(allAutoDecisions)) {
        if (choice == autoAllowChoice() && !allowsEverything())
            m_policyBeforeAutoAllow = m_settings.defaultPolicy();
        m_settings.setDefaultPolicy(allAutoDecisions[static_cast<std::size_t>(choice)]);
    }
    emit changed();
}

int SettingsFacade::autoAllowChoice() {
    return choiceOf(AutoDecision::allow);
}

void SettingsFacade::undoAutoAllow() {
    setDefaultPolicy(choiceOf(m_policyBeforeAutoAllow));
}

QStringList SettingsFacade::policyNames() {
    QStringList names;
    for (const AutoDecision policy : allAutoDecisions)
        names.append(displayName(policy));
    return names;
}

void SettingsFacade::setDecisionWaitSeconds(int seconds) {
    m_settings.setDecisionWaitSeconds(seconds);
    emit changed();
}

int SettingsFacade::autoDismissSeconds() const {
    // The settings bound it on neither side.
    return static_cast<int>(
        std::clamp<qint64>(m_settings.notificationAutoDismissSeconds(), 0, std::numeric_limits<int>::max()));
}

void SettingsFacade::setAutoDismissSeconds(int seconds) {
    m_settings.setNotificationAutoDismissSeconds(std::clamp(seconds, 0, longestAutoDismiss));
    emit changed();
}

void SettingsFacade::setShowPlainNotifications(bool show) {
    m_settings.setShowPlainNotifications(show);
    emit changed();
}

void SettingsFacade::setAskKeywords(const QString& keywords) {
    m_settings.setAskKeywords(keywords);
    emit changed();
}

void SettingsFacade::setTrackOnlyOptIn(bool trackOnlyOptIn) {
    m_actions.setTrackOnlyOptIn(trackOnlyOptIn);
    emit changed();
}

void SettingsFacade::setRelayURL(const QString& url) {
    m_settings.setRelayURL(url);
    emit changed();
}

void SettingsFacade::setRelayToken(const QString& token) {
    m_settings.setRelayToken(token);
    emit changed();
}

void SettingsFacade::setPhoneTerminalEnabled(bool enabled) {
    m_settings.setPhoneTerminalEnabled(enabled);
    emit changed();
}

} // namespace pelorin
