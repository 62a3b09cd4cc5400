#include "BeaconryKit/interface/status/linux/StatusNotifierItem.h"
#include "BeaconryKit/interface/status/linux/TrayIcon.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <qguiapplication_platform.h>

namespace pelorin {

namespace {

// Without an address and the usual socket, asking for the bus would start one of our own.
bool isSessionBusKnown() {
    return !qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS") ||
           QFileInfo::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
}

std::unique_ptr<StatusNotifierItem> makeStatusNotifierItem() {
    if (!isSessionBusKnown())
        return nullptr;
    const auto bus = QDBusConnection::sessionBus();
    return bus.isConnected() ? std::make_unique<StatusNotifierItem>(bus) : nullptr;
}

std::unique_ptr<TrayIcon> makeTrayIcon() {
    const auto* const application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!application || QGuiApplication::platformName() != QStringLiteral("xcb"))
        return nullptr;
    const auto* const x11 = application->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? std::make_unique<TrayIcon>(x11->connection(), 0) : nullptr;
}

/// Both ways of being shown: the older tray's only while no desktop shows items of today.
class DesktopStatusItem final : public StatusItem {
public:
    DesktopStatusItem(std::unique_ptr<StatusNotifierItem> notifierItem, std::unique_ptr<TrayIcon> trayIcon)
        : m_trayIcon(std::move(trayIcon)), m_notifierItem(std::move(notifierItem)) {
        QObject::connect(m_notifierItem.get(), &StatusNotifierItem::shownChanged, m_trayIcon.get(),
                         [icon = m_trayIcon.get()](bool isShown) { icon->setWanted(!isShown); });
    }

    void setHandlers(Handlers handlers) override {
        m_trayIcon->setHandlers(handlers);
        m_notifierItem->setHandlers(std::move(handlers));
    }
    void setIcon(const StatusIcon& icon) override {
        m_trayIcon->setIcon(icon);
        m_notifierItem->setIcon(icon);
    }
    void setMenu(const Menu& menu) override {
        m_trayIcon->setMenu(menu);
        m_notifierItem->setMenu(menu);
    }

private:
    std::unique_ptr<TrayIcon> m_trayIcon;
    std::unique_ptr<StatusNotifierItem> m_notifierItem;
};

} // namespace

std::unique_ptr<StatusItem> makeStatusItem() {
    auto notifierItem = makeStatusNotifierItem();
    auto trayIcon = makeTrayIcon();
    if (notifierItem && trayIcon)
        return std::make_unique<DesktopStatusItem>(std::move(notifierItem), std::move(trayIcon));
    if (trayIcon)
        trayIcon->setWanted(true);
    if (notifierItem)
        return notifierItem;
    return trayIcon;
}

} // namespace pelorin
