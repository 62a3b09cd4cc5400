#include "BeaconryApp/AppDelegate.h"
#include "bench/Measure.h"

#include "BeaconryKit/interface/panel/NotchPanel.h"
#include "BeaconryKit/platform/UserDefaults.h"
#include "BeaconryKit/platform/WindowRaiser.h"
#include "BeaconryKit/relay/NetworkTransport.h"
#include "BeaconryKit/terminal/ProcessLauncher.h"
#include "BeaconryKit/terminal/ProcessRunner.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QJsonObject>
#include <QQuickWindow>

#include <cstdio>
#include <thread>

// The time from a hook's first byte to the first painted frame of the panel, against the first frame of an empty window
// of the same size.

namespace {

using namespace pelorin;
using namespace pelorin::bench;

/// Every setting at its default, but no relay.
class BareUserDefaults final : public UserDefaults {
public:
    std::optional<QJsonValue> object(const QString& key) const override {
        return key == QLatin1String("relayURL") ? std::optional<QJsonValue>(QString()) : std::nullopt;
    }
    void setObject(const QString&, const QJsonValue&) override {}
};

NotchPanel* findPanel() {
    for (QWindow* window : QGuiApplication::allWindows()) {
        if (auto* panel = qobject_cast<NotchPanel*>(window))
            return panel;
    }
    return nullptr;
}

double firstFrame(QQuickWindow& window, const std::function<void()>& cause) {
    QEventLoop loop;
    double seconds = 0;
    const auto start = Clock::now();
    QObject::connect(
        &window, &QQuickWindow::frameSwapped, &loop,
        [&] {
            seconds = secondsSince(start);
            loop.quit();
        },
        Qt::DirectConnection);
    cause();
    loop.exec();
    return seconds;
}

void waitUntilHidden(QWindow& window) {
    QEventLoop loop;
    QObject::connect(&window, &QWindow::visibleChanged, &loop, &QEventLoop::quit);
    while (window.isVisible())
        loop.exec();
}

} // namespace

int main(int argc, char** argv) {
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const auto dispatch = makeSystemDispatch();
    BareUserDefaults defaults;
    ProcessRunner runner;
    ProcessLauncher launcher;
    const auto raiser = makeWindowRaiser();
    NetworkTransport network;
    AppDelegate delegate({.dispatch = *dispatch,
                          .defaults = defaults,
                          .runner = runner,
                          .launcher = launcher,
                          .raiser = *raiser,
                          .http = network,
                          .sockets = network,
                          .statusItem = makeStatusItem});
    if (delegate.start(0, pelorin::Display::present))
        return 1;
    NotchPanel* panel = findPanel();
    if (!panel)
        return 1;

    const std::string request = postRequest(
        "/permission", R"({"session_id":"s","request_id":"r","cwd":"/home/user/project","tool_name":"Bash",)"
                       R"("tool_input":{"command":"touch /home/user/project/made-by-tool"}})");
    const AskEvent ask{.sessionId = QStringLiteral("s"), .requestId = QStringLiteral("r")};
    std::vector<double> ours;
    std::vector<double> empty;
    for (int round = 0; round < repetitions(31); ++round) {
        QQuickWindow window;
        window.resize(460, 120);
        empty.push_back(firstFrame(window, [&] { window.show(); }));
        window.hide();

        std::thread hook;
        ours.push_back(firstFrame(*panel, [&] { hook = std::thread([&] { exchange(delegate.port(), request); }); }));
        delegate.handle(ask, AskAction::deny());
        hook.join();
        waitUntilHidden(*panel);
    }
    std::printf(
        "request to first frame of the panel: first time %.1f ms, median %.1f ms (an empty window %.1f ms, ratio "
        "%.2f)\n",
        ours.front() * 1e3, median(ours) * 1e3, median(empty) * 1e3, median(ours) / median(empty));
    return 0;
}
