#include "BeaconryApp/AppDelegate.h"
#include "bench/Measure.h"

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
#include <sys/socket.h>
#include <unistd.h>

// The time from a hook's first byte to the first painted frame of the panel, against the first frame of an empty window
// of the same size. The first time the panel is also made.

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

/// Ends a loop at the first frame of the next window that appears.
class FirstFrame final : public QObject {
public:
    explicit FirstFrame(QEventLoop& loop) : m_loop(loop) { qApp->installEventFilter(this); }

    QQuickWindow* window() const { return m_window; }

private:
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() == QEvent::Expose && !m_window) {
            auto* const window = qobject_cast<QQuickWindow*>(object);
            // A window that is hidden hears of it in the same way.
            if (!window || !window->isExposed())
                return false;
            m_window = window;
            connect(m_window, &QQuickWindow::frameSwapped, &m_loop, &QEventLoop::quit, Qt::DirectConnection);
        }
        return false;
    }

    QEventLoop& m_loop;
    QQuickWindow* m_window = nullptr;
};

struct Appearance {
    double seconds;
    QQuickWindow* window;
};

Appearance firstFrame(const std::function<void()>& cause) {
    QEventLoop loop;
    const FirstFrame frame(loop);
    const auto start = Clock::now();
    cause();
    loop.exec();
    return {secondsSince(start), frame.window()};
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

    const std::string request = postRequest(
        "/permission", R"({"session_id":"s","request_id":"r","cwd":"/home/user/project","tool_name":"Bash",)"
                       R"("tool_input":{"command":"touch /home/user/project/made-by-tool"}})");
    std::vector<double> ours;
    std::vector<double> empty;
    for (int round = 0; round < repetitions(31); ++round) {
        QQuickWindow window;
        window.resize(460, 120);
        empty.push_back(firstFrame([&] { window.show(); }).seconds);
        window.hide();

        int hook = -1;
        const Appearance panel = firstFrame([&] { hook = sendOnly(delegate.port(), request); });
        ours.push_back(panel.seconds);
        // Its row goes with the hook, which resets its connection as it leaves.
        const linger atOnce{.l_onoff = 1, .l_linger = 0};
        setsockopt(hook, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        close(hook);
        waitUntilHidden(*panel.window);
    }
    std::printf(
        "request to first frame of the panel: first time %.1f ms, median %.1f ms (an empty window %.1f ms, ratio "
        "%.2f)\n",
        ours.front() * 1e3, median(ours) * 1e3, median(empty) * 1e3, median(ours) / median(empty));
    return 0;
}
