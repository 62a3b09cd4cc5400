#pragma once

#include "BeaconryKit/service/SessionActions.h"
#include "BeaconryKit/sessions/NotifierSettings.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// The settings as QML reads and writes them. What is set here is stored and announced at once; what changes elsewhere
/// is announced when the owner says so, on a later turn. Main thread.
class SettingsFacade final : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(SettingsFacade)
    QML_UNCREATABLE("The facade owns it")

    Q_PROPERTY(bool silentMode READ silentMode WRITE setSilentMode NOTIFY changed FINAL)
    /// The position of the default policy in `policyNames`.
    Q_PROPERTY(int defaultPolicy READ defaultPolicy WRITE setDefaultPolicy NOTIFY changed FINAL)
    Q_PROPERTY(QList<QString> policyNames READ policyNames CONSTANT FINAL)
    /// The position of "Auto-allow" in `policyNames`.
    Q_PROPERTY(int autoAllowChoice READ autoAllowChoice CONSTANT FINAL)
    /// Whether every request is allowed without asking.
    Q_PROPERTY(bool allowsEverything READ allowsEverything NOTIFY changed FINAL)
    /// Seconds; what is set beyond the shortest and the longest is corrected.
    Q_PROPERTY(int decisionWaitSeconds READ decisionWaitSeconds WRITE setDecisionWaitSeconds NOTIFY changed FINAL)
    Q_PROPERTY(int shortestDecisionWait READ shortestDecisionWait CONSTANT FINAL)
    Q_PROPERTY(int longestDecisionWait READ longestDecisionWait CONSTANT FINAL)
    /// Seconds; 0 for never.
    Q_PROPERTY(int autoDismissSeconds READ autoDismissSeconds WRITE setAutoDismissSeconds NOTIFY changed FINAL)
    Q_PROPERTY(int longestAutoDismiss READ longestAutoDismissSeconds CONSTANT FINAL)
    Q_PROPERTY(
        bool showPlainNotifications READ showPlainNotifications WRITE setShowPlainNotifications NOTIFY changed FINAL)
    Q_PROPERTY(QString askKeywords READ askKeywords WRITE setAskKeywords NOTIFY changed FINAL)
    /// Of the settings and of the registry.
    Q_PROPERTY(bool trackOnlyOptIn READ trackOnlyOptIn WRITE setTrackOnlyOptIn NOTIFY changed FINAL)
    Q_PROPERTY(QString relayURL READ relayURL WRITE setRelayURL NOTIFY changed FINAL)
    Q_PROPERTY(QString relayToken READ relayToken WRITE setRelayToken NOTIFY changed FINAL)
    Q_PROPERTY(bool phoneTerminalEnabled READ phoneTerminalEnabled WRITE setPhoneTerminalEnabled NOTIFY changed FINAL)

public:
    /// The longest time, in seconds, that the window lets a notice stay: an hour.
    static constexpr int longestAutoDismiss = 3600;

    /// Both must outlive the facade.
    SettingsFacade(NotifierSettings& settings, SessionActions& actions, QObject* parent = nullptr);

    bool silentMode() const { return m_settings.silentMode(); }
    void setSilentMode(bool silent);
    int defaultPolicy() const;
    void setDefaultPolicy(int choice);
    static QStringList policyNames();
    static int autoAllowChoice();
    bool allowsEverything() const { return m_settings.defaultPolicy() == AutoDecision::allow; }
    /// Brings back what the default policy was before "Auto-allow" was chosen here; else the user is asked again.
    Q_INVOKABLE void undoAutoAllow();
    int decisionWaitSeconds() const { return static_cast<int>(m_settings.decisionWaitSeconds()); }
    void setDecisionWaitSeconds(int seconds);
    static int shortestDecisionWait() { return static_cast<int>(NotifierSettings::shortestDecisionWait); }
    static int longestDecisionWait() { return static_cast<int>(NotifierSettings::longestDecisionWait); }
    int autoDismissSeconds() const;
    void setAutoDismissSeconds(int seconds);
    static int longestAutoDismissSeconds() { return longestAutoDismiss; }
    bool showPlainNotifications() const { return m_settings.showPlainNotifications(); }
    void setShowPlainNotifications(bool show);
    QString askKeywords() const { return m_settings.askKeywords(); }
    void setAskKeywords(const QString& keywords);
    bool trackOnlyOptIn() const { return m_settings.trackOnlyOptIn(); }
    void setTrackOnlyOptIn(bool trackOnlyOptIn);
    QString relayURL() const { return m_settings.relayURL(); }
    void setRelayURL(const QString& url);
    QString relayToken() const { return m_settings.relayToken(); }
    void setRelayToken(const QString& token);
    bool phoneTerminalEnabled() const { return m_settings.phoneTerminalEnabled(); }
    void setPhoneTerminalEnabled(bool enabled);

signals:
    void changed();

private:
    NotifierSettings& m_settings;
    SessionActions& m_actions;
    AutoDecision m_policyBeforeAutoAllow = AutoDecision::wait;
};

} // namespace pelorin
