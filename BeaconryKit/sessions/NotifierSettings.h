#pragma once

#include "BeaconryKit/model/AutoDecision.h"
#include "BeaconryKit/platform/UserDefaults.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

namespace pelorin {

/// Every preference of the user. Loads each from the user defaults when it is made, writes each back the moment it
/// changes, and announces every change before the new value is stored: first the property with its value, then the
/// object as a whole. A value that is set once more is announced once more. Subscribers connect queued and read on a
/// later turn. Lives on the main thread.
class NotifierSettings final : public QObject {
    Q_OBJECT

public:
    /// The least and the greatest time, in seconds, that a permission request may wait on screen.
    static constexpr qint64 shortestDecisionWait = 5;
    static constexpr qint64 longestDecisionWait = 580;

    /// Takes the database, which must outlive the settings, and loads from it. Writes nothing.
    explicit NotifierSettings(UserDefaults& defaults, QObject* parent = nullptr);

    /// Whether a phone may open a shell on this computer through the relay.
    bool phoneTerminalEnabled() const { return m_phoneTerminalEnabled; }
    void setPhoneTerminalEnabled(bool enabled);

    /// The relay's base address.
    const QString& relayURL() const { return m_relayURL; }
    void setRelayURL(const QString& url);

    /// The token that authorises this computer at the relay.
    const QString& relayToken() const { return m_relayToken; }
    void setRelayToken(const QString& token);

    /// Comma-separated names of the terminal programs into which answers may be typed. Stored under
    /// "injectionAllowlist".
    const QString& injectionAllowlistRaw() const { return m_injectionAllowlistRaw; }
    void setInjectionAllowlistRaw(const QString& names);

    /// How many seconds a permission request stays answerable on screen; 5 to 580. A value outside is announced as it
    /// was set and then, corrected, once more; only the corrected one is stored.
    qint64 decisionWaitSeconds() const { return m_decisionWaitSeconds; }
    void setDecisionWaitSeconds(qint64 seconds);

    /// After how many seconds a plain notice is withdrawn; below 1: never.
    qint64 notificationAutoDismissSeconds() const { return m_notificationAutoDismissSeconds; }
    void setNotificationAutoDismissSeconds(qint64 seconds);

    /// The automatic decision for sessions without one of their own.
    AutoDecision defaultPolicy() const { return m_defaultPolicy; }
    void setDefaultPolicy(AutoDecision policy);

    /// Whether only sessions started through the `wyrn` launcher notify.
    bool trackOnlyOptIn() const { return m_trackOnlyOptIn; }
    void setTrackOnlyOptIn(bool trackOnlyOptIn);

    /// Whether notices that need no action are shown.
    bool showPlainNotifications() const { return m_showPlainNotifications; }
    void setShowPlainNotifications(bool show);

    /// Whether nothing is shown on screen.
    bool silentMode() const { return m_silentMode; }
    void setSilentMode(bool silent);

    /// Comma-separated phrases that make an ask of any notification that contains one.
    const QString& askKeywords() const { return m_askKeywords; }
    void setAskKeywords(const QString& keywords);

    /// The terminal programs of `injectionAllowlistRaw`, case kept.
    QSet<QString> injectionAllowlist() const;

    /// Whether the relay's address and token both hold more than spaces and tabs.
    bool relayConfigured() const;

    /// Whether the text contains one of the ask keywords, without regard to case by the rules of the default locale.
    bool matchesAskKeywords(const QString& text) const;

signals:
    void phoneTerminalEnabledWillChange(bool enabled);
    void relayURLWillChange(const QString& url);
    void relayTokenWillChange(const QString& token);
    void injectionAllowlistRawWillChange(const QString& names);
    void decisionWaitSecondsWillChange(qint64 seconds);
    void notificationAutoDismissSecondsWillChange(qint64 seconds);
    void defaultPolicyWillChange(pelorin::AutoDecision policy);
    void trackOnlyOptInWillChange(bool trackOnlyOptIn);
    void showPlainNotificationsWillChange(bool show);
    void silentModeWillChange(bool silent);
    void askKeywordsWillChange(const QString& keywords);
    /// Follows each of the above.
    void objectWillChange();

private:
    template <class Value>
    struct Setting;
    struct Table;

    static const Table& table();
    template <class Value>
    void load(const Setting<Value>& setting);
    template <class Value>
    void announceAndSet(const Setting<Value>& setting, const Value& value);
    template <class Value>
    void change(const Setting<Value>& setting, const Value& value);

    UserDefaults& m_defaults;
    bool m_phoneTerminalEnabled = false;
    QString m_relayURL;
    QString m_relayToken;
    QString m_injectionAllowlistRaw;
    qint64 m_decisionWaitSeconds = 0;
    qint64 m_notificationAutoDismissSeconds = 0;
    AutoDecision m_defaultPolicy = AutoDecision::wait;
    bool m_trackOnlyOptIn = false;
    bool m_showPlainNotifications = false;
    bool m_silentMode = false;
    QString m_askKeywords;
};

} // namespace pelorin
