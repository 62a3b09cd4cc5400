#pragma once

#include "tests/interface/InterfaceFixture.h"
#include "tests/interface/ManagerDependencies.h"

#include "BeaconryKit/interface/manager/ManagerFacade.h"
#include "BeaconryKit/interface/manager/ManagerWindow.h"

#include <QQuickItem>
#include <QStringList>
#include <gtest/gtest.h>

#include <vector>

namespace pelorin {

/// A manager window off any screen. The queues' time is moved by hand.
class ManagerFixture : public InterfaceFixture, public ManagerDependencies {
protected:
    enum Tab { pendingTab, sessionsTab, phoneTab, settingsTab };

    ManagerFixture();
    ~ManagerFixture() override;

    /// Shows the window with that tab in front, and waits until it can be clicked.
    void show(Tab tab);
    /// Runs what is due, and waits until everything stands where it belongs.
    void settle();
    /// As `settle`, and then lets the rows stand long enough to take clicks.
    void settleAndArm();

    ManagerWindow& window() { return *controller.window(); }
    ManagerFacade& facade() { return *controller.facade(); }

    /// The visible items of the type, from the top to the bottom of the scene.
    QList<QQuickItem*> visible(const QByteArray& type);
    /// What the window says, item by item.
    QStringList texts();
    bool says(const QString& text) { return texts().contains(text); }
    /// The visible symbols' names.
    QStringList symbols();

    /// The visible control of that name, the nth of them; a failure and nothing where there is none.
    QQuickItem* control(const QString& name, int nth = 0);
    bool hasControl(const QString& name);
    /// The names of all visible controls.
    QStringList controls();

    /// Scrolls the item into sight, as far as it can be, and clicks its middle.
    void click(QQuickItem* item);
    void click(const QString& name, int nth = 0) { click(control(name, nth)); }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void type(const QString& text);
    /// Empties the field that has the keyboard and types the text instead.
    void retype(const QString& text);

    /// Answers the relay's oldest request, which must be one for this path.
    void answer(const QString& path, const QByteArray& body, int status = 200);

    std::vector<SessionInfo> jumps;
    ManagerWindowController controller;
};

} // namespace pelorin
