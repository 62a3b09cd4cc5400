// The panel on a real Wayland compositor that has a layer shell, beside a window of somebody else. The mouse and the
// keyboard are the compositor's.

#include "tests/interface/LivePanel.h"
#include "tests/support/wayland/SwayDesktop.h"

#include <QFont>
#include <QGuiApplication>
#include <QScreen>

namespace pelorin {
namespace {

std::unique_ptr<SwayDesktop> desktop;

/// Somebody else's window, in a process of its own.
class OtherWindow {
public:
    explicit OtherWindow(std::vector<std::string> arguments = {}) {
        std::vector<std::string> command{PELORIN_BINARY_DIR "/other_window"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        m_process = TestProcess::start(
            {.command = command,
             .environment = {"WAYLAND_DISPLAY=" + desktop->socketPath(), "QT_QPA_PLATFORM=wayland",
                             "XDG_RUNTIME_DIR=" + qEnvironmentVariable("XDG_RUNTIME_DIR").toStdString()}});
    }

    bool hasKeyboard() const { return desktop->focusedTitle() == QStringLiteral("Other"); }

    /// Whether it has been typed into it, and nothing else.
    bool hasBeenTyped(const std::string& text) {
        m_process->waitForOutput([&](const std::string& output) { return output.size() >= text.size(); });
        return m_process->output() == text;
    }

private:
    std::unique_ptr<TestProcess> m_process;
};

class PanelWaylandTest : public LivePanel {
protected:
    void SetUp() override { desktop->command("workspace 1"); }

    void open(OtherWindow& other) {
        ASSERT_TRUE(eventually([&] { return other.hasKeyboard() && isOther(pixel({1200, 780})); }));
    }

    void click(const QPoint& place) { desktop->click(place); }
    void click(const QString& name) { click(placeOf(name)); }

    /// What stands on the screen there.
    static QColor pixel(const QPoint& place) { return desktop->picture().pixelColor(place); }

    bool isPanelSeen() const { return isPanel(pixel(insidePanel())); }
};

TEST_F(PanelWaylandTest, HangsFromTheMiddleOfTheTopEdgeAboveAFullscreenWindow) {
    OtherWindow other({"fullscreen"});
    open(other);
    show(ask());
    ASSERT_TRUE(eventually([&] { return isPanelSeen(); }));
    const QRect frame = controller->panel().frame();
    EXPECT_EQ(frame.topLeft(), QPoint(410, 0));
    EXPECT_EQ(frame.width(), 460);
    const QImage picture = desktop->picture();
    EXPECT_TRUE(isOther(picture.pixelColor(409, 5)));
    EXPECT_FALSE(isOther(picture.pixelColor(410, 5)));
    EXPECT_FALSE(isOther(picture.pixelColor(869, 5)));
    EXPECT_TRUE(isOther(picture.pixelColor(870, 5)));
    EXPECT_TRUE(isPanel(picture.pixelColor(640, 1)));
    EXPECT_TRUE(isOther(picture.pixelColor(640, frame.height() + 1)));
    // The round corners show what lies beneath.
    EXPECT_TRUE(isOther(picture.pixelColor(frame.bottomLeft() + QPoint(1, -1))));
    EXPECT_TRUE(isOther(picture.pixelColor(frame.bottomRight() - QPoint(1, 1))));
}

TEST_F(PanelWaylandTest, TakesNoFocusWhenItComesWhenItIsClickedAndWhenItGoes) {
    OtherWindow other({"fullscreen"});
    open(other);
    show(ask());
    EXPECT_TRUE(other.hasKeyboard());
    EXPECT_FALSE(controller->panel().isActive());
    desktop->type("ls");
    EXPECT_TRUE(other.hasBeenTyped("ls"));
    click(allow);
    EXPECT_TRUE(eventually([&] { return reports == QList<AskAction>({AskAction::allow()}); }));
    desktop->type("pwd");
    EXPECT_TRUE(other.hasBeenTyped("lspwd"));
    store.remove(id);
    EXPECT_TRUE(eventually([&] { return !controller->panel().isVisible(); }));
    EXPECT_TRUE(eventually([&] { return isOther(pixel({640, 20})); }));
    EXPECT_TRUE(other.hasKeyboard());
}

TEST_F(PanelWaylandTest, LetsClicksThroughBesideWhatItShows) {
    // Of two windows side by side the right one has the keyboard.
    OtherWindow left;
    open(left);
    OtherWindow right;
    ASSERT_TRUE(eventually([&] { return desktop->windowCount() == 2; }));
    show(ask());
    ASSERT_TRUE(eventually([&] { return isPanelSeen(); }));
    click(controller->panel().frame().bottomLeft() + QPoint(1, -1));
    desktop->type("a");
    EXPECT_TRUE(left.hasBeenTyped("a"));
    EXPECT_TRUE(reports.isEmpty());
}

TEST_F(PanelWaylandTest, IsOnEveryWorkspace) {
    OtherWindow other;
    open(other);
    show(ask());
    desktop->command("workspace 2");
    EXPECT_TRUE(eventually([&] { return !isOther(pixel({640, 400})) && isPanelSeen(); }));
    click(allow);
    EXPECT_TRUE(eventually([&] { return reports == QList<AskAction>({AskAction::allow()}); }));
}

TEST_F(PanelWaylandTest, ComesBackAfterItWasHiddenAsOftenAsItIsWanted) {
    OtherWindow other({"fullscreen"});
    open(other);
    for (int time = 0; time < 2; ++time) {
        show(ask());
        EXPECT_TRUE(eventually([&] { return isPanelSeen(); }));
        store.remove(id);
        EXPECT_TRUE(eventually([&] { return !controller->panel().isVisible(); }));
        EXPECT_TRUE(eventually([&] { return isOther(pixel({640, 20})); }));
    }
}

TEST_F(PanelWaylandTest, StaysWhenItIsWantedAgainWhileItFades) {
    show(ask());
    store.remove(id);
    ASSERT_TRUE(eventually([&] { return controller->panel().phase() == NotchPanel::Phase::leaving; }));
    show(ask());
    EXPECT_TRUE(eventually([&] { return isPanelSeen(); }));
    click(allow);
    EXPECT_TRUE(eventually([&] { return reports == QList<AskAction>({AskAction::allow()}); }));
}

TEST_F(PanelWaylandTest, GrowsWithItsRowsInTheMiddle) {
    OtherWindow other({"fullscreen"});
    open(other);
    show(ask());
    const int before = controller->panel().frame().height();
    store.upsert(permissionAsk(QStringLiteral("b"), dispatch->now()));
    ASSERT_TRUE(eventually([&] { return controller->panel().frame().height() > before && isStill(); }));
    EXPECT_TRUE(eventually([&] {
        const QImage picture = desktop->picture();
        return isPanel(picture.pixelColor(640, controller->panel().frame().height() - 4)) &&
               isOther(picture.pixelColor(640, controller->panel().frame().height() + 1)) &&
               isOther(picture.pixelColor(409, 5)) && !isOther(picture.pixelColor(410, 5));
    }));
}

TEST_F(PanelWaylandTest, FollowsTheScreenThatChangesItsSize) {
    OtherWindow other({"fullscreen"});
    open(other);
    show(ask());
    desktop->command("output * resolution 1000x700");
    EXPECT_TRUE(eventually([&] { return controller->panel().frame().topLeft() == QPoint(270, 0) && isStill(); }));
    EXPECT_TRUE(eventually([&] {
        const QImage picture = desktop->picture();
        return isOther(picture.pixelColor(269, 5)) && isPanel(picture.pixelColor(280, 30)) &&
               isPanel(picture.pixelColor(720, 30)) && isOther(picture.pixelColor(730, 5));
    }));
    click(allow);
    EXPECT_TRUE(eventually([&] { return reports == QList<AskAction>({AskAction::allow()}); }));
    desktop->command("output * resolution 1280x800");
    EXPECT_TRUE(eventually([&] { return controller->panel().frame().topLeft() == QPoint(410, 0); }));
}

class ReplyOnWayland : public PanelWaylandTest {
protected:
    void SetUp() override {
        PanelWaylandTest::SetUp();
        open(other);
        showReplyField();
    }

    void startTyping() {
        click(reply);
        ASSERT_TRUE(eventually([&] { return controller->panel().isActive(); }));
    }

    OtherWindow other;
};

TEST_F(ReplyOnWayland, TakesTheKeyboardWhenTheFieldIsClickedAndGivesThemBackAfterSending) {
    EXPECT_TRUE(other.hasKeyboard());
    startTyping();
    desktop->type("yes please");
    EXPECT_TRUE(eventually([&] { return inField() == QStringLiteral("yes please"); })) << inField().toStdString();
    desktop->pressEnter();
    EXPECT_TRUE(
        eventually([&] { return reports == QList<AskAction>({AskAction::text(QStringLiteral("yes please"))}); }));
    EXPECT_TRUE(eventually([&] { return !controller->panel().isActive(); }));
    desktop->type("more");
    EXPECT_TRUE(other.hasBeenTyped("more"));
    EXPECT_EQ(inField(), QStringLiteral("yes please"));
}

TEST_F(ReplyOnWayland, GivesTheKeyboardBackOnEscapeAndTakesThemAgain) {
    startTyping();
    desktop->type("half");
    EXPECT_TRUE(eventually([&] { return inField() == QStringLiteral("half"); })) << inField().toStdString();
    desktop->pressEscape();
    EXPECT_TRUE(eventually([&] { return !controller->panel().isActive(); }));
    desktop->type("a");
    EXPECT_TRUE(other.hasBeenTyped("a"));
    startTyping();
    desktop->type("b");
    EXPECT_TRUE(eventually([&] { return inField().contains(QLatin1Char('b')); })) << inField().toStdString();
}

TEST_F(ReplyOnWayland, GivesTheKeyboardBackWhenTheAskGoes) {
    startTyping();
    store.remove(id);
    EXPECT_TRUE(eventually([&] { return !controller->panel().isVisible(); }));
    desktop->type("a");
    EXPECT_TRUE(other.hasBeenTyped("a"));
}

} // namespace
} // namespace pelorin

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // The application object needs the compositor.
    pelorin::desktop = std::make_unique<pelorin::SwayDesktop>();
    if (!pelorin::desktop->isRunning())
        return 1;
    qputenv("QT_QPA_PLATFORM", "wayland");
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    qputenv("WAYLAND_DISPLAY", QByteArray::fromStdString(pelorin::desktop->socketPath()));
    int status = 0;
    {
        const QGuiApplication application(argc, argv);
        QGuiApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
        QGuiApplication::setQuitOnLastWindowClosed(false);
        status = RUN_ALL_TESTS();
    }
    pelorin::desktop.reset();
    return status;
}
