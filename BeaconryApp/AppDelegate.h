#pragma once

#include "BeaconryApp/AskAnswering.h"
#include "BeaconryApp/RelayLink.h"

#include "BeaconryKit/interface/manager/HookSetup.h"
#include "BeaconryKit/interface/manager/ManagerWindowController.h"
#include "BeaconryKit/interface/panel/NotchPanelController.h"
#include "BeaconryKit/interface/status/StatusItem.h"
#include "BeaconryKit/interface/status/StatusMenu.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/platform/UserDefaults.h"
#include "BeaconryKit/relay/HTTPTransport.h"
#include "BeaconryKit/relay/SocketTransport.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/service/EventRouter.h"
#include "BeaconryKit/service/EventServer.h"
#include "BeaconryKit/service/RequestDetails.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"
#include "BeaconryKit/terminal/TerminalFocus.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// A message for the user that ends the program.
struct Alert {
    QString messageText;
    QString informativeText;
    /// What else can be said, on a line of its own; empty for nothing.
    QString furtherText = {};

    bool operator==(const Alert&) const = default;
};

/// Whether there is a screen to show anything on.
enum class Display { present, absent };

/// What the application reaches the machine and the network by. All of it must outlive the delegate.
struct AppDependencies {
    Dispatch& dispatch;
    UserDefaults& defaults;
    TerminalRunner& runner;
    CommandLauncher& launcher;
    WindowRaiser& raiser;
    HTTPTransport& http;
    SocketTransport& sockets;
    /// Makes the item in the system's status bar or tray.
    std::function<std::unique_ptr<StatusItem>()> statusItem = makeStatusItem;
    /// How the manager window finds the scripts that install and remove the hooks.
    HookSetupDependencies hooks = HookSetupDependencies::ofProcess();
};

/// Owns every long-lived object of the application for the whole run and connects them. Lives on the main thread.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    explicit AppDelegate(const AppDependencies& dependencies);

    /// Starts everything, in a fixed order. `port` is the one to listen on. Returns an alert when it cannot be listened
    /// on; the application is then to be ended.
    [[nodiscard]] std::optional<Alert> start(quint16 port, Display display);

    /// Brings the manager window forward; without a display nothing happens.
    void openManager();

    /// The port that is listened on.
    quint16 port() const;

private:
    void makeWindows();
    void sayThatNothingIsShown(const QString& sessionId);
    [[nodiscard]] std::optional<Alert> startServer(quint16 port);
    void setUpStatusItem();
    void settingsChanged();

    const AppDependencies m_dependencies;
    AskStore m_store;
    RequestDetails m_requestDetails;
    SessionRegistry m_registry;
    NotifierSettings m_settings;
    DecisionRouter m_router;
    HelpedSessions m_helpedSessions;
    TerminalFocus m_focus;
    AskAnswering m_answering;
    RelayLink m_relay;
    std::shared_ptr<EventRouter> m_eventRouter;
    std::unique_ptr<NotchPanelController> m_panelController;
    std::unique_ptr<ManagerWindowController> m_managerController;
    std::unique_ptr<StatusMenu> m_statusMenu;
    // Stopped before all that its requests reach.
    std::unique_ptr<EventServer> m_server;
};

} // namespace pelorin
