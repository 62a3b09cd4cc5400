#include "BeaconryKit/interface/theme/DesktopScheme.h"

#ifdef Q_OS_LINUX
#include "BeaconryKit/interface/theme/linux/PortalScheme.h"
#endif

#include <utility>

namespace pelorin {

std::unique_ptr<DesktopScheme> DesktopScheme::ofDesktop() {
#ifdef Q_OS_LINUX
    return std::make_unique<PortalScheme>(QDBusConnection::sessionBus());
#else
    // The toolkit's palette follows the system's appearance.
    return std::make_unique<DesktopScheme>();
#endif
}

void DesktopScheme::setScheme(Scheme scheme) {
    if (std::exchange(m_scheme, scheme) != scheme)
        emit changed();
}

} // namespace pelorin
