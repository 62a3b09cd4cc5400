#include "BeaconryKit/interface/manager/ManagerWindow.h"

#include <QKeyEvent>

namespace pelorin {

ManagerWindow::ManagerWindow(QQmlEngine* engine) : QQuickView(engine, nullptr) {
    setTitle(QStringLiteral("AI Session Manager"));
    setResizeMode(QQuickView::SizeRootObjectToView);
}

bool ManagerWindow::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
        if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Alt)
            emit mnemonicKeyChanged(event->type() == QEvent::KeyPress);
        break;
    case QEvent::FocusOut:
        emit mnemonicKeyChanged(false);
        break;
    default:
        break;
    }
    return QQuickView::event(event);
}

} // namespace pelorin
