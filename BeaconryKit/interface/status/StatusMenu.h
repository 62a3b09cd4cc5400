#pragma once

#include "BeaconryKit/interface/status/StatusItem.h"
#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/service/SessionActions.h"

#include <QObject>

#include <functional>
#include <memory>

namespace pelorin {

class AskStore;
class NotifierSettings;
class SessionRegistry;

/// The application's one permanent presence: shows in the status item whether anything waits, builds its menu and does
/// what the user chooses there. Owned by the delegate; what it is given must outlive it. Lives on the main thread.
class StatusMenu final : public QObject {
    Q_OBJECT

public:
    /// What the menu asks of the rest of the application. Any of them may be empty.
    struct Callbacks {
        std::function<void()> openManager;
        /// Brings the terminal of this registered session to the front.
        std::function<void(const SessionInfo& session)> jumpToSession;
        /// Ends the application.
        std::function<void()> quit;
    };

    /// Sets the item up and keeps it in step: a change of the registry rebuilds the menu, a change of the asks updates
    /// the icon alone, each on a later turn. Settings are not watched: whoever acts on their changes calls
    /// `rebuildMenu` when it is done. Without an item, only `perform` has an effect.
    StatusMenu(AskStore& store, SessionRegistry& registry, NotifierSettings& settings, std::unique_ptr<StatusItem> item,
               Callbacks callbacks);
    ~StatusMenu() override;

    /// Builds the menu anew from the present state; updates the icon first.
    void rebuildMenu();

    /// Shows how many asks wait, and whether silent mode is on.
    void updateStatusIcon();

    /// Does what a menu item stands for. `sessionId` is the one that the item carries; an action on a session does
    /// nothing without it.
    void perform(MenuAction action, const std::optional<QString>& sessionId = {});

private:
    Menu menu() const;
    MenuItem sessionItem(const SessionInfo& session) const;
    QString sessionTitle(const SessionInfo& session) const;
    void jumpToSession(const QString& sessionId);

    AskStore& m_store;
    SessionRegistry& m_registry;
    NotifierSettings& m_settings;
    SessionActions m_actions;
    Callbacks m_callbacks;
    std::unique_ptr<StatusItem> m_item;
};

} // namespace pelorin
