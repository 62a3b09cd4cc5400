#include "BeaconryKit/interface/status/linux/DBusMenu.h"

#include <QDBusError>

#include <algorithm>
#include <tuple>

namespace pelorin {

namespace {

constexpr int rootId = 0;
constexpr int everyDepth = -1;

// An underscore marks the next letter as the key for the item; doubled, it stands for itself.
QString label(const QString& title) {
    return QString(title).replace(u'_', QStringLiteral("__"));
}

QVariantMap propertiesOf(const MenuItem& item) {
    if (item.kind == MenuItem::Kind::separator)
        return {{QStringLiteral("type"), QStringLiteral("separator")}};
    QVariantMap properties{{QStringLiteral("label"), label(item.title)}, {QStringLiteral("enabled"), item.isEnabled}};
    if (item.checkState != CheckState::none) {
        properties.insert(QStringLiteral("toggle-type"), QStringLiteral("checkmark"));
        properties.insert(QStringLiteral("toggle-state"), item.checkState == CheckState::on ? 1 : 0);
    }
    if (!item.keyEquivalent.isEmpty())
        properties.insert(QStringLiteral("shortcut"),
                          QVariant::fromValue(QList<QStringList>{{QStringLiteral("Control"), item.keyEquivalent}}));
    if (!item.submenu.empty())
        properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    return properties;
}

QVariantMap selected(const QVariantMap& properties, const QStringList& names) {
    if (names.isEmpty())
        return properties;
    QVariantMap chosen;
    for (const QString& name : names) {
        const auto found = properties.constFind(name);
        if (found != properties.cend())
            chosen.insert(name, *found);
    }
    return chosen;
}

// The properties that have no such value in the other map.
QVariantMap difference(const QVariantMap& properties, const QVariantMap& others) {
    QVariantMap different;
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        if (others.value(property.key()) != property.value())
            different.insert(property.key(), property.value());
    }
    return different;
}

QStringList namesMissing(const QVariantMap& properties, const QVariantMap& others) {
    QStringList names;
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        if (!others.contains(property.key()))
            names << property.key();
    }
    return names;
}

} // namespace

DBusMenu::DBusMenu(std::function<void(const MenuItem&)> onTriggered) : m_onTriggered(std::move(onTriggered)) {
    registerDBusMenuTypes();
}

const DBusMenu::Tree& DBusMenu::tree() {
    if (const auto menu = std::exchange(m_unreadMenu, std::nullopt)) {
        m_tree = treeOf(*menu);
        ++m_revision;
    }
    return m_tree;
}

DBusMenu::Tree DBusMenu::treeOf(const Menu& menu) {
    Tree tree;
    tree.nodes.emplace(rootId, Node{{}, {{QStringLiteral("children-display"), QStringLiteral("submenu")}}, {}});
    addChildren(tree, rootId, menu);
    return tree;
}

bool DBusMenu::Identity::operator<(const Identity& other) const {
    const auto members = [](const Identity& identity) {
        return std::tie(identity.parentId, identity.kind, identity.action, identity.representedObject,
                        identity.occurrence);
    };
    return members(*this) < members(other);
}

int DBusMenu::idFor(const Identity& identity) {
    const auto known = m_tree.ids.find(identity);
    return known == m_tree.ids.end() ? ++m_lastId : known->second;
}

void DBusMenu::addChildren(Tree& tree, int parentId, const Menu& menu) {
    for (const MenuItem& item : menu) {
        Identity identity{parentId, item.kind, item.action, item.representedObject, 0};
        while (tree.ids.contains(identity))
            ++identity.occurrence;
        const int id = idFor(identity);
        tree.ids.emplace(identity, id);
        tree.nodes.emplace(id, Node{item, propertiesOf(item), {}});
        tree.nodes.at(parentId).children << id;
        addChildren(tree, id, item.submenu);
    }
}

void DBusMenu::setMenu(const Menu& menu) {
    if (m_unreadMenu) {
        m_unreadMenu = menu;
        return;
    }
    const Tree previous = std::exchange(m_tree, treeOf(menu));
    announceProperties(previous);
    if (!hasLayoutOf(previous))
        emit LayoutUpdated(++m_revision, rootId);
}

void DBusMenu::announceProperties(const Tree& previous) {
    QList<DBusMenuItemProperties> updated;
    QList<DBusMenuItemPropertyNames> removed;
    for (const auto& [id, node] : m_tree.nodes) {
        const auto before = previous.nodes.find(id);
        // A new item's properties are read with the layout.
        if (before == previous.nodes.end())
            continue;
        const QVariantMap changed = difference(node.properties, before->second.properties);
        if (!changed.isEmpty())
            updated << DBusMenuItemProperties{id, changed};
        const QStringList gone = namesMissing(before->second.properties, node.properties);
        if (!gone.isEmpty())
            removed << DBusMenuItemPropertyNames{id, gone};
    }
    if (!updated.isEmpty() || !removed.isEmpty())
        emit ItemsPropertiesUpdated(updated, removed);
}

bool DBusMenu::hasLayoutOf(const Tree& previous) const {
    const auto isSame = [](const auto& one, const auto& other) {
        return one.first == other.first && one.second.children == other.second.children;
    };
    return std::ranges::equal(m_tree.nodes, previous.nodes, isSame);
}

DBusMenuLayoutItem DBusMenu::layout(int id, int recursionDepth, const QStringList& propertyNames) const {
    const Node& node = m_tree.nodes.at(id);
    DBusMenuLayoutItem item{id, selected(node.properties, propertyNames), {}};
    if (recursionDepth == 0)
        return item;
    for (const int child : node.children)
        item.children << layout(child, std::max(recursionDepth - 1, everyDepth), propertyNames);
    return item;
}

bool DBusMenu::requireItem(int id) {
    if (isKnown(id))
        return true;
    if (calledFromDBus())
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("The menu has no item %1.").arg(id));
    return false;
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         DBusMenuLayoutItem& layoutOfItem) {
    if (requireItem(parentId))
        layoutOfItem = layout(parentId, recursionDepth, propertyNames);
    return m_revision;
}

QList<DBusMenuItemProperties> DBusMenu::GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) {
    QList<DBusMenuItemProperties> properties;
    for (const auto& [id, node] : tree().nodes) {
        if (ids.isEmpty() || ids.contains(id))
            properties << DBusMenuItemProperties{id, selected(node.properties, propertyNames)};
    }
    return properties;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    if (!requireItem(id))
        return {};
    const QVariant value = m_tree.nodes.at(id).properties.value(name);
    if (!value.isValid())
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("Item %1 has no property %2.").arg(id).arg(name));
    return QDBusVariant(value);
}

void DBusMenu::handleEvent(int id, const QString& eventId) {
    const MenuItem& item = m_tree.nodes.at(id).item;
    if (eventId == u"clicked" && item.isEnabled && item.kind == MenuItem::Kind::standard)
        m_onTriggered(item);
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
    if (requireItem(id))
        handleEvent(id, eventId);
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuEvent>& events) {
    QList<int> unknown;
    for (const DBusMenuEvent& event : events) {
        if (isKnown(event.id))
            handleEvent(event.id, event.eventId);
        else
            unknown << event.id;
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int id) {
    requireItem(id);
    return false;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    for (const int id : ids) {
        if (!isKnown(id))
            idErrors << id;
    }
    return {};
}

} // namespace pelorin
