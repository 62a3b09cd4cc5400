#include "BeaconryKit/interface/status/linux/StatusNotifierItem.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QLoggingCategory>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(logStatusItem, "pelorin.statusitem", QtWarningMsg)

const auto itemPath = QStringLiteral("/StatusNotifierItem");
const auto menuObjectPath = QStringLiteral("/MenuBar");
const auto watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");
const auto watcherInterface = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

QDBusMessage watcherCall(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage call = QDBusMessage::createMethodCall(watcherService, watcherPath, interface, method);
    call.setArguments(arguments);
    // A desktop that wants a watcher starts it itself.
    call.setAutoStartService(false);
    return call;
}

} // namespace

StatusNotifierItem::StatusNotifierItem(const QDBusConnection& bus)
    : m_bus(bus), m_menu([this](const MenuItem& item) { trigger(item); }) {
    qDBusRegisterMetaType<StatusPixmap>();
    qDBusRegisterMetaType<StatusPixmaps>();
    qDBusRegisterMetaType<StatusToolTip>();
    if (!m_bus.isConnected()) {
        // Without a session bus there is nobody who could show the item.
        qCDebug(logStatusItem) << "There is no session bus:" << m_bus.lastError().message();
        return;
    }
    exportObjects();
    watchForWatchers();
    announce();
}

StatusNotifierItem::~StatusNotifierItem() {
    if (m_serviceName.isEmpty())
        return;
    m_bus.unregisterObject(itemPath);
    m_bus.unregisterObject(menuObjectPath);
    m_bus.unregisterService(m_serviceName);
}

QDBusObjectPath StatusNotifierItem::menuPath() {
    return QDBusObjectPath(menuObjectPath);
}

void StatusNotifierItem::exportObjects() {
    m_bus.registerObject(itemPath, this, QDBusConnection::ExportScriptableContents);
    m_bus.registerObject(menuObjectPath, &m_menu, QDBusConnection::ExportScriptableContents);
    m_serviceName = QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid());
    // In a process namespace of its own another program may have the name; ours on the bus does as well.
    if (!m_bus.registerService(m_serviceName))
        m_serviceName = m_bus.baseService();
}

void StatusNotifierItem::watchForWatchers() {
    m_watcherWatch.setConnection(m_bus);
    m_watcherWatch.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    m_watcherWatch.addWatchedService(watcherService);
    connect(&m_watcherWatch, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) {
                if (newOwner.isEmpty())
                    setShown(false);
                else
                    announce();
            });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"})
        m_bus.connect(watcherService, watcherPath, watcherInterface, QLatin1String(signal), this, SLOT(lookForHost()));
}

void StatusNotifierItem::announce() {
    // Nobody may be there to listen; whoever comes later is told then.
    m_bus.send(watcherCall(watcherInterface, QStringLiteral("RegisterStatusNotifierItem"), {m_serviceName}));
    lookForHost();
}

void StatusNotifierItem::lookForHost() {
    const auto call = watcherCall(propertiesInterface, QStringLiteral("Get"),
                                  {watcherInterface, QStringLiteral("IsStatusNotifierHostRegistered")});
    auto* const pending = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [this, pending] {
        const QDBusPendingReply<QDBusVariant> reply = *pending;
        pending->deleteLater();
        setShown(reply.isValid() && reply.value().variant().toBool());
    });
}

void StatusNotifierItem::setShown(bool isShown) {
    if (m_isShown == isShown)
        return;
    m_isShown = isShown;
    qCDebug(logStatusItem) << "A desktop shows status items:" << isShown;
    emit shownChanged(isShown);
}

void StatusNotifierItem::setIcon(const StatusIcon& icon) {
    const StatusIcon previous = std::exchange(m_icon, icon);
    if (icon.symbol != previous.symbol)
        emit NewIcon();
    if (icon.title != previous.title)
        emit NewTitle();
    if (icon.title != previous.title || icon.notice != previous.notice)
        emit NewToolTip();
    if (icon.title != previous.title)
        emit XAyatanaNewLabel(label(), noText());
}

StatusPixmaps StatusNotifierItem::iconPixmap() const {
    return m_icon.symbol.isEmpty() ? StatusPixmaps() : statusPixmaps(m_icon.symbol);
}

StatusToolTip StatusNotifierItem::toolTip() const {
    return {{}, {}, title(), m_icon.notice};
}

// The desktop has its reply before anything else is done.
void StatusNotifierItem::trigger(const MenuItem& item) {
    QMetaObject::invokeMethod(
        this,
        [this, action = item.action, representedObject = item.representedObject] {
            if (m_handlers.onTriggered)
                m_handlers.onTriggered(action, representedObject);
        },
        Qt::QueuedConnection);
}

void StatusNotifierItem::activate() {
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (m_handlers.onActivated)
                m_handlers.onActivated();
        },
        Qt::QueuedConnection);
}

void StatusNotifierItem::Activate(int, int) {
    activate();
}

void StatusNotifierItem::SecondaryActivate(int, int) {
    activate();
}

void StatusNotifierItem::ContextMenu(int, int) {
    activate();
}

void StatusNotifierItem::Scroll(int, const QString&) {
    // There is nothing to scroll through.
}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    // From here the toolkit takes it for the next window that asks to come to the front.
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

} // namespace pelorin
