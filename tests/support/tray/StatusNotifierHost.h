#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <vector>

namespace pelorin {

/// An item of a menu as a desktop reads it off the bus.
struct ShownMenuItem {
    int id = -1;
    QVariantMap properties;
    std::vector<ShownMenuItem> children;

    QString label() const { return properties.value(QStringLiteral("label")).toString(); }
};

/// A desktop that shows status items: the watcher to which they announce themselves, and the host that reads and works
/// them. It takes part in the bus by a connection of its own and knows nothing of who is at the other end.
class StatusNotifierHost final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ showsItems)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)

public:
    /// A watcher alone shows nothing.
    enum class Role { watcher, watcherAndHost };

    explicit StatusNotifierHost(const QDBusConnection& bus, Role role = Role::watcherAndHost);
    /// The desktop ends, as when it crashes or is started anew.
    ~StatusNotifierHost() override;

    /// The services that have announced an item, each as often as it has.
    const QStringList& items() const { return m_items; }
    bool showsItems() const { return m_role == Role::watcherAndHost; }
    static int protocolVersion() { return 0; }

    /// The host starts, or ends, while the watcher stays.
    void setRole(Role role);

    /// All properties of the item that was announced last.
    QVariantMap itemProperties() const;
    /// Calls the item; the reply.
    QDBusMessage callItem(const QString& method, const QVariantList& arguments = {}) const;
    /// Calls the item's menu; the reply.
    QDBusMessage callMenu(const QString& method, const QVariantList& arguments = {}) const;

    /// The whole menu below its root.
    ShownMenuItem menu() const;
    /// Clicks on an item of the menu.
    QDBusMessage click(int id) const;

    /// What the item and its menu have announced since the last look, "Name" or "Name(arguments)".
    QStringList takeSignals();

    /// Reads a layout out of a reply to "GetLayout".
    static ShownMenuItem layout(const QDBusMessage& reply);

public slots:
    Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service);
    Q_SCRIPTABLE void RegisterStatusNotifierHost(const QString& service);

signals:
    Q_SCRIPTABLE void StatusNotifierItemRegistered(const QString& service);
    Q_SCRIPTABLE void StatusNotifierHostRegistered();
    Q_SCRIPTABLE void StatusNotifierHostUnregistered();

private slots:
    void itemSignal(const QDBusMessage& message);

private:
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments) const;

    mutable QDBusConnection m_bus;
    Role m_role;
    QStringList m_items;
    QStringList m_signals;
};

} // namespace pelorin
