#pragma once

#include "tests/interface/SampleAsks.h"
#include "tests/interface/SceneItems.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"

#include "BeaconryKit/interface/panel/NotchPanelController.h"
#include "BeaconryKit/interface/panel/PlainPanelPlatform.h"

#include <QList>
#include <QQuickItem>
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <ostream>
#include <utility>
#include <vector>

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

/// A panel over a store, in a window off any screen. The queues' time is moved by hand; the animations run in their
/// own.
class PanelFixture : public ::testing::Test {
protected:
    struct Report {
        QString askId;
        AskAction action;
        bool operator==(const Report&) const = default;

        friend void PrintTo(const Report& report, std::ostream* stream) {
            static constexpr std::array names{"option", "text", "open", "dismiss", "allow", "deny", "expand"};
            *stream << report.askId.toStdString() << ": " << names[report.action.value.index()];
        }
    };

    PanelFixture();
    ~PanelFixture() override;

    /// Runs what is due, and waits until nothing moves any more.
    void settle();
    /// As `settle`, and then lets the rows stand long enough to take clicks.
    void settleAndArm();
    /// Processes the toolkit's events until the predicate holds; false when it never does.
    static bool eventually(const std::function<bool()>& predicate);

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
    static QRectF rectangleIn(QQuickItem* item, QQuickItem* ancestor);

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
    std::vector<Report> reports;
    QList<AskEvent> reportedAsks;
    std::unique_ptr<NotchPanelController> controller;
};

} // namespace pelorin
