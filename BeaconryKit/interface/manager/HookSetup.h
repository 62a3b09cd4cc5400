#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/setup/HookInstaller.h"
#include "BeaconryKit/setup/LaunchAgentControl.h"

#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// What installing and uninstalling go by.
struct HookSetupDependencies {
    HookInstaller::Dependencies installer;
    LaunchAgentControl::Dependencies launchAgent;

    /// Those of this process.
    static HookSetupDependencies ofProcess();
};

/// Installs and removes the hooks and the start at login for the window, and tells how far that is. The scripts run on
/// a queue of their own, which exists only meanwhile. Lives on the main thread; destroying it waits for a script that
/// runs.
class HookSetup final : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(HookSetup)
    QML_UNCREATABLE("The facade owns it")

    Q_PROPERTY(bool isInstalled READ isInstalled NOTIFY changed FINAL)
    /// Whether a script runs or is about to.
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY changed FINAL)
    Q_PROPERTY(bool isInstalling READ isInstalling NOTIFY changed FINAL)
    /// Whether the last installation failed.
    Q_PROPERTY(bool installationFailed READ installationFailed NOTIFY changed FINAL)
    /// The last outcome, for the user; empty when there is none.
    Q_PROPERTY(QString message READ message NOTIFY changed FINAL)
    Q_PROPERTY(bool isFailure READ isFailure NOTIFY changed FINAL)

public:
    /// How long the removal of the start at login waits after the hooks are gone.
    static constexpr std::chrono::milliseconds launchAgentDelay{800};

    /// The dispatch must outlive the object.
    HookSetup(Dispatch& dispatch, HookSetupDependencies dependencies, QObject* parent = nullptr);
    ~HookSetup() override;

    bool isInstalled() const { return m_isInstalled; }
    bool isBusy() const { return m_activity != Activity::none; }
    bool isInstalling() const { return m_activity == Activity::installing; }
    bool installationFailed() const { return m_installationFailed; }
    const QString& message() const { return m_message; }
    bool isFailure() const { return m_isFailure; }

    /// Reads anew what is installed.
    void refresh();

    /// Installing and uninstalling do nothing while either is under way.
    Q_INVOKABLE void install();
    Q_INVOKABLE void uninstall();
    /// Has the user asked first whether to uninstall.
    Q_INVOKABLE void confirmUninstall();

signals:
    void changed();
    void confirmationWanted();

private:
    enum class Activity { none, installing, removing };
    using Outcome = std::optional<QString>;

    void begin(Activity activity);
    void run(Duration delay, std::function<Outcome()> operation, std::function<void(HookSetup&, const Outcome&)> then);
    void hooksRemoved(const Outcome& error);
    void launchAgentRemoved(const Outcome& hooksError, const Outcome& error);
    void tell(const QString& message, const Outcome& error);
    void finish();

    Dispatch& m_dispatch;
    HookSetupDependencies m_dependencies;
    bool m_isInstalled = false;
    bool m_hasLaunchAgent = false;
    Activity m_activity = Activity::none;
    bool m_installationFailed = false;
    QString m_message;
    bool m_isFailure = false;
    std::unique_ptr<TaskQueue> m_queue;
};

} // namespace pelorin
