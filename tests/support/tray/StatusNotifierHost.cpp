#include "tests/support/tray/StatusNotifierHost.h"

#include "tests/support/tray/TestBus.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <gtest/gtest.h>

namespace pelorin {

namespace {

const auto watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto watcherPath = QStringLiteral("/StatusNotifierWatcher");
const auto itemInterface = QStringLiteral("org.kde.StatusNotifierItem");
const auto itemPath = QStringLiteral("/StatusNotifierItem");
const auto menuInterface = QStringLiteral("com.canonical.dbusmenu");
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

ShownMenuItem readItem(const QDBusArgument& argument) {
    ShownMenuItem item;
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        item.children.push_back(readItem(child.variant().value<QDBusArgument>()));
    }
    argument.endArray();
    argument.endStructure();
    return item;
}

} // namespace

StatusNotifierHost::StatusNotifierHost(const QDBusConnection& bus, Role role) : m_bus(bus), m_role(role) {
    EXPECT_TRUE(m_bus.registerObject(watcherPath, this, QDBusConnection::ExportScriptableContents));
    m_bus.connect({}, itemPath, itemInterface, {}, this, SLOT(itemSignal(QDBusMessage)));
    m_bus.connect({}, {}, menuInterface, {}, this, SLOT(itemSignal(QDBusMessage)));
    EXPECT_TRUE(m_bus.registerService(watcherService));
}

StatusNotifierHost::~StatusNotifierHost() {
    m_bus.unregisterService(watcherService);
    m_bus.unregisterObject(watcherPath);
}

void StatusNotifierHost::setRole(Role role) {
    m_role = role;
    if (showsItems())
        emit StatusNotifierHostRegistered();
    else
        emit StatusNotifierHostUnregistered();
}

void StatusNotifierHost::RegisterStatusNotifierItem(const QString& service) {
    m_items << service;
    emit StatusNotifierItemRegistered(service);
}

void StatusNotifierHost::RegisterStatusNotifierHost(const QString&) {
    setRole(Role::watcherAndHost);
}

void StatusNotifierHost::itemSignal(const QDBusMessage& message) {
    QStringList arguments;
    for (const QVariant& argument : message.arguments())
        arguments << (argument.canConvert<QString>() ? argument.toString() : QStringLiteral("..."));
    m_signals << message.member() + (arguments.isEmpty() ? QString() : "(" + arguments.join(", ") + ")");
}

QStringList StatusNotifierHost::takeSignals() {
    return std::exchange(m_signals, {});
}

QDBusMessage StatusNotifierHost::call(const QString& path, const QString& interface, const QString& method,
                                      const QVariantList& arguments) const {
    QDBusMessage message = QDBusMessage::createMethodCall(m_items.value(m_items.size() - 1), path, interface, method);
    message.setArguments(arguments);
    return TestBus::call(m_bus, message);
}

QVariantMap StatusNotifierHost::itemProperties() const {
    const QDBusMessage reply = call(itemPath, propertiesInterface, QStringLiteral("GetAll"), {itemInterface});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
}

QDBusMessage StatusNotifierHost::callItem(const QString& method, const QVariantList& arguments) const {
    return call(itemPath, itemInterface, method, arguments);
}

QDBusMessage StatusNotifierHost::callMenu(const QString& method, const QVariantList& arguments) const {
    const auto path = itemProperties().value(QStringLiteral("Menu")).value<QDBusObjectPath>();
    return call(path.path(), menuInterface, method, arguments);
}

ShownMenuItem StatusNotifierHost::layout(const QDBusMessage& reply) {
    EXPECT_EQ(reply.signature(), "u(ia{sv}av)") << reply.errorMessage().toStdString();
    return reply.arguments().size() == 2 ? readItem(reply.arguments().at(1).value<QDBusArgument>()) : ShownMenuItem();
}

ShownMenuItem StatusNotifierHost::menu() const {
    return layout(callMenu(QStringLiteral("GetLayout"), {0, -1, QStringList()}));
}

QDBusMessage StatusNotifierHost::click(int id) const {
    return callMenu(QStringLiteral("Event"),
                    {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
}

} // namespace pelorin
