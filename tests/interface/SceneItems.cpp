#include "tests/interface/SceneItems.h"

#include <QtQuickTest/quicktest.h>

#include <algorithm>

namespace pelorin {

QList<QQuickItem*> itemsOfType(QQuickItem* root, const QByteArray& type) {
    QList<QQuickItem*> found;
    for (const QMetaObject* meta = root->metaObject(); meta; meta = meta->superClass()) {
        const QByteArray name(meta->className());
        if (name == type || name.startsWith(type + "_QMLTYPE") || name.startsWith(type + "_QML_")) {
            found.append(root);
            break;
        }
    }
    for (QQuickItem* child : root->childItems())
        found.append(itemsOfType(child, type));
    return found;
}

bool isLaidOut(QQuickItem* root) {
    return !QQuickTest::qIsPolishScheduled(root) && std::ranges::all_of(root->childItems(), isLaidOut);
}

QPoint middleOf(const QQuickItem* item) {
    return item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
}

QRectF rectangleIn(const QQuickItem* item, const QQuickItem* ancestor) {
    return item->mapRectToItem(ancestor, QRectF(0, 0, item->width(), item->height()));
}

} // namespace pelorin
