// A real kitty, with its remote control switched on.

#include "tests/support/Eventually.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/terminal/X11Desktop.h"

#include "BeaconryKit/terminal/ProcessLauncher.h"
#include "BeaconryKit/terminal/TerminalFocus.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

/// Starting kitty, which draws by the processor here, takes a busy machine a while.
constexpr auto kittyPatience = 60s;

class KittyX11Test : public X11DesktopTest {
protected:
    void SetUp() override {
        X11DesktopTest::SetUp();
        const QString control = "unix:" + filePath("control");
        // This kitty's version has no program "kitten" yet: what that does, kitty itself does with the same arguments.
        QFile kitten(filePath("kitten"));
        ASSERT_TRUE(kitten.open(QIODevice::WriteOnly));
        kitten.write("#!/bin/sh\nexec kitty \"$@\"\n");
        kitten.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        kitten.close();
        qputenv("PATH", home.path().toUtf8() + ':' + pathBefore);
        qputenv("KITTY_LISTEN_ON", control.toUtf8());
        kitty = start({"/usr/bin/kitty", "--config", "NONE", "-o", "allow_remote_control=yes", "--listen-on",
                       control.toStdString(), "sh", "-c", script("first").toStdString()});
        ASSERT_TRUE(eventually([&] { return contents("first").endsWith('\n') && !state().isEmpty(); }, kittyPatience));
    }
    void TearDown() override {
        qputenv("PATH", pathBefore);
        qunsetenv("KITTY_LISTEN_ON");
    }

    /// Writes down where it is, and stays.
    static QString script(const QString& name) {
        return QString("{ echo $KITTY_WINDOW_ID; tty; echo $WINDOWID; } >%1; exec sleep 1000").arg(name);
    }

    /// Opens a window, tab or window of the desktop ("window", "tab", "os-window").
    void launch(const QString& type, const QString& name) {
        run({"kitty", "@", "launch", "--type", type, "--cwd", home.path(), "sh", "-c", script(name)});
        ASSERT_TRUE(eventually([&] { return contents(name).count('\n') == 3; }, kittyPatience));
    }
    QString kittyId(const QString& name) const { return contents(name).section('\n', 0, 0); }
    QString device(const QString& name) const { return contents(name).section('\n', 1, 1); }
    QString desktopWindow(const QString& name) const { return contents(name).section('\n', 2, 2); }

    static QJsonArray state() { return QJsonDocument::fromJson(run({"kitty", "@", "ls"}).toUtf8()).array(); }

    static QJsonObject focused(const QJsonArray& elements) {
        for (const QJsonValue& element : elements) {
            if (element["is_focused"].toBool())
                return element.toObject();
        }
        return {};
    }

    /// The id of the window that has the keys, of all tabs and windows of the desktop.
    static QString focusedId() {
        const QJsonObject tab = focused(focused(state())["tabs"].toArray());
        return QString::number(focused(tab["windows"].toArray())["id"].toInt());
    }
    static bool isFocused(const QString& id) {
        return eventually([&] { return focusedId() == id; }, kittyPatience);
    }

    const QByteArray pathBefore = qgetenv("PATH");
    std::unique_ptr<TestProcess> kitty;
    std::unique_ptr<WindowRaiser> raiser = makeWindowRaiser();
};

TEST_F(KittyX11Test, FocusSelectsTheWindow) {
    launch("window", "second");
    launch("tab", "third");
    ASSERT_TRUE(isFocused(kittyId("third")));
    ProcessLauncher launcher;
    TerminalFocus focus(launcher, *raiser);
    const auto focusOn = [&](const QString& name) {
        focus.focus(SessionInfo{
            .sessionId = "s1", .tty = device(name).mid(5), .termProgram = "kitty", .kittyWindowId = kittyId(name)});
    };
    focusOn("first");
    EXPECT_TRUE(isFocused(kittyId("first")));
    focusOn("second");
    EXPECT_TRUE(isFocused(kittyId("second")));
}

TEST_F(KittyX11Test, TheRightOneOfAProcesssWindowsIsRaised) {
    launch("os-window", "second");
    ASSERT_NE(desktopWindow("first"), desktopWindow("second"));
    ASSERT_TRUE(comesToTheFront(desktopWindow("second")));
    // Without kitty's help: its tool may be missing, or remote control off.
    RecordingLauncher launcher;
    TerminalFocus focus(launcher, *raiser);
    focus.focus("kitty", device("first"));
    EXPECT_TRUE(comesToTheFront(desktopWindow("first")));
    focus.focus("kitty", device("second"));
    EXPECT_TRUE(comesToTheFront(desktopWindow("second")));
    EXPECT_TRUE(launcher.starts.isEmpty());
}

} // namespace
} // namespace pelorin
