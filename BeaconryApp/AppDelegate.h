#pragma once

#include "BeaconryApp/PhoneShell.h"

#include "BeaconryKit/interface/manager/ManagerWindowController.h"
#include "BeaconryKit/interface/panel/NotchPanelController.h"
#include "BeaconryKit/interface/status/StatusItem.h"
#include "BeaconryKit/interface/status/StatusMenu.h"
#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/platform/Debouncer.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/platform/UserDefaults.h"
#include "BeaconryKit/relay/RelayClient.h"
#include "BeaconryKit/relay/RelayGate.h"
#include "BeaconryKit/relay/RelayProvisioner.h"
#include "BeaconryKit/relay/RelaySocket.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/service/EventRouter.h"
#include "BeaconryKit/service/EventServer.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"
#include "BeaconryKit/terminal/AnswerRouter.h"
#include "BeaconryKit/terminal/TerminalFocus.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// A message for the user that ends the program.
struct Alert {
    QString messageText;
    QString informativeText;

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
};

/// Owns every long-lived object of the application for the whole run and connects them. Lives on the main thread.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    /// How long the ask list must be quiet before it is pushed to the relay.
    static constexpr std::chrono::milliseconds relayQuietTime{60};
    /// The time between two polls of the relay, in seconds.
    static constexpr double relayPollInterval = 5.0;

    explicit AppDelegate(const AppDependencies& dependencies);
    ~AppDelegate() override;

    /// Starts everything, in a fixed order. `port` is the one to listen on. Returns an alert when it cannot be listened
    /// on; the application is then to be ended.
    [[nodiscard]] std::optional<Alert> start(quint16 port, Display display);

    /// Brings the manager window forward; without a display nothing happens.
    void openManager();

    /// Does what the user asked for on an ask: answers the waiting hook or the terminal, brings the terminal forward,
    /// withdraws the row.
    void handle(const AskEvent& ask, const AskAction& action);

    /// Fills the ask of that identity with what its terminal shows. May be called from any thread, and returns when it
    /// is done.
    void expand(const QString& id);

    /// The port that is listened on.
    quint16 port() const;

    AskStore& store() { return m_store; }
    SessionRegistry& registry() { return m_registry; }
    NotifierSettings& settings() { return m_settings; }
    DecisionRouter& router() { return m_router; }

private:
    void makeWindows();
    [[nodiscard]] std::optional<Alert> startServer(quint16 port);
    void setUpStatusItem();
    RelaySocket::Callbacks relayCallbacks();
    std::function<void(const QString&, const QString&)> relayDecisionHandler();
    void startRelay();
    void settingsChanged();
    void syncRelay();
    void provisionRelayIfNeeded();
    QString relayIdentity() const;
    void decideFromRelay(const QString& requestId, const QString& decision);
    SessionTarget target(const AskEvent& ask) const;
    void answer(const AskEvent& ask, const AskChoice& choice);
    bool resolve(const AskEvent& ask, Decision decision);
    void decide(const AskEvent& ask, Decision decision);

    const AppDependencies m_dependencies;
    AskStore m_store;
    SessionRegistry m_registry;
    NotifierSettings m_settings;
    DecisionRouter m_router;
    TerminalFocus m_focus;
    AnswerRouter m_answerRouter;
    RelayClient m_relay;
    RelayProvisioner m_provisioner;
    const std::shared_ptr<RelayGate> m_gate = std::make_shared<RelayGate>();
    std::shared_ptr<PhoneShell> m_phoneShell;
    std::shared_ptr<RelaySocket> m_relaySocket;
    // The address and the token of the last connection.
    QString m_lastRelayIdentity;
    Debouncer m_askListSync;
    std::shared_ptr<EventRouter> m_eventRouter;
    std::unique_ptr<NotchPanelController> m_panelController;
    std::unique_ptr<ManagerWindowController> m_managerController;
    std::unique_ptr<StatusMenu> m_statusMenu;
    // Stopped before all that its requests reach.
    std::unique_ptr<EventServer> m_server;
};

} // namespace pelorin
