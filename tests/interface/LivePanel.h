#pragma once

#include "tests/interface/SampleAsks.h"
#include "tests/interface/SceneItems.h"
#include "tests/support/Eventually.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/interface/panel/NotchPanelController.h"

#include <QColor>
#include <QList>
#include <QQuickItem>
#include <gtest/gtest.h>

#include <memory>

namespace pelorin {

/// The panel of a store on a real windowing system, with real time. The tests' main() makes the application object.
class LivePanel : public ::testing::Test {
protected:
    LivePanel();
    ~LivePanel() override;

    static inline const QString id = QStringLiteral("a");
    static inline const QString allow = QStringLiteral("Allow");
    static inline const QString reply = QStringLiteral("Reply");

    /// Puts the ask up and waits until it can be clicked.
    void show(const AskEvent& ask);
    /// Puts an ask up whose reply field is open.
    void showReplyField();

    AskEvent ask() const { return permissionAsk(id, dispatch->now()); }

    /// Whether the panel is where it will stay, and can be clicked.
    bool isStill() const;

    /// What bears the name in the panel; nothing when it is not there.
    QQuickItem* control(const QString& name) const;
    /// The middle of it on the desktop. Fails the test when it is not there.
    QPoint placeOf(const QString& name) const;
    /// What stands in the reply field.
    QString inField() const { return control(reply)->property("text").toString(); }

    QPoint insidePanel() const { return controller->panel().frame().topLeft() + QPoint(6, 30); }
    static bool isPanel(const QColor& colour) { return colour.lightness() < 40; }
    static bool isOther(const QColor& colour) { return colour == QColor(255, 255, 0); }

    MemoryUserDefaults defaults;
    NotifierSettings settings{defaults};
    AskStore store;
    std::unique_ptr<Dispatch> dispatch;
    QList<AskAction> reports;
    std::unique_ptr<NotchPanelController> controller;
};

} // namespace pelorin
