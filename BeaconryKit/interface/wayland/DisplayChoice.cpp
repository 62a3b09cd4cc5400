#include "BeaconryKit/interface/wayland/DisplayChoice.h"

#include <QtGlobal>

namespace pelorin {

namespace {

constexpr const char* choiceVariable = "QT_QPA_PLATFORM";
constexpr const char* inputMethodVariable = "QT_IM_MODULE";

bool hasChosenSystem = false;
bool hasChosenInputMethod = false;

} // namespace

std::optional<WaylandOffer> askForCompositor() {
    // An inherited connection can be used only once, and the toolkit needs it.
    if (qEnvironmentVariableIsSet("WAYLAND_SOCKET"))
        return WaylandOffer{.layerShell = false, .seat = true};
    return askWaylandCompositor(waylandSocketPath(qgetenv("WAYLAND_DISPLAY"), qgetenv("XDG_RUNTIME_DIR")));
}

QByteArrayList windowingSystems(bool offersX11, const std::optional<WaylandOffer>& wayland) {
    QByteArrayList systems;
    if (wayland && wayland->layerShell)
        systems << "wayland";
    if (offersX11)
        systems << "xcb";
    if (wayland && !wayland->layerShell)
        systems << "wayland";
    systems << "offscreen";
    return systems;
}

void chooseWindowingSystem() {
    // Without it the toolkit gives the panel's surface the role of a window. A surface never changes its role.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    const std::optional<WaylandOffer> wayland = askForCompositor();
    // The toolkit's input method for Wayland crashes where there is nothing to type with.
    hasChosenInputMethod = wayland && !wayland->seat && !qEnvironmentVariableIsSet(inputMethodVariable);
    if (hasChosenInputMethod)
        qputenv(inputMethodVariable, "compose");
    hasChosenSystem = !qEnvironmentVariableIsSet(choiceVariable);
    if (hasChosenSystem)
        qputenv(choiceVariable, windowingSystems(!qEnvironmentVariableIsEmpty("DISPLAY"), wayland).join(';'));
}

void forgetChosenWindowingSystem() {
    if (hasChosenSystem)
        qunsetenv(choiceVariable);
    if (hasChosenInputMethod)
        qunsetenv(inputMethodVariable);
}

} // namespace pelorin
