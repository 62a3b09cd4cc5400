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
#include <QRect>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

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

    static constexpr std::chrono::seconds announcementTime{6};

    /// The parts must outlive the controller. `engine` may be shared with other windows; nothing: one is made with the
    /// window.
    ManagerWindowController(ManagerParts parts, AskActionHandler onAskAction, JumpHandler onJump,
                            std::shared_ptr<InterfaceEngine> engine = nullptr);
    ~ManagerWindowController() override;

    /// From now on the rows count down to their own ends, where those are known. Before the window is first shown.
    void setEndOfWait(EndOfWait endOfWait) { m_endOfWait = std::move(endOfWait); }

    /// `taken` tells what of the desktop is covered by what stands above all windows; an empty rectangle for nothing.
    /// The window opens elsewhere, where the windowing system lets windows choose.
    void keepClearOf(std::function<QRect()> taken) { m_taken = std::move(taken); }

    /// Says a line at the window's lower edge for some seconds. False, and nothing, unless the user is in the window.
    bool announce(const QString& line);

    /// Shows the window, brings it before all others and gives it the keyboard.
    void show();

    /// The window; null before it was first shown.
    ManagerWindow* window() const;
    /// What its content is given; null before it was first shown.
    ManagerFacade* facade() const;

private:
    struct Content;

    void makeContent();
    void place();
    void scheduleFollowing();
    void follow();
    void shownChanged(bool isShown);

    ManagerParts m_parts;
    AskActionHandler m_onAskAction;
    JumpHandler m_onJump;
    std::shared_ptr<InterfaceEngine> m_engine;
    EndOfWait m_endOfWait;
    std::function<QRect()> m_taken;
    bool m_wasShown = false;
    bool m_isScheduled = false;
    // Only the newest line's time counts.
    int m_lastAnnouncement = 0;
    std::unique_ptr<Content> m_content;
};

} // namespace pelorin
