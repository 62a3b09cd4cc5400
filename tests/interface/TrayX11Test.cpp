// The status item in a real tray of the older protocol on a real X server; run-under-x11.sh provides the server. The
// mouse is the server's.

#include "tests/support/Eventually.h"
#include "tests/support/TestProcess.h"
#include "tests/support/tray/StatusNotifierHost.h"
#include "tests/support/tray/TestBus.h"

#include "BeaconryKit/interface/status/linux/MenuPopup.h"
#include "BeaconryKit/interface/status/linux/TipWindow.h"
#include "BeaconryKit/interface/status/linux/TrayIcon.h"

#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QPixmap>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <qguiapplication_platform.h>

#include <csignal>
#include <cstdlib>
#include <optional>

namespace pelorin {
namespace {

// The toolkit looks for it once, when the application starts.
std::optional<TestBus> sessionBus;

QString xdotool(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    EXPECT_TRUE(eventually([&] { return process.state() == QProcess::NotRunning; }));
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

/// The number of a window on the screen, found by its name.
QString window(const QString& name) {
    return xdotool({"search", "--onlyvisible", "--name", name}).section('\n', 0, 0);
}

/// A panel that holds a tray and nothing else.
class Tray {
public:
    Tray() {
        QFile file(m_folder.filePath("tint2rc"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("panel_items = S\npanel_size = 400 40\npanel_position = bottom center horizontal\n"
                   "systray = 1\nsystray_icon_size = 32\n");
        file.close();
        m_process = TestProcess::start({.command = {"/usr/bin/tint2", "-c", file.fileName().toStdString()},
                                        .environment = {std::string("DISPLAY=") + std::getenv("DISPLAY"),
                                                        "HOME=" + m_folder.path().toStdString()}});
    }
    ~Tray() {
        m_process->sendSignal(SIGKILL);
        m_process->waitForExit();
    }
    Tray(const Tray&) = delete;
    Tray& operator=(const Tray&) = delete;

private:
    QTemporaryDir m_folder;
    std::unique_ptr<TestProcess> m_process;
};

class TrayX11Test : public ::testing::Test {
protected:
    TrayX11Test() : icon(qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection(), 0) {
        icon.setIcon({"bell", "", ImagePosition::imageOnly});
        icon.setMenu({{.title = "Open", .action = MenuAction::openManager},
                      {.kind = MenuItem::Kind::separator},
                      {.title = "Silent Mode", .checkState = CheckState::on, .action = MenuAction::toggleSilentMode},
                      {.title = "Track All Sessions", .checkState = CheckState::off},
                      {.title = "Sessions", .isEnabled = false},
                      {.title = "api \u2014 pts/1", .submenu = {{.title = "Jump to Terminal"}}},
                      {.title = "Quit", .keyEquivalent = "q", .action = MenuAction::quit}});
        icon.setHandlers({.onTriggered = [this](MenuAction action, const auto&) {
            triggered.push_back(action);
        }});
        // Off the tray.
        xdotool({"mousemove", "5", "5"});
    }

    bool isDocked() {
        return eventually([this] { return icon.isDocked() && !window("^Pelorin").isEmpty(); });
    }
    static QImage iconOnScreen() {
        const QStringList place = xdotool({"getwindowgeometry", "--shell", window("^Pelorin")}).split('\n');
        const auto number = [&](const char* name) {
            return place.filter(QRegularExpression(QStringLiteral("^%1=").arg(name))).value(0).section('=', 1).toInt();
        };
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, number("X"), number("Y"), number("WIDTH"), number("HEIGHT"))
            .toImage();
    }
    /// How many of the pixels of the icon's place on the screen are so.
    static int iconPixels(bool (*isCounted)(QRgb)) {
        const QImage image = iconOnScreen();
        int counted = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                counted += isCounted(image.pixel(x, y)) ? 1 : 0;
        }
        return counted;
    }
    static int whitePixels() {
        return iconPixels([](QRgb pixel) { return qGray(pixel) > 240; });
    }
    static int redPixels() {
        return iconPixels([](QRgb pixel) { return qRed(pixel) > 150 && qGreen(pixel) < 60; });
    }
    /// For a look at what is drawn: into the folder that the environment names, if it names one.
    static void savePicture(const QString& name) {
        const QString folder = qEnvironmentVariable("PELORIN_TRAY_PICTURES");
        if (!folder.isEmpty())
            QGuiApplication::primaryScreen()->grabWindow(0).save(folder + u'/' + name + QStringLiteral(".png"));
    }
    static void clickOnIcon() { xdotool({"mousemove", "--window", window("^Pelorin"), "10", "10", "click", "1"}); }

    bool opensMenu() {
        clickOnIcon();
        return eventually([this] { return icon.popup() && icon.popup()->isExposed(); });
    }

    std::vector<MenuAction> triggered;
    TrayIcon icon;
};

TEST_F(TrayX11Test, DocksInATrayThatStartsLaterAndInTheNextOne) {
    icon.setWanted(true);
    EXPECT_FALSE(icon.isDocked());
    {
        const Tray tray;
        EXPECT_TRUE(isDocked());
    }
    EXPECT_TRUE(eventually([&] { return !icon.isDocked(); }));
    const Tray next;
    EXPECT_TRUE(isDocked());
}

TEST_F(TrayX11Test, IsThereOnlyWhileItIsWanted) {
    const Tray tray;
    EXPECT_TRUE(eventually([] { return !window("tint2").isEmpty(); }));
    EXPECT_FALSE(icon.isDocked());
    icon.setWanted(true);
    EXPECT_TRUE(isDocked());
    icon.setWanted(false);
    EXPECT_TRUE(eventually([] { return window("^Pelorin").isEmpty(); }));
    icon.setWanted(true);
    EXPECT_TRUE(isDocked());
}

TEST_F(TrayX11Test, ShowsThePictureAndNamesTheCount) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    EXPECT_TRUE(eventually([] { return whitePixels() > 20; }));
    const int outlined = whitePixels();
    icon.setIcon({"bell.badge.fill", " 3", ImagePosition::imageLeading});
    EXPECT_TRUE(eventually([&] { return whitePixels() > 1.5 * outlined; }));
    EXPECT_FALSE(window("^Pelorin 3$").isEmpty());
}

TEST_F(TrayX11Test, DrawsTheCount) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    ASSERT_TRUE(eventually([] { return whitePixels() > 20; }));
    EXPECT_EQ(redPixels(), 0);
    icon.setIcon({"bell", " 3", ImagePosition::imageLeading});
    EXPECT_TRUE(eventually([] { return redPixels() > 40; }));
    const int narrow = redPixels();
    savePicture("count");
    icon.setIcon({"bell", " 1234", ImagePosition::imageLeading});
    EXPECT_TRUE(eventually([&] { return redPixels() > narrow; }));
    savePicture("large-count");
    icon.setIcon({"bell", "", ImagePosition::imageOnly});
    EXPECT_TRUE(eventually([] { return redPixels() == 0; }));
}

TEST_F(TrayX11Test, SaysWhatItIsWhileThePointerIsOnIt) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    icon.setIcon({"bell", " 3", ImagePosition::imageLeading});
    xdotool({"mousemove", "--window", window("^Pelorin"), "10", "10"});
    EXPECT_TRUE(eventually([&] { return icon.tip() && icon.tip()->isExposed(); }));
    EXPECT_EQ(icon.tip()->text(), QStringLiteral("Pelorin 3"));
    savePicture("tip");
    icon.setIcon({"bell", "", ImagePosition::imageOnly});
    EXPECT_EQ(icon.tip()->text(), QStringLiteral("Pelorin"));
    xdotool({"mousemove", "5", "5"});
    EXPECT_TRUE(eventually([&] { return !icon.tip(); }));
    ASSERT_TRUE(opensMenu());
    EXPECT_FALSE(icon.tip());
}

TEST_F(TrayX11Test, ADoubleClickOnASessionMutesNothing) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    ASSERT_TRUE(opensMenu());
    const QString session = QStringLiteral("api — pts/1");
    const QPoint place = icon.popup()->mapToGlobal(icon.popup()->itemRect(session).center());
    xdotool({"mousemove", QString::number(place.x()), QString::number(place.y()), "click", "--repeat", "2", "--delay",
             "60", "1"});
    EXPECT_TRUE(eventually([&] { return !icon.popup() || !icon.popup()->itemRect("Jump to Terminal").isEmpty(); }));
    ASSERT_TRUE(icon.popup());
    EXPECT_EQ(icon.popup()->mapToGlobal(icon.popup()->itemRect(session).center()), place);
    savePicture("unfolded");
    EXPECT_TRUE(triggered.empty());
    xdotool({"key", "ctrl+q"});
    EXPECT_TRUE(eventually([&] { return triggered == std::vector{MenuAction::quit}; }));
}

TEST_F(TrayX11Test, TheMenuStaysInFrontOfAWindowThatOpens) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    ASSERT_TRUE(opensMenu());
    const QRect place = icon.popup()->geometry();
    const auto picture = [&] {
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, place.x(), place.y(), place.width(), place.height())
            .toImage();
    };
    const QImage before = picture();
    QWindow other;
    other.setTitle("Other");
    other.setGeometry(QRect(place.topLeft() - QPoint(50, 50), place.size() + QSize(100, 100)));
    other.show();
    ASSERT_TRUE(eventually([&] { return other.isExposed() && !window("^Other$").isEmpty(); }));
    savePicture("other-window");
    EXPECT_TRUE(eventually([&] { return picture() == before; }));
    xdotool({"mousemove", QString::number(place.x() - 20), QString::number(place.y() + 20), "click", "1"});
    EXPECT_TRUE(eventually([&] { return !icon.popup(); }));
}

TEST_F(TrayX11Test, AClickOpensTheMenuAndAClickThereChooses) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    ASSERT_TRUE(opensMenu());
    savePicture("menu");
    const QPoint place = icon.popup()->mapToGlobal(icon.popup()->itemRect("Quit").center());
    xdotool({"mousemove", QString::number(place.x()), QString::number(place.y()), "click", "1"});
    EXPECT_TRUE(eventually([&] { return triggered == std::vector{MenuAction::quit}; }));
    EXPECT_EQ(icon.popup(), nullptr);
}

TEST_F(TrayX11Test, AClickElsewhereOrEscapeClosesTheMenu) {
    const Tray tray;
    icon.setWanted(true);
    ASSERT_TRUE(isDocked());
    ASSERT_TRUE(opensMenu());
    xdotool({"mousemove", "5", "5", "click", "1"});
    EXPECT_TRUE(eventually([&] { return !icon.popup(); }));
    ASSERT_TRUE(opensMenu());
    xdotool({"key", "Escape"});
    EXPECT_TRUE(eventually([&] { return !icon.popup(); }));
    EXPECT_TRUE(triggered.empty());
}

TEST(SystemStatusItem, IsInTheOlderTrayOnlyWhileNoDesktopShowsItems) {
    const auto hasWindow = [] {
        return !window("^Pelorin").isEmpty();
    };
    const auto item = makeStatusItem();
    ASSERT_TRUE(item);
    item->setIcon({"bell", "", ImagePosition::imageOnly});
    const Tray tray;
    EXPECT_TRUE(eventually(hasWindow));
    {
        const StatusNotifierHost host(sessionBus->connect());
        EXPECT_TRUE(eventually([&] { return !hasWindow(); }));
        EXPECT_EQ(host.items().size(), 1);
    }
    EXPECT_TRUE(eventually(hasWindow));
}

TEST(SystemStatusItem, IsInTheOlderTrayWhereThereIsNoBus) {
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("XDG_RUNTIME_DIR", "/nonexistent");
    const auto item = makeStatusItem();
    ASSERT_TRUE(item);
    item->setIcon({"bell", "", ImagePosition::imageOnly});
    const Tray tray;
    EXPECT_TRUE(eventually([] { return !window("^Pelorin").isEmpty(); }));
}

} // namespace
} // namespace pelorin

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "xcb");
    pelorin::sessionBus.emplace();
    qputenv("DBUS_SESSION_BUS_ADDRESS", pelorin::sessionBus->address().toUtf8());
    const QGuiApplication application(argc, argv);
    QGuiApplication::setFont(QFont(QStringLiteral("DejaVu Sans"), 10));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    const int result = RUN_ALL_TESTS();
    pelorin::sessionBus.reset();
    return result;
}
