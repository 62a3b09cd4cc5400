#include "BeaconryApp/AppDelegate.h"
#include "BeaconryApp/ApplicationPolicy.h"
#include "BeaconryApp/CommandLine.h"
#include "BeaconryApp/InstanceChannel.h"
#include "BeaconryBase/FailedWrites.h"
#include "BeaconryBase/ServicePort.h"

#include "BeaconryKit/interface/InterfaceEngine.h"
#include "BeaconryKit/interface/alert/AlertWindow.h"
#include "BeaconryKit/interface/wayland/CompositorLoss.h"
#include "BeaconryKit/interface/wayland/DisplayChoice.h"
#include "BeaconryKit/platform/DescriptorLimit.h"
#include "BeaconryKit/platform/LargeBlocks.h"
#include "BeaconryKit/platform/WindowRaiser.h"
#include "BeaconryKit/relay/NetworkTransport.h"
#include "BeaconryKit/terminal/ProcessLauncher.h"
#include "BeaconryKit/terminal/ProcessRunner.h"

#include <QGuiApplication>
#include <QIcon>
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

/// Whether there are eyes to see a window: the toolkit may draw where nobody looks.
bool canBeSeen() {
    const QString platform = QGuiApplication::platformName();
    return platform != u"offscreen" && platform != u"minimal";
}

/// How desktops find the program's name and picture: by the entry that it is installed with.
const auto desktopFileName = QStringLiteral("com.pelorin.manager");

QIcon programIcon() {
    QIcon icon;
    for (const int side : {16, 32, 48, 128})
        icon.addFile(QStringLiteral(":/icons/%1-%2.png").arg(desktopFileName).arg(side), QSize(side, side));
    return icon;
}

/// Shows the alert until the user has closed it.
void showAlert(const pelorin::Alert& alert) {
    pelorin::InterfaceEngine engine;
    const QString lines = alert.furtherText.isEmpty() ? QString() : u'\n' + alert.furtherText;
    pelorin::AlertWindow window(&engine.qml(), alert.messageText, alert.informativeText + lines);
    QObject::connect(&window, &pelorin::AlertWindow::dismissed, qApp, &QCoreApplication::quit);
    window.present();
    QGuiApplication::exec();
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
    QGuiApplication::setDesktopFileName(desktopFileName);
    QGuiApplication::setWindowIcon(programIcon());
    // The application lives on when its last window is hidden.
    QGuiApplication::setQuitOnLastWindowClosed(false);
    pelorin::becomeAccessory();
    pelorin::raiseDescriptorLimit();

    const auto dispatch = pelorin::makeSystemDispatch();
    const auto defaults = pelorin::makeStandardUserDefaults();
    pelorin::ProcessRunner runner;
    pelorin::ProcessLauncher launcher;
    const auto raiser = pelorin::makeWindowRaiser();
    pelorin::NetworkTransport network;
    auto hooks = pelorin::HookSetupDependencies::ofProcess();
    hooks.installer.programDirectory = QGuiApplication::applicationDirPath();
    pelorin::AppDelegate delegate({.dispatch = *dispatch,
                                   .defaults = *defaults,
                                   .runner = runner,
                                   .launcher = launcher,
                                   .raiser = *raiser,
                                   .http = network,
                                   .sockets = network,
                                   .hooks = hooks});
    if (const auto alert = delegate.start(port, findDisplay(platformWasChosenByUser))) {
        std::fprintf(stderr, "%s\n%s\n", qUtf8Printable(alert->messageText), qUtf8Printable(alert->informativeText));
        if (!alert->furtherText.isEmpty())
            std::fprintf(stderr, "%s\n", qUtf8Printable(alert->furtherText));
        // Where no status item is in sight, starting the program again is how the user gets at the one that runs. Its
        // window is then the answer.
        if (!pelorin::InstanceChannel::askToShowManager(port, activationToken) && canBeSeen())
            showAlert(*alert);
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
