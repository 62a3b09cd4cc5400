#pragma once

#include "BeaconryKit/interface/asks/AskListController.h"
#include "BeaconryKit/interface/manager/HookSetup.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/relay/RelayClient.h"
#include "BeaconryKit/relay/RelayProvisioner.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QObject>

#include <functional>
#include <memory>

namespace pelorin {

class InterfaceEngine;
class ManagerFacade;
class ManagerWindow;

/// What the manager window shows and edits.
struct ManagerParts {
    AskStore& store;
    SessionRegistry& registry;
    NotifierSettings& settings;
    Dispatch& dispatch;
    RelayClient& relay;
    RelayProvisioner& provisioner;
    HookSetupDependencies hooks = HookSetupDependencies::ofProcess();
};

/// Shows the manager window when it is asked to, and keeps it, hidden, between uses. The window and all that stands
/// behind it are made when it is first shown; while it is hidden nothing follows the models and no timer runs. Lives on
/// the main thread for as long as the application; owned by the delegate.
class ManagerWindowController final : public QObject {
    Q_OBJECT

public:
    /// Brings the session's terminal forward. Called on the main thread with the session as the registry holds it.
    using JumpHandler = std::function<void(const SessionInfo& session)>;

    /// The parts must outlive the controller. `engine` may be shared with other windows; nothing: one is made with the
    /// window.
    ManagerWindowController(ManagerParts parts, AskActionHandler onAskAction, JumpHandler onJump,
                            std::shared_ptr<InterfaceEngine> engine = nullptr);
    ~ManagerWindowController() override;

    /// Shows the window, brings it before all others and gives it the keyboard.
    void show();

    /// The window; null before it was first shown.
    ManagerWindow* window() const;
    /// What its content is given; null before it was first shown.
    ManagerFacade* facade() const;

private:
    struct Content;

    void makeContent();
    void scheduleFollowing();
    void follow();
    void shownChanged(bool isShown);

    ManagerParts m_parts;
    AskActionHandler m_onAskAction;
    JumpHandler m_onJump;
    std::shared_ptr<InterfaceEngine> m_engine;
    bool m_isScheduled = false;
    std::unique_ptr<Content> m_content;
};

} // namespace pelorin
