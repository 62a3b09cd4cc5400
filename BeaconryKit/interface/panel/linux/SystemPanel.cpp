#include "BeaconryKit/interface/panel/PanelPlatform.h"
#include "BeaconryKit/interface/panel/PlainPanelPlatform.h"
#include "BeaconryKit/interface/panel/SystemPanelScreens.h"
#include "BeaconryKit/interface/panel/linux/X11PanelPlatform.h"

#include <QGuiApplication>
#include <qguiapplication_platform.h>

namespace pelorin {

std::unique_ptr<PanelPlatform> makePanelPlatform() {
    // The toolkit's windowless platform answers to the interface too, without a connection behind it.
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 && QGuiApplication::platformName() == QStringLiteral("xcb"))
        return std::make_unique<X11PanelPlatform>(x11->connection(), 0);
    return std::make_unique<PlainPanelPlatform>();
}

int notchInset(const QScreen&) {
    // No desktop here tells of a notch.
    return 0;
}

} // namespace pelorin
