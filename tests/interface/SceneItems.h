#pragma once

#include <QByteArray>
#include <QList>
#include <QQuickItem>

namespace pelorin {

/// All items below `root` of that QML type name, itself included.
QList<QQuickItem*> itemsOfType(QQuickItem* root, const QByteArray& type);

} // namespace pelorin
