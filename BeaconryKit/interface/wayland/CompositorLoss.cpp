#include "BeaconryKit/interface/wayland/CompositorLoss.h"

#include "BeaconryKit/interface/wayland/DisplayChoice.h"
#include "BeaconryKit/platform/DescriptorLimit.h"

#include <QDeadlineTimer>
#include <QtGlobal>

#include <chrono>
#include <thread>
#include <unistd.h>

namespace pelorin {

namespace {

using namespace std::chrono_literals;

constexpr const char* countVariable = "PELORIN_COMPOSITOR_LOSSES";
// A compositor that crashes on our requests would crash again after every start.
constexpr int mostLosses = 5;
constexpr auto returnLimit = 5s;
constexpr auto askInterval = 50ms;

char** programArguments = nullptr;
QtMessageHandler nextHandler = nullptr;

void startAgain() {
    const int losses = qEnvironmentVariableIntValue(countVariable) + 1;
    if (losses > mostLosses)
        return;
    qputenv(countVariable, QByteArray::number(losses));
    forgetChosenWindowingSystem();
    // No descriptor is to keep the port, or a hook's connection, open.
    ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    // The program raises it again, and must know what it was.
    putDescriptorLimitBack();
    ::execv("/proc/self/exe", programArguments);
}

// The toolkit ends the process on the spot. A line that it prints before is the only notice.
void hearMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    nextHandler(type, context, message);
    if (type == QtWarningMsg && message.startsWith(QLatin1String("The Wayland connection broke")))
        startAgain();
}

} // namespace

void startAgainWhenCompositorGoes(char** arguments) {
    programArguments = arguments;
    nextHandler = qInstallMessageHandler(hearMessage);
}

bool hasLostCompositorForGood() {
    if (!qEnvironmentVariableIsSet(countVariable))
        return false;
    const QDeadlineTimer deadline(returnLimit);
    while (!askForCompositor()) {
        if (deadline.hasExpired())
            return true;
        std::this_thread::sleep_for(askInterval);
    }
    return false;
}

} // namespace pelorin
