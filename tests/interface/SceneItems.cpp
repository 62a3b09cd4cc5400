#include "tests/interface/SceneItems.h"

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

} // namespace pelorin
