#pragma once

#include "BeaconryKit/interface/asks/AskActions.h"
#include "BeaconryKit/interface/manager/HookSetup.h"
#include "BeaconryKit/interface/manager/PhoneSetup.h"
#include "BeaconryKit/interface/manager/SessionListModel.h"
#include "BeaconryKit/interface/manager/SettingsFacade.h"
#include "BeaconryKit/service/SessionActions.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

namespace pelorin {

/// All that the manager window's QML sees and calls. Main thread; the controller owns it.
class ManagerFacade final : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(ManagerFacade)
    QML_UNCREATABLE("The controller owns it")

    Q_PROPERTY(pelorin::AskActions* pending READ pending CONSTANT FINAL)
    Q_PROPERTY(pelorin::SessionListModel* sessions READ sessions CONSTANT FINAL)
    Q_PROPERTY(QList<QString> policyNames READ policyNames CONSTANT FINAL)
    /// The position of "Auto-allow" in `policyNames`.
    Q_PROPERTY(int autoAllowChoice READ autoAllowChoice CONSTANT FINAL)
    Q_PROPERTY(pelorin::PhoneSetup* phone READ phone CONSTANT FINAL)
    Q_PROPERTY(pelorin::HookSetup* hooks READ hooks CONSTANT FINAL)
    Q_PROPERTY(pelorin::SettingsFacade* settings READ settings CONSTANT FINAL)
    /// How many asks are waiting.
    Q_PROPERTY(int pendingCount READ pendingCount NOTIFY pendingCountChanged FINAL)
    /// A line of the interface's own; empty when there is none.
    Q_PROPERTY(QString announcement READ announcement NOTIFY announcementChanged FINAL)
    /// Whether the content can be seen.
    Q_PROPERTY(bool isShown READ isShown NOTIFY isShownChanged FINAL)
    /// What the desktop says about dark windows.
    Q_PROPERTY(DesktopScheme desktopScheme READ desktopScheme NOTIFY desktopSchemeChanged FINAL)
    /// Whether the letters that reach controls with the Alt key are to be marked.
    Q_PROPERTY(bool showsMnemonics READ showsMnemonics NOTIFY showsMnemonicsChanged FINAL)
    /// The position of the tab that is in front; it outlasts the content.
    Q_PROPERTY(int tab READ tab WRITE setTab NOTIFY tabChanged FINAL)

public:
    enum DesktopScheme { UnspecifiedScheme, DarkScheme, LightScheme };
    Q_ENUM(DesktopScheme)

    struct Parts {
        SessionActions& actions;
        SessionRegistry& registry;
        AskActions& pending;
        SessionListModel& sessions;
        PhoneSetup& phone;
        HookSetup& hooks;
        SettingsFacade& settings;
    };

    /// All parts must outlive the facade.
    explicit ManagerFacade(const Parts& parts, QObject* parent = nullptr);

    AskActions* pending() const { return &m_parts.pending; }
    SessionListModel* sessions() const { return &m_parts.sessions; }
    static QStringList policyNames() { return SessionListModel::policyNames(); }
    static int autoAllowChoice() { return SessionListModel::autoAllowChoice(); }
    PhoneSetup* phone() const { return &m_parts.phone; }
    HookSetup* hooks() const { return &m_parts.hooks; }
    SettingsFacade* settings() const { return &m_parts.settings; }
    int pendingCount() const { return m_parts.pending.asks()->rowCount(); }

    const QString& announcement() const { return m_announcement; }
    void setAnnouncement(const QString& line);
    bool isShown() const { return m_isShown; }
    void setShown(bool isShown);
    DesktopScheme desktopScheme() const { return m_desktopScheme; }
    void setDesktopScheme(DesktopScheme scheme);
    bool showsMnemonics() const { return m_showsMnemonics; }
    void setShowsMnemonics(bool shows);
    int tab() const { return m_tab; }
    void setTab(int tab);

    /// Mutes the session, which takes its asks off the screen, or unmutes it, which brings nothing back.
    Q_INVOKABLE void setMuted(const QString& sessionId, bool muted);
    /// `choice` is a position in `policyNames`; the first removes the session's own policy.
    Q_INVOKABLE void setPolicy(const QString& sessionId, int choice);
    Q_INVOKABLE void jump(const QString& sessionId);
    Q_INVOKABLE void close();

signals:
    void pendingCountChanged();
    void announcementChanged();
    void isShownChanged();
    void desktopSchemeChanged();
    void showsMnemonicsChanged();
    void tabChanged();
    void jumpWanted(const QString& sessionId);
    void closeWanted();

private:
    Parts m_parts;
    QString m_announcement;
    bool m_isShown = false;
    DesktopScheme m_desktopScheme = UnspecifiedScheme;
    bool m_showsMnemonics = false;
    int m_tab = 0;
};

} // namespace pelorin
