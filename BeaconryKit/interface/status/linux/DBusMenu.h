#pragma once

#include "BeaconryKit/interface/status/Menu.h"
#include "BeaconryKit/interface/status/linux/DBusMenuTypes.h"

#include <QDBusContext>
#include <QObject>

#include <functional>
#include <map>
#include <optional>

namespace pelorin {

/// A menu that a desktop reads and draws, as an object on the bus. An item keeps its number as long as the menu holds
/// it, and no number is given twice: a click on an item that has gone meanwhile reaches no other one. What the desktop
/// reads is made when it first asks. Its owner puts it on the bus with its scriptable members. Lives on the main
/// thread.
class DBusMenu final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version CONSTANT FINAL)
    Q_PROPERTY(QString TextDirection READ textDirection CONSTANT FINAL)
    Q_PROPERTY(QString Status READ status CONSTANT FINAL)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT FINAL)

public:
    /// `onTriggered` is told which item the user has chosen, within the desktop's call; it is enabled.
    explicit DBusMenu(std::function<void(const MenuItem& item)> onTriggered);

    /// Replaces the menu, and tells desktops what has changed once one has asked for it.
    void setMenu(const Menu& menu);

    static uint version() { return 3; }
    static QString textDirection() { return QStringLiteral("ltr"); }
    static QString status() { return QStringLiteral("normal"); }
    static QStringList iconThemePath() { return {}; }

public slots:
    /// The item of that number (0: the whole menu) with its children down to `recursionDepth` (-1: all), and the
    /// revision of what is told. No names ask for all properties.
    Q_SCRIPTABLE uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                                pelorin::DBusMenuLayoutItem& layout);
    /// The properties of these items; no numbers ask for all items.
    Q_SCRIPTABLE QList<pelorin::DBusMenuItemProperties> GetGroupProperties(const QList<int>& ids,
                                                                           const QStringList& propertyNames);
    Q_SCRIPTABLE QDBusVariant GetProperty(int id, const QString& name);
    /// Something happened to an item; of interest is that it was "clicked". The time is the display server's, in
    /// milliseconds.
    Q_SCRIPTABLE void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    /// Returns the numbers that are not known.
    Q_SCRIPTABLE QList<int> EventGroup(const QList<pelorin::DBusMenuEvent>& events);
    /// Whether the item's children have to be read again before they are shown: never, they are always up to date.
    Q_SCRIPTABLE bool AboutToShow(int id);
    Q_SCRIPTABLE QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

signals:
    Q_SCRIPTABLE void ItemsPropertiesUpdated(const QList<pelorin::DBusMenuItemProperties>& updatedProps,
                                             const QList<pelorin::DBusMenuItemPropertyNames>& removedProps);
    Q_SCRIPTABLE void LayoutUpdated(uint revision, int parent);

private:
    // What makes an item the same one in two menus: where it stands, what it does, to what, and how many of its like
    // stand before it.
    struct Identity {
        int parentId;
        MenuItem::Kind kind;
        MenuAction action;
        std::optional<QString> representedObject;
        int occurrence;

        bool operator<(const Identity& other) const;
    };
    struct Node {
        MenuItem item;
        QVariantMap properties;
        QList<int> children;
    };
    struct Tree {
        std::map<Identity, int> ids;
        std::map<int, Node> nodes;
    };

    Tree treeOf(const Menu& menu);
    void addChildren(Tree& tree, int parentId, const Menu& menu);
    int idFor(const Identity& identity);
    void announceProperties(const Tree& previous);
    bool hasLayoutOf(const Tree& previous) const;
    DBusMenuLayoutItem layout(int id, int recursionDepth, const QStringList& propertyNames) const;
    void handleEvent(int id, const QString& eventId);
    const Tree& tree();
    bool isKnown(int id) { return tree().nodes.contains(id); }
    bool requireItem(int id);

    std::function<void(const MenuItem&)> m_onTriggered;
    // Until somebody asks.
    std::optional<Menu> m_unreadMenu = Menu();
    Tree m_tree;
    int m_lastId = 0;
    uint m_revision = 1;
};

} // namespace pelorin
