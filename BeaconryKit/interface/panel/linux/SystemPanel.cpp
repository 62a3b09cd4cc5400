#include "BeaconryKit/interface/panel/PanelPlatform.h"
#include "BeaconryKit/interface/panel/PlainPanelPlatform.h"
#include "BeaconryKit/interface/panel/SystemPanelScreens.h"
#include "BeaconryKit/interface/panel/linux/WaylandPanelPlatform.h"
#include "BeaconryKit/interface/panel/linux/X11PanelPlatform.h"

#include <QGuiApplication>
#include <qguiapplication_platform.h>
#include <qpa/qplatformnativeinterface.h>

namespace pelorin {

namespace {

std::unique_ptr<PanelPlatform> makeWaylandPanelPlatform() {
    auto* connection = static_cast<wl_display*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
    return connection ? WaylandPanelPlatform::make(connection) : nullptr;
}

} // namespace

std::unique_ptr<PanelPlatform> makePanelPlatform() {
    // The toolkit's windowless platform answers to the interface too, without a connection behind it.
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && QGuiApplication::platformName() == QStringLiteral("xcb"))
        return std::make_unique<X11PanelPlatform>(x11->connection(), 0);
    if (QGuiApplication::platformName() == QStringLiteral("wayland")) {
        if (auto wayland = makeWaylandPanelPlatform())
            return wayland;
    }
    return std::make_unique<PlainPanelPlatform>();
}

int notchInset(const QScreen&) {
    // No desktop here tells of a notch.
    return 0;
}

} // namespace pelorin
