#include "BeaconryKit/sessions/NotifierSettings.h"

#include "BeaconryKit/model/Blanks.h"
#include "BeaconryKit/sessions/RelayDefaults.h"

#include <QLocale>

#include <algorithm>
#include <optional>
#include <type_traits>
#include <utility>

namespace pelorin {

namespace {

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

template <class Value>
std::optional<Value> stored(const UserDefaults& defaults, const QString& key) {
    if constexpr (std::is_same_v<Value, bool>)
        return defaults.boolean(key);
    else if constexpr (std::is_same_v<Value, qint64>)
        return defaults.integer(key);
    else if constexpr (std::is_same_v<Value, QString>)
        return defaults.string(key);
    else
        return autoDecisionFromRawValue(defaults.string(key).value_or(QString()));
}

template <class Value>
QJsonValue toStored(const Value& value) {
    if constexpr (std::is_same_v<Value, AutoDecision>)
        return rawValue(value);
    else
        return value;
}

} // namespace

/// What there is to know about a setting. Its type is that of its property; a policy is stored as its word.
template <class Value>
struct NotifierSettings::Setting {
    using Announced = std::conditional_t<std::is_same_v<Value, QString>, const QString&, Value>;

    QString key;
    Value NotifierSettings::*property;
    void (NotifierSettings::*willChange)(Announced value);
    // What stands for a key that is missing, or holds a value of another type.
    Value fallback;
    // The least and the greatest value.
    std::optional<std::pair<Value, Value>> bounds = std::nullopt;

    Value bounded(const Value& value) const {
        return bounds ? std::clamp(value, bounds->first, bounds->second) : value;
    }
};

struct NotifierSettings::Table {
    using Self = NotifierSettings;

    Setting<bool> phoneTerminalEnabled{QStringLiteral("phoneTerminalEnabled"), &Self::m_phoneTerminalEnabled,
                                       &Self::phoneTerminalEnabledWillChange, false};
    Setting<QString> relayURL{QStringLiteral("relayURL"), &Self::m_relayURL, &Self::relayURLWillChange,
                              RelayDefaults::url()};
    Setting<QString> relayToken{QStringLiteral("relayToken"), &Self::m_relayToken, &Self::relayTokenWillChange,
                                RelayDefaults::token()};
    // The one key that is not its property's name.
    Setting<QString> injectionAllowlistRaw{QStringLiteral("injectionAllowlist"), &Self::m_injectionAllowlistRaw,
                                           &Self::injectionAllowlistRawWillChange, QStringLiteral("iTerm.app")};
    Setting<qint64> decisionWaitSeconds{QStringLiteral("decisionWaitSeconds"), &Self::m_decisionWaitSeconds,
                                        &Self::decisionWaitSecondsWillChange, 45,
                                        std::pair{shortestDecisionWait, longestDecisionWait}};
    Setting<qint64> notificationAutoDismissSeconds{QStringLiteral("notificationAutoDismissSeconds"),
                                                   &Self::m_notificationAutoDismissSeconds,
                                                   &Self::notificationAutoDismissSecondsWillChange, 0};
    Setting<AutoDecision> defaultPolicy{QStringLiteral("defaultPolicy"), &Self::m_defaultPolicy,
                                        &Self::defaultPolicyWillChange, AutoDecision::wait};
    Setting<bool> trackOnlyOptIn{QStringLiteral("trackOnlyOptIn"), &Self::m_trackOnlyOptIn,
                                 &Self::trackOnlyOptInWillChange, false};
    Setting<bool> showPlainNotifications{QStringLiteral("showPlainNotifications"), &Self::m_showPlainNotifications,
                                         &Self::showPlainNotificationsWillChange, false};
    Setting<bool> silentMode{QStringLiteral("silentMode"), &Self::m_silentMode, &Self::silentModeWillChange, false};
    Setting<QString> askKeywords{QStringLiteral("askKeywords"), &Self::m_askKeywords, &Self::askKeywordsWillChange,
                                 QStringLiteral("permission, approval, do you want, proceed")};
};

const NotifierSettings::Table& NotifierSettings::table() {
    static const Table table;
    return table;
}

NotifierSettings::NotifierSettings(UserDefaults& defaults, QObject* parent) : QObject(parent), m_defaults(defaults) {
    const Table& settings = table();
    load(settings.phoneTerminalEnabled);
    load(settings.relayURL);
    load(settings.relayToken);
    load(settings.injectionAllowlistRaw);
    load(settings.decisionWaitSeconds);
    load(settings.notificationAutoDismissSeconds);
    load(settings.defaultPolicy);
    load(settings.trackOnlyOptIn);
    load(settings.showPlainNotifications);
    load(settings.silentMode);
    load(settings.askKeywords);
}

template <class Value>
void NotifierSettings::load(const Setting<Value>& setting) {
    this->*setting.property = setting.bounded(stored<Value>(m_defaults, setting.key).value_or(setting.fallback));
}

template <class Value>
void NotifierSettings::announceAndSet(const Setting<Value>& setting, const Value& value) {
    emit(this->*setting.willChange)(value);
    emit objectWillChange();
    this->*setting.property = value;
}

template <class Value>
void NotifierSettings::change(const Setting<Value>& setting, const Value& value) {
    const Value bounded = setting.bounded(value);
    if (bounded != value)
        announceAndSet(setting, value);
    announceAndSet(setting, bounded);
    m_defaults.setObject(setting.key, toStored(bounded));
}

void NotifierSettings::setPhoneTerminalEnabled(bool enabled) {
    change(table().phoneTerminalEnabled, enabled);
}

void NotifierSettings::setRelayURL(const QString& url) {
    change(table().relayURL, url);
}

void NotifierSettings::setRelayToken(const QString& token) {
    change(table().relayToken, token);
}

void NotifierSettings::setInjectionAllowlistRaw(const QString& names) {
    change(table().injectionAllowlistRaw, names);
}

void NotifierSettings::setDecisionWaitSeconds(qint64 seconds) {
    change(table().decisionWaitSeconds, seconds);
}

void NotifierSettings::setNotificationAutoDismissSeconds(qint64 seconds) {
    change(table().notificationAutoDismissSeconds, seconds);
}

void NotifierSettings::setDefaultPolicy(AutoDecision policy) {
    change(table().defaultPolicy, policy);
}

void NotifierSettings::setTrackOnlyOptIn(bool trackOnlyOptIn) {
    change(table().trackOnlyOptIn, trackOnlyOptIn);
}

void NotifierSettings::setShowPlainNotifications(bool show) {
    change(table().showPlainNotifications, show);
}

void NotifierSettings::setSilentMode(bool silent) {
    change(table().silentMode, silent);
}

void NotifierSettings::setAskKeywords(const QString& keywords) {
    change(table().askKeywords, keywords);
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
