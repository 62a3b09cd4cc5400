#pragma once

#include "BeaconryKit/interface/panel/NotchPanelController.h"
#include "BeaconryKit/model/AskAction.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/platform/UserDefaults.h"
#include "BeaconryKit/service/AskStore.h"
#include "BeaconryKit/service/DecisionRouter.h"
#include "BeaconryKit/service/EventRouter.h"
#include "BeaconryKit/service/EventServer.h"
#include "BeaconryKit/sessions/NotifierSettings.h"
#include "BeaconryKit/sessions/SessionRegistry.h"

#include <QObject>

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

/// Owns every long-lived object of the application for the whole run and connects them. Lives on the main thread.
class AppDelegate final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the delegate.
    AppDelegate(Dispatch& dispatch, UserDefaults& defaults);
    ~AppDelegate() override;

    /// Starts everything, in a fixed order. `port` is the one to listen on. Returns an alert when it cannot be listened
    /// on; the application is then to be ended.
    [[nodiscard]] std::optional<Alert> start(quint16 port, Display display);

    /// Does what the user asked for on an ask: answers the waiting hook and withdraws the row.
    void handle(const AskEvent& ask, const AskAction& action);

    /// The port that is listened on.
    quint16 port() const;

    AskStore& store() { return m_store; }
    SessionRegistry& registry() { return m_registry; }
    NotifierSettings& settings() { return m_settings; }

private:
    [[nodiscard]] std::optional<Alert> startServer(quint16 port);
    void settingsChanged();
    bool resolve(const AskEvent& ask, Decision decision);
    void decide(const AskEvent& ask, Decision decision);

    Dispatch& m_dispatch;
    AskStore m_store;
    SessionRegistry m_registry;
    NotifierSettings m_settings;
    DecisionRouter m_router;
    std::shared_ptr<EventRouter> m_eventRouter;
    std::unique_ptr<NotchPanelController> m_panelController;
    // Stopped before all that its requests reach.
    std::unique_ptr<EventServer> m_server;
};

} // namespace pelorin
