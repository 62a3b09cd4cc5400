#include "BeaconryKit/sessions/NotifierSettings.h"

#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/sessions/RelayDefaults.h"

#include <QLocale>

#include <algorithm>

namespace pelorin {

namespace {

const auto phoneTerminalEnabledKey = QStringLiteral("phoneTerminalEnabled");
const auto relayURLKey = QStringLiteral("relayURL");
const auto relayTokenKey = QStringLiteral("relayToken");
const auto injectionAllowlistKey = QStringLiteral("injectionAllowlist");
const auto decisionWaitSecondsKey = QStringLiteral("decisionWaitSeconds");
const auto notificationAutoDismissSecondsKey = QStringLiteral("notificationAutoDismissSeconds");
const auto defaultPolicyKey = QStringLiteral("defaultPolicy");
const auto trackOnlyOptInKey = QStringLiteral("trackOnlyOptIn");
const auto showPlainNotificationsKey = QStringLiteral("showPlainNotifications");
const auto silentModeKey = QStringLiteral("silentMode");
const auto askKeywordsKey = QStringLiteral("askKeywords");

qint64 boundedDecisionWait(qint64 seconds) {
    return std::clamp(seconds, NotifierSettings::shortestDecisionWait, NotifierSettings::longestDecisionWait);
}

QStringList splitCommaList(const QString& raw) {
    QStringList pieces;
    for (const QString& piece : raw.split(u',', Qt::SkipEmptyParts)) {
        const QString trimmed = trimBlanks(piece);
        if (!trimmed.isEmpty())
            pieces.append(trimmed);
    }
    return pieces;
}

/// Lower case by the locale's rules (a Turkish I is no i), then folded, so that the forms of one letter that no lower
/// case unites, as the two small sigmas, are one.
QString withoutCase(const QString& text) {
    return QLocale().toLower(text).toCaseFolded();
}

QJsonValue storedValue(AutoDecision policy) {
    return rawValue(policy);
}
template <class Value>
QJsonValue storedValue(const Value& value) {
    return value;
}

} // namespace

NotifierSettings::NotifierSettings(UserDefaults& defaults, QObject* parent)
    : QObject(parent),
      m_defaults(defaults),
      m_phoneTerminalEnabled(defaults.boolean(phoneTerminalEnabledKey).value_or(false)),
      m_relayURL(defaults.string(relayURLKey).value_or(RelayDefaults::url())),
      m_relayToken(defaults.string(relayTokenKey).value_or(RelayDefaults::token())),
      m_injectionAllowlistRaw(defaults.string(injectionAllowlistKey).value_or(QStringLiteral("iTerm.app"))),
      m_decisionWaitSeconds(boundedDecisionWait(defaults.integer(decisionWaitSecondsKey).value_or(45))),
      m_notificationAutoDismissSeconds(defaults.integer(notificationAutoDismissSecondsKey).value_or(0)),
      m_defaultPolicy(
          autoDecisionFromRawValue(defaults.string(defaultPolicyKey).value_or(QString())).value_or(AutoDecision::wait)),
      m_trackOnlyOptIn(defaults.boolean(trackOnlyOptInKey).value_or(false)),
      m_showPlainNotifications(defaults.boolean(showPlainNotificationsKey).value_or(false)),
      m_silentMode(defaults.boolean(silentModeKey).value_or(false)),
      m_askKeywords(
          defaults.string(askKeywordsKey).value_or(QStringLiteral("permission, approval, do you want, proceed"))) {
}

template <class Value, class Signal>
void NotifierSettings::announceAndSet(Value& property, const Value& value, Signal willChange) {
    emit(this->*willChange)(value);
    emit objectWillChange();
    property = value;
}

template <class Value, class Signal>
void NotifierSettings::change(Value& property, const Value& value, Signal willChange, const QString& key) {
    announceAndSet(property, value, willChange);
    m_defaults.setObject(key, storedValue(property));
}

void NotifierSettings::setPhoneTerminalEnabled(bool enabled) {
    change(m_phoneTerminalEnabled, enabled, &NotifierSettings::phoneTerminalEnabledWillChange, phoneTerminalEnabledKey);
}

void NotifierSettings::setRelayURL(const QString& url) {
    change(m_relayURL, url, &NotifierSettings::relayURLWillChange, relayURLKey);
}

void NotifierSettings::setRelayToken(const QString& token) {
    change(m_relayToken, token, &NotifierSettings::relayTokenWillChange, relayTokenKey);
}

void NotifierSettings::setInjectionAllowlistRaw(const QString& names) {
    change(m_injectionAllowlistRaw, names, &NotifierSettings::injectionAllowlistRawWillChange, injectionAllowlistKey);
}

void NotifierSettings::setDecisionWaitSeconds(qint64 seconds) {
    const qint64 bounded = boundedDecisionWait(seconds);
    if (bounded != seconds)
        announceAndSet(m_decisionWaitSeconds, seconds, &NotifierSettings::decisionWaitSecondsWillChange);
    change(m_decisionWaitSeconds, bounded, &NotifierSettings::decisionWaitSecondsWillChange, decisionWaitSecondsKey);
}

void NotifierSettings::setNotificationAutoDismissSeconds(qint64 seconds) {
    change(m_notificationAutoDismissSeconds, seconds, &NotifierSettings::notificationAutoDismissSecondsWillChange,
           notificationAutoDismissSecondsKey);
}

void NotifierSettings::setDefaultPolicy(AutoDecision policy) {
    change(m_defaultPolicy, policy, &NotifierSettings::defaultPolicyWillChange, defaultPolicyKey);
}

void NotifierSettings::setTrackOnlyOptIn(bool trackOnlyOptIn) {
    change(m_trackOnlyOptIn, trackOnlyOptIn, &NotifierSettings::trackOnlyOptInWillChange, trackOnlyOptInKey);
}

void NotifierSettings::setShowPlainNotifications(bool show) {
    change(m_showPlainNotifications, show, &NotifierSettings::showPlainNotificationsWillChange,
           showPlainNotificationsKey);
}

void NotifierSettings::setSilentMode(bool silent) {
    change(m_silentMode, silent, &NotifierSettings::silentModeWillChange, silentModeKey);
}

void NotifierSettings::setAskKeywords(const QString& keywords) {
    change(m_askKeywords, keywords, &NotifierSettings::askKeywordsWillChange, askKeywordsKey);
}

QSet<QString> NotifierSettings::injectionAllowlist() const {
    const QStringList names = splitCommaList(m_injectionAllowlistRaw);
    return {names.begin(), names.end()};
}

bool NotifierSettings::relayConfigured() const {
    return !trimBlanks(m_relayURL).isEmpty() && !trimBlanks(m_relayToken).isEmpty();
}

bool NotifierSettings::matchesAskKeywords(const QString& text) const {
    const QStringList phrases = splitCommaList(m_askKeywords);
    if (phrases.isEmpty())
        return false;
    const QString plainText = withoutCase(text);
    return std::ranges::any_of(phrases, [&](const QString& phrase) { return plainText.contains(withoutCase(phrase)); });
}

} // namespace pelorin
