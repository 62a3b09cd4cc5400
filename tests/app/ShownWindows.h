#pragma once

#include "tests/support/Eventually.h"

#include <QAccessible>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>

namespace pelorin {

inline const QString panelTitle = QStringLiteral("Pelorin");
inline const QString managerTitle = QStringLiteral("AI Session Manager");

/// The visible item below `root` that bears the accessible name; nothing when there is none.
inline QQuickItem* findItem(QQuickItem* root, const QString& name) {
    if (!root->isVisible())
        return nullptr;
    QAccessibleInterface* const accessible = QAccessible::queryAccessibleInterface(root);
    if (accessible && accessible->text(QAccessible::Name) == name)
        return root;
    for (QQuickItem* child : root->childItems()) {
        if (QQuickItem* const found = findItem(child, name))
            return found;
    }
    return nullptr;
}

/// The shown window of that title; nothing when there is none.
inline QQuickWindow* shownWindow(const QString& title) {
    for (QWindow* window : QGuiApplication::allWindows()) {
        auto* const quickWindow = qobject_cast<QQuickWindow*>(window);
        if (quickWindow && quickWindow->isVisible() && quickWindow->title() == title)
            return quickWindow;
    }
    return nullptr;
}

/// Clicks the window's control of that accessible name, again and again while the window settles, until the click has
/// had its effect; false when it never has.
template <class Condition>
bool clickUntil(const QString& windowTitle, const QString& name, Condition isDone) {
    return eventually([&] {
        if (isDone())
            return true;
        QQuickWindow* const window = shownWindow(windowTitle);
        if (QQuickItem* const item = window ? findItem(window->contentItem(), name) : nullptr) {
            const QPoint middle = item->mapToScene({item->width() / 2, item->height() / 2}).toPoint();
            QTest::mouseClick(window, Qt::LeftButton, {}, middle);
        }
        return isDone();
    });
}

} // namespace pelorin
