#include "BeaconryApp/AppDelegate.h"
#include "BeaconryApp/CommandLine.h"
#include "BeaconryApp/InstanceChannel.h"
#include "BeaconryBase/FailedWrites.h"
#include "BeaconryBase/ServicePort.h"

#include "BeaconryKit/interface/wayland/CompositorLoss.h"
#include "BeaconryKit/interface/wayland/DisplayChoice.h"
#include "BeaconryKit/platform/DescriptorLimit.h"
#include "BeaconryKit/platform/LargeBlocks.h"
#include "BeaconryKit/platform/WindowRaiser.h"
#include "BeaconryKit/relay/NetworkTransport.h"
#include "BeaconryKit/terminal/ProcessLauncher.h"
#include "BeaconryKit/terminal/ProcessRunner.h"

#include <QGuiApplication>
#include <QQuickWindow>

#include <cstdio>

namespace {

/// The desktop's leave to bring a window to the front. The toolkit reads it when it does that.
constexpr auto activationTokenVariable = "XDG_ACTIVATION_TOKEN";

pelorin::Display findDisplay(bool platformWasChosenByUser) {
    if (platformWasChosenByUser || QGuiApplication::platformName() != QLatin1String("offscreen"))
        return pelorin::Display::present;
    std::fputs("pelorin: no display was found; hooks are served without a panel.\n", stderr);
    return pelorin::Display::absent;
}

} // namespace

int main(int argc, char** argv) {
    pelorin::surviveFailedWrites();
    pelorin::giveLargeBlocksBack();
    QStringList arguments;
    for (int index = 0; index < argc; ++index)
        arguments << QString::fromLocal8Bit(argv[index]);
    if (const auto answer = pelorin::answerCommandLine(arguments)) {
        std::fputs(qUtf8Printable(answer->text), answer->exitStatus == 0 ? stdout : stderr);
        return answer->exitStatus;
    }

    const quint16 port = pelorin::servicePort(qgetenv(pelorin::servicePortVariable).toStdString());
    const QByteArray activationToken = qgetenv(activationTokenVariable);
    const bool wantsManager = pelorin::asksForManager(arguments);
    if (wantsManager && pelorin::InstanceChannel::askToShowManager(port, activationToken))
        return 0;

    const bool platformWasChosenByUser = qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
#if defined(Q_OS_LINUX)
    if (pelorin::hasLostCompositorForGood())
        return 1;
    pelorin::chooseWindowingSystem();
    pelorin::startAgainWhenCompositorGoes(argv);
#endif
    // The panel is small and still most of the time: drawing it in software costs a third of a GPU context's memory.
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Pelorin"));
    QGuiApplication::setApplicationVersion(QStringLiteral(PELORIN_VERSION));
    // The application lives on when its last window is hidden.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    pelorin::raiseDescriptorLimit();

    const auto dispatch = pelorin::makeSystemDispatch();
    const auto defaults = pelorin::makeStandardUserDefaults();
    pelorin::ProcessRunner runner;
    pelorin::ProcessLauncher launcher;
    const auto raiser = pelorin::makeWindowRaiser();
    pelorin::NetworkTransport network;
    pelorin::AppDelegate delegate({.dispatch = *dispatch,
                                   .defaults = *defaults,
                                   .runner = runner,
                                   .launcher = launcher,
                                   .raiser = *raiser,
                                   .http = network,
                                   .sockets = network});
    if (const auto alert = delegate.start(port, findDisplay(platformWasChosenByUser))) {
        // Where no status item is in sight, starting the program again is how the user gets at the one that runs.
        pelorin::InstanceChannel::askToShowManager(port, activationToken);
        std::fprintf(stderr, "%s\n%s\n", qUtf8Printable(alert->messageText), qUtf8Printable(alert->informativeText));
        if (!alert->furtherText.isEmpty())
            std::fprintf(stderr, "%s\n", qUtf8Printable(alert->furtherText));
        return 1;
    }
    const auto channel = pelorin::InstanceChannel::listen(delegate.port(), [&](const QByteArray& token) {
        if (!token.isEmpty())
            qputenv(activationTokenVariable, token);
        delegate.openManager();
    });
    if (wantsManager)
        delegate.openManager();
    return QGuiApplication::exec();
}
