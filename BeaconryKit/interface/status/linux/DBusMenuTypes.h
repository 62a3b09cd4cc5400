#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QStringList>
#include <QVariantMap>

namespace pelorin {

/// The records of the D-Bus protocol for menus.

/// An item with those of its properties that were asked for, and its children down to the depth that was asked for.
struct DBusMenuLayoutItem {
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayoutItem> children;
};

/// An item's properties.
struct DBusMenuItemProperties {
    int id = 0;
    QVariantMap properties;
};

/// The names of properties that are back at their defaults.
struct DBusMenuItemPropertyNames {
    int id = 0;
    QStringList names;
};

/// Something that happened to an item.
struct DBusMenuEvent {
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayoutItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayoutItem& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItemProperties& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItemProperties& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuItemPropertyNames& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuItemPropertyNames& item);
QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& event);

/// Makes the records known to the bus; may be called again.
void registerDBusMenuTypes();

} // namespace pelorin

Q_DECLARE_METATYPE(pelorin::DBusMenuLayoutItem)
Q_DECLARE_METATYPE(pelorin::DBusMenuItemProperties)
Q_DECLARE_METATYPE(pelorin::DBusMenuItemPropertyNames)
Q_DECLARE_METATYPE(pelorin::DBusMenuEvent)
