#pragma once

#include "tests/interface/InterfaceFixture.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/interface/panel/NotchPanelController.h"
#include "BeaconryKit/interface/panel/PlainPanelPlatform.h"

#include <QList>
#include <QQuickItem>
#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace pelorin {

/// Screens that the test makes up.
class FakeScreens final : public PanelScreens {
public:
    QList<PanelScreen> screens() const override { return list; }
    void set(QList<PanelScreen> screens) {
        list = std::move(screens);
        emit changed();
    }

    QList<PanelScreen> list{{QRect(0, 0, 1280, 800), 0, true, nullptr}};
};

/// The toolkit's own way with the keyboard, counted, and a compositor that the test can switch off.
class FakePlatform final : public PanelPlatform {
public:
    void prepare(QWindow& window) override {
        ++prepared;
        m_plain.prepare(window);
    }
    bool isCompositing() const override { return compositing; }
    void takeKeyboard(QWindow& window) override {
        ++taken;
        m_plain.takeKeyboard(window);
    }
    void giveKeyboardBack(QWindow& window) override {
        ++givenBack;
        m_plain.giveKeyboardBack(window);
    }

    bool compositing = true;
    int prepared = 0;
    int taken = 0;
    int givenBack = 0;

private:
    PlainPanelPlatform m_plain;
};

/// A panel over a store, in a window off any screen. The queues' time is moved by hand.
class PanelFixture : public InterfaceFixture {
protected:
    static inline const QString a = QStringLiteral("a");
    static inline const QString b = QStringLiteral("b");
    static inline const QString c = QStringLiteral("c");
    static inline const QString allow = QStringLiteral("Allow");
    static inline const QString deny = QStringLiteral("Deny");
    static inline const QString jump = QStringLiteral("Jump");
    static inline const QString dismiss = QStringLiteral("Dismiss");
    static inline const QString showDetails = QStringLiteral("Show details");
    static inline const QString hideDetails = QStringLiteral("Hide details");
    static inline const QString reply = QStringLiteral("Reply");
    static inline const QString sendReply = QStringLiteral("Send");

    PanelFixture();
    ~PanelFixture() override;

    /// A permission request that has just arrived.
    AskEvent permission(const QString& id) const { return permissionAsk(id, dispatch.now()); }

    /// Runs what is due, and waits until nothing moves any more.
    void settle();
    /// As `settle`, and then lets the rows stand long enough to take clicks.
    void settleAndArm();

    /// Puts the asks into the store and waits until their panel can be clicked.
    void show(const QList<AskEvent>& asks);

    NotchPanel& panel() { return controller->panel(); }
    bool isShown() { return panel().phase() == NotchPanel::Phase::shown; }
    bool isStill();

    /// The row's item, nothing where there is none.
    QQuickItem* row(const QString& askId);
    /// The row's visible control of that accessible name, nothing where there is none.
    QQuickItem* control(const QString& askId, const QString& name);
    /// The control's middle in the window.
    QPoint middle(const QString& askId, const QString& name);

    void press(QPoint place);
    void release(QPoint place);
    /// Moves the pointer there, presses and releases.
    void click(QPoint place);
    void click(const QString& askId, const QString& name);

    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    NotifierSettings settings{defaults};
    AskStore store;
    FakeScreens* screens = nullptr;
    FakePlatform* platform = nullptr;
    std::unique_ptr<NotchPanelController> controller;
};

} // namespace pelorin
