#include "BeaconryKit/interface/manager/HookSetup.h"

#include "BeaconryKit/interface/asks/DisplayText.h"
#include "BeaconryKit/platform/WhileAlive.h"

#include <utility>

namespace pelorin {

namespace {

// A script may print a whole log.
constexpr qsizetype messageLimit = 2'000;

} // namespace

HookSetupDependencies HookSetupDependencies::ofProcess() {
    return {HookInstaller::Dependencies::ofProcess(), LaunchAgentControl::Dependencies::ofProcess()};
}

HookSetup::HookSetup(Dispatch& dispatch, HookSetupDependencies dependencies, QObject* parent)
    : QObject(parent), m_dispatch(dispatch), m_dependencies(std::move(dependencies)) {
}

HookSetup::~HookSetup() = default;

void HookSetup::refresh() {
    m_isInstalled = HookInstaller::isInstalled(m_dependencies.installer);
    m_hasLaunchAgent = LaunchAgentControl::isInstalled(m_dependencies.launchAgent);
    emit changed();
}

void HookSetup::install() {
    if (isBusy())
        return;
    begin(Activity::installing);
    run(
        {}, [dependencies = m_dependencies.installer] { return HookInstaller::install(dependencies); },
        [](HookSetup& self, const Outcome& error) {
            self.m_installationFailed = error.has_value();
            self.tell({}, error);
            self.finish();
        });
}

void HookSetup::uninstall() {
    if (isBusy())
        return;
    begin(Activity::removing);
    run(
        {}, [dependencies = m_dependencies.installer] { return HookInstaller::uninstall(dependencies); },
        &HookSetup::hooksRemoved);
}

void HookSetup::confirmUninstall() {
    emit confirmationWanted();
}

void HookSetup::hooksRemoved(const Outcome& error) {
    m_hasLaunchAgent = LaunchAgentControl::isInstalled(m_dependencies.launchAgent);
    if (!m_hasLaunchAgent) {
        tell(QStringLiteral("Removed the Claude Code hooks."), error);
        finish();
        return;
    }
    tell(QStringLiteral("Removed the Claude Code hooks. Removing login auto-start…"), error);
    m_isInstalled = HookInstaller::isInstalled(m_dependencies.installer);
    emit changed();
    run(
        launchAgentDelay,
        [dependencies = m_dependencies.launchAgent] { return LaunchAgentControl::uninstall(dependencies); },
        [hooksError = error](HookSetup& self, const Outcome& agentError) {
            self.launchAgentRemoved(hooksError, agentError);
        });
}

void HookSetup::launchAgentRemoved(const Outcome& hooksError, const Outcome& error) {
    // A failure to remove the hooks is told even when the start at login was removed.
    const Outcome all = hooksError && error ? *hooksError + u'\n' + *error : hooksError ? hooksError : error;
    tell(QStringLiteral("Removed the Claude Code hooks and login auto-start."), all);
    finish();
}

void HookSetup::begin(Activity activity) {
    m_activity = activity;
    m_installationFailed = false;
    m_queue = m_dispatch.makeSerialQueue("com.pelorin.setup");
    tell({}, std::nullopt);
    emit changed();
}

void HookSetup::run(Duration delay, std::function<Outcome()> operation,
                    std::function<void(HookSetup&, const Outcome&)> then) {
    m_queue->asyncAfter(
        delay, [operation = std::move(operation), then = whileAlive(this, std::move(then)),
                &main = m_dispatch.mainQueue()] { main.async([then, outcome = operation()] { then(outcome); }); });
}

void HookSetup::tell(const QString& message, const Outcome& error) {
    m_message = displayText(error.value_or(message), messageLimit);
    m_isFailure = error.has_value();
}

void HookSetup::finish() {
    m_activity = Activity::none;
    m_queue.reset();
    refresh();
}

} // namespace pelorin
