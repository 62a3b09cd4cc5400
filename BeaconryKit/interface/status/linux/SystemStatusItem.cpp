#include "BeaconryKit/interface/status/linux/StatusNotifierItem.h"

#include <QFileInfo>

namespace pelorin {

namespace {

// Without an address and the usual socket, asking for the bus would start one of our own.
bool isSessionBusKnown() {
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

} // namespace

std::unique_ptr<StatusItem> makeStatusItem() {
    if (!isSessionBusKnown())
        return nullptr;
    return std::make_unique<StatusNotifierItem>(QDBusConnection::sessionBus());
}

} // namespace pelorin
