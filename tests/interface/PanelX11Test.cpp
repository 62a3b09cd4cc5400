// The panel on a real X server, beside a real window manager and a window of somebody else; run-under-x11.sh provides
// them. The mouse and the keyboard are the server's.

#include "tests/interface/LivePanel.h"

#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <gtest/gtest.h>
#include <qguiapplication_platform.h>
#include <xcb/xcb.h>

#include <cstdlib>

namespace pelorin {
namespace {

/// Runs a tool while this program keeps answering the server. Returns what it printed.
QString run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    EXPECT_TRUE(eventually([&] { return process.state() == QProcess::NotRunning; })) << program.toStdString();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

QString xdotool(const QStringList& arguments) {
    return run(QStringLiteral("xdotool"), arguments);
}

/// Somebody else's window, in a process of its own.
class OtherWindow {
public:
    explicit OtherWindow(const QStringList& arguments = {}) {
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QStringLiteral(PELORIN_BINARY_DIR "/other_window"), arguments);
        EXPECT_TRUE(m_process.waitForStarted());
        EXPECT_TRUE(eventually([this] { return hasKeyboard(); }));
    }
    ~OtherWindow() {
        m_process.kill();
        m_process.waitForFinished();
    }
    OtherWindow(const OtherWindow&) = delete;
    OtherWindow& operator=(const OtherWindow&) = delete;

    /// Whether the manager calls it the active one and the server sends the keys there.
    bool hasKeyboard() {
        m_window = xdotool({QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("--pid"),
                            QString::number(m_process.processId()), QStringLiteral("--onlyvisible"),
                            QStringLiteral("--name"), QStringLiteral("^Other$")});
        return !m_window.isEmpty() && xdotool({QStringLiteral("getactivewindow")}) == m_window &&
               xdotool({QStringLiteral("getwindowfocus"), QStringLiteral("-f")}) == m_window;
    }

    /// What has been typed into it so far.
    const QString& typed() {
        m_typed += QString::fromUtf8(m_process.readAllStandardOutput());
        return m_typed;
    }

private:
    QProcess m_process;
    QString m_window;
    QString m_typed;
};

class PanelX11Test : public LivePanel {
protected:
    PanelX11Test() {
        // Off the panel and its neighbours.
        xdotool({QStringLiteral("mousemove"), QStringLiteral("1270"), QStringLiteral("790")});
        xdotool({QStringLiteral("set_desktop"), QStringLiteral("0")});
    }

    void click(QPoint place) {
        xdotool({QStringLiteral("mousemove"), QString::number(place.x()), QString::number(place.y()),
                 QStringLiteral("click"), QStringLiteral("1")});
    }

    void click(const QString& name) { click(placeOf(name)); }

    void type(const QString& text) {
        xdotool({QStringLiteral("type"), QStringLiteral("--delay"), QStringLiteral("2"), text});
    }
    void key(const QString& name) { xdotool({QStringLiteral("key"), name}); }

    /// What stands on the screen there.
    static QColor pixel(QPoint place) {
        return QGuiApplication::primaryScreen()->grabWindow(0, place.x(), place.y(), 1, 1).toImage().pixelColor(0, 0);
    }
};

TEST_F(PanelX11Test, HangsFromTheMiddleOfTheTopEdge) {
    show(ask());
    const QString geometry = xdotool(
        {QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), QString::number(controller->panel().winId())});
    EXPECT_TRUE(geometry.contains(QStringLiteral("X=410\nY=0\nWIDTH=460\n"))) << geometry.toStdString();
}

TEST_F(PanelX11Test, TakesNoFocusWhenItComesAndGoes) {
    OtherWindow other;
    show(ask());
    EXPECT_TRUE(other.hasKeyboard());
    EXPECT_FALSE(controller->panel().isActive());
    type(QStringLiteral("ls"));
    EXPECT_TRUE(eventually([&] { return other.typed() == QStringLiteral("ls"); })) << other.typed().toStdString();
    store.remove(id);
    EXPECT_TRUE(eventually([&] { return !controller->panel().isVisible(); }));
    EXPECT_TRUE(other.hasKeyboard());
}

TEST_F(PanelX11Test, ActsOnTheFirstClickAndTakesNoFocusByIt) {
    OtherWindow other;
    show(ask());
    click(allow);
    EXPECT_TRUE(eventually([&] { return !reports.isEmpty(); }));
    EXPECT_EQ(reports, QList<AskAction>({AskAction::allow()}));
    EXPECT_TRUE(other.hasKeyboard());
    type(QStringLiteral("pwd"));
    EXPECT_TRUE(eventually([&] { return other.typed() == QStringLiteral("pwd"); })) << other.typed().toStdString();
}

TEST_F(PanelX11Test, StandsAboveAFullscreenWindow) {
    OtherWindow other({QStringLiteral("fullscreen")});
    ASSERT_TRUE(eventually([&] { return isOther(pixel({640, 5})) && isOther(pixel({640, 780})); }));
    show(ask());
    EXPECT_TRUE(eventually([&] { return isPanel(pixel(insidePanel())); }));
    EXPECT_TRUE(isOther(pixel({100, 5})));
    click(allow);
    EXPECT_TRUE(eventually([&] { return reports == QList<AskAction>({AskAction::allow()}); }));
    EXPECT_TRUE(other.hasKeyboard());
}

TEST_F(PanelX11Test, StaysAboveAFullscreenWindowThatComesLater) {
    show(ask());
    OtherWindow other({QStringLiteral("fullscreen")});
    ASSERT_TRUE(eventually([&] { return isOther(pixel({640, 780})); }));
    EXPECT_TRUE(eventually([&] { return isPanel(pixel(insidePanel())); }));
}

TEST_F(PanelX11Test, IsOnEveryDesktop) {
    OtherWindow other;
    show(ask());
    ASSERT_TRUE(eventually([&] { return isPanel(pixel(insidePanel())) && isOther(pixel({640, 400})); }));
    xdotool({QStringLiteral("set_desktop"), QStringLiteral("1")});
    EXPECT_TRUE(eventually([&] { return !isOther(pixel({640, 400})); }));
    EXPECT_TRUE(eventually([&] { return isPanel(pixel(insidePanel())); }));
    click(allow);
    EXPECT_TRUE(eventually([&] { return reports == QList<AskAction>({AskAction::allow()}); }));
}

TEST_F(PanelX11Test, MasksItsCornersWithoutACompositor) {
    OtherWindow other({QStringLiteral("fullscreen")});
    show(ask());
    const QRect frame = controller->panel().frame();
    EXPECT_TRUE(eventually([&] { return isPanel(pixel(insidePanel())); }));
    EXPECT_TRUE(isOther(pixel(frame.bottomLeft() + QPoint(1, -1))));
    EXPECT_TRUE(isOther(pixel(frame.bottomRight() + QPoint(-1, -1))));
    EXPECT_TRUE(isPanel(pixel(frame.bottomLeft() + QPoint(230, -3))));
    // What does not belong to the panel lets clicks through.
    click(frame.bottomLeft() + QPoint(1, -1));
    EXPECT_TRUE(other.hasKeyboard());
    EXPECT_TRUE(reports.isEmpty());
}

TEST_F(PanelX11Test, LeavesItsCornersToACompositor) {
    // Whoever owns this selection says to be one; that is all that can be asked.
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    xcb_connection_t* const connection = x11->connection();
    const QByteArray name = "_NET_WM_CM_S0";
    xcb_intern_atom_reply_t* const atom = xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.constData()), nullptr);
    ASSERT_NE(atom, nullptr);
    QWindow owner;
    owner.create();
    xcb_set_selection_owner(connection, static_cast<xcb_window_t>(owner.winId()), atom->atom, XCB_CURRENT_TIME);
    show(ask());
    EXPECT_TRUE(controller->panel().mask().isEmpty());
    xcb_set_selection_owner(connection, XCB_WINDOW_NONE, atom->atom, XCB_CURRENT_TIME);
    std::free(atom);
    store.remove(id);
    ASSERT_TRUE(eventually([&] { return !controller->panel().isVisible(); }));
    show(ask());
    EXPECT_FALSE(controller->panel().mask().isEmpty());
}

class ReplyOnX11 : public PanelX11Test {
protected:
    ReplyOnX11() { showReplyField(); }

    void startTyping() {
        click(reply);
        ASSERT_TRUE(eventually([&] {
            return controller->panel().isActive() &&
                   xdotool({QStringLiteral("getwindowfocus"), QStringLiteral("-f")}) ==
                       QString::number(controller->panel().winId());
        }));
    }

    OtherWindow other;
};

TEST_F(ReplyOnX11, TakesTheKeyboardWhenTheFieldIsClickedAndGivesThemBackAfterSending) {
    EXPECT_TRUE(other.hasKeyboard());
    startTyping();
    type(QStringLiteral("yes please"));
    EXPECT_TRUE(eventually([&] { return inField() == QStringLiteral("yes please"); })) << inField().toStdString();
    key(QStringLiteral("Return"));
    EXPECT_TRUE(
        eventually([&] { return reports == QList<AskAction>({AskAction::text(QStringLiteral("yes please"))}); }));
    EXPECT_TRUE(eventually([&] { return other.hasKeyboard(); }));
    type(QStringLiteral("more"));
    EXPECT_TRUE(eventually([&] { return other.typed() == QStringLiteral("more"); })) << other.typed().toStdString();
    EXPECT_EQ(inField(), QStringLiteral("yes please"));
}

TEST_F(ReplyOnX11, GivesTheKeyboardBackOnEscapeAndTakesThemAgain) {
    startTyping();
    type(QStringLiteral("ha"));
    EXPECT_TRUE(eventually([&] { return inField() == QStringLiteral("ha"); }));
    key(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually([&] { return other.hasKeyboard(); }));
    startTyping();
    // The second click within a moment has selected the word.
    key(QStringLiteral("End"));
    type(QStringLiteral("lf"));
    EXPECT_TRUE(eventually([&] { return inField() == QStringLiteral("half"); })) << inField().toStdString();
    EXPECT_EQ(other.typed(), QString());
}

TEST_F(ReplyOnX11, LeavesTheKeyboardToTheWindowThatTheUserClicks) {
    startTyping();
    click(QPoint(640, 500));
    EXPECT_TRUE(eventually([&] { return other.hasKeyboard(); }));
    EXPECT_TRUE(eventually([&] { return !controller->panel().isActive(); }));
    type(QStringLiteral("x"));
    EXPECT_TRUE(eventually([&] { return other.typed() == QStringLiteral("x"); }));
    EXPECT_EQ(inField(), QString());
}

TEST_F(ReplyOnX11, GivesTheKeyboardBackWhenTheAskGoes) {
    startTyping();
    store.remove(id);
    EXPECT_TRUE(eventually([&] { return other.hasKeyboard(); }));
}

TEST_F(ReplyOnX11, SurvivesThatTheOtherWindowGoesMeanwhile) {
    auto second = std::make_unique<OtherWindow>();
    startTyping();
    second.reset();
    // The manager may hand the focus on by itself; either way the field lets go of it without an error.
    key(QStringLiteral("Escape"));
    EXPECT_TRUE(eventually([&] { return !controller->panel().isActive() || other.hasKeyboard(); }));
    click(QPoint(640, 500));
    EXPECT_TRUE(eventually([&] { return other.hasKeyboard(); }));
}

} // namespace
} // namespace pelorin

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(argc, argv);
    QGuiApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
