#pragma once

#include <QByteArray>
#include <QList>
#include <QPoint>
#include <QQuickItem>
#include <QRectF>

namespace pelorin {

/// All items below `root` of that QML type name, itself included.
QList<QQuickItem*> itemsOfType(QQuickItem* root, const QByteArray& type);

/// Whether nothing below `root` waits to be laid out, itself included.
bool isLaidOut(QQuickItem* root);

/// The item's middle in its window.
QPoint middleOf(const QQuickItem* item);

QRectF rectangleIn(const QQuickItem* item, const QQuickItem* ancestor);

} // namespace pelorin
