// Real terminal windows beside each other on a real X server with a real window manager.

#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/terminal/X11Desktop.h"

#include "BeaconryKit/platform/WindowRaiser.h"
#include "BeaconryKit/terminal/TerminalFocus.h"

#include <QFile>
#include <QScopeGuard>
#include <gmock/gmock.h>

#include <sys/stat.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

/// A terminal window that is open, and came up in front.
struct Terminal {
    std::unique_ptr<TestProcess> process;
    QString device;
    QString window;
};

class WindowRaiserX11Test : public X11DesktopTest {
protected:
    /// Opens an xterm in which the script runs after it has written the terminal's name to the file.
    Terminal open(const QString& name, const QString& script = "exec sleep 1000") {
        const QString wholeScript = QString("tty >%1; %2").arg(name, script);
        Terminal terminal{start({"/usr/bin/xterm", "-e", "sh", "-c", wholeScript.toStdString()}), {}, {}};
        terminal.device = waitForLine(name);
        terminal.window = waitForWindowInFront(*terminal.process);
        return terminal;
    }

    std::unique_ptr<WindowRaiser> raiser = makeWindowRaiser();
};

TEST_F(WindowRaiserX11Test, BringsTheTerminalsWindowToTheFront) {
    const Terminal first = open("first");
    const Terminal second = open("second");
    ASSERT_NE(first.device, second.device);
    raiser->raise(first.device);
    EXPECT_TRUE(comesToTheFront(first.window));
    raiser->raise(second.device);
    EXPECT_TRUE(comesToTheFront(second.window));
    // One that is in front stays there.
    raiser->raise(second.device);
    raiser->raise(first.device);
    EXPECT_TRUE(comesToTheFront(first.window));
}

TEST_F(WindowRaiserX11Test, IsTheLastStepOfFocusing) {
    const Terminal first = open("first");
    const Terminal second = open("second");
    RecordingLauncher launcher;
    TerminalFocus focus(launcher, *raiser);
    focus.focus(SessionInfo{.sessionId = "s1", .tty = first.device.mid(5), .termProgram = "xterm"});
    EXPECT_TRUE(comesToTheFront(first.window));
    focus.focus(AskEvent{.sessionId = "s2", .tty = second.device.mid(5)});
    EXPECT_TRUE(comesToTheFront(second.window));
    EXPECT_TRUE(launcher.starts.isEmpty());
}

TEST_F(WindowRaiserX11Test, BringsBackAMinimisedWindow) {
    const Terminal terminal = open("terminal");
    run({"xdotool", "windowminimize", terminal.window});
    ASSERT_TRUE(eventually([&] { return activeWindow() != terminal.window; }));
    raiser->raise(terminal.device);
    EXPECT_TRUE(comesToTheFront(terminal.window));
}

TEST_F(WindowRaiserX11Test, GoesToTheWindowsDesktop) {
    const Terminal terminal = open("terminal");
    run({"xdotool", "set_desktop", "1"});
    ASSERT_TRUE(eventually([] { return run({"xdotool", "get_desktop"}) == "1"; }));
    raiser->raise(terminal.device);
    EXPECT_TRUE(eventually([] { return run({"xdotool", "get_desktop"}) == "0"; }));
    EXPECT_TRUE(comesToTheFront(terminal.window));
}

TEST_F(WindowRaiserX11Test, TellsATerminalFromTheOneThatItWasStartedIn) {
    // The inner window's program has the outer terminal for its controlling terminal. It starts when the outer window
    // has been seen, and outlives that, but not its own program.
    ASSERT_EQ(mkfifo(filePath("go").toUtf8().constData(), 0600), 0);
    const auto end = qScopeGuard([&] { run({"kill", contents("process").trimmed()}); });
    const Terminal outer =
        open("outer", "read line <go; xterm -e sh -c 'echo $$ >process; tty >inner; exec sleep 1000'");
    QFile go(filePath("go"));
    ASSERT_TRUE(go.open(QIODevice::WriteOnly));
    go.write("go\n");
    go.close();
    const QString inner = waitForLine("inner");
    ASSERT_TRUE(eventually([&] { return activeWindow() != outer.window && !activeWindow().isEmpty(); }));
    const QString innerWindow = activeWindow();
    raiser->raise(outer.device);
    EXPECT_TRUE(comesToTheFront(outer.window));
    raiser->raise(inner);
    EXPECT_TRUE(comesToTheFront(innerWindow));
}

TEST_F(WindowRaiserX11Test, FindsTheWindowAroundATerminalWithinATerminal) {
    const Terminal terminal = open("terminal", "exec script -q -c 'tty >within; exec sleep 1000' /dev/null");
    const QString within = waitForLine("within");
    ASSERT_NE(within, terminal.device);
    const Terminal other = open("other");
    raiser->raise(within);
    EXPECT_TRUE(comesToTheFront(terminal.window));
}

TEST_F(WindowRaiserX11Test, DoesNothingWithoutAWindow) {
    const Terminal first = open("first");
    const Terminal second = open("second");
    // Ends with its output; it tells the window that is active, and each that becomes so.
    const auto watch = start({"/usr/bin/xprop", "-root", "-spy", "_NET_ACTIVE_WINDOW"});
    ASSERT_TRUE(watch->waitForOutput([](const std::string& text) { return text.ends_with('\n'); }));
    // A terminal that no window shows: its program was started by this one.
    const auto hidden = start({"/usr/bin/script", "-q", "-c", "tty >hidden; exec sleep 1000", "/dev/null"});
    for (const QString& device : {waitForLine("hidden"), QString("/dev/pts/987654"), QString("/dev/null"),
                                  QString("/etc/passwd"), QString("/dev/"), QString()})
        raiser->raise(device);
    raiser->raise(first.device);
    ASSERT_TRUE(comesToTheFront(first.window));
    // For a moment between two, no window is the active one; and one may be told again.
    const auto activeInTurn = [&] {
        QList<qulonglong> windows{0};
        for (const QString& line : QString::fromStdString(watch->output()).split('\n', Qt::SkipEmptyParts)) {
            const qulonglong window = line.section(' ', -1).toULongLong(nullptr, 16);
            if (window != 0 && window != windows.last())
                windows.append(window);
        }
        return windows.sliced(1);
    };
    ASSERT_TRUE(watch->waitForOutput([&](const std::string& text) {
        return text.ends_with('\n') && activeInTurn().contains(first.window.toULongLong());
    }));
    EXPECT_THAT(activeInTurn(), ElementsAre(second.window.toULongLong(), first.window.toULongLong()));
}

TEST_F(WindowRaiserX11Test, DoesNothingWithoutAServer) {
    const Terminal terminal = open("terminal");
    const QByteArray display = qgetenv("DISPLAY");
    const QStringList before = openDescriptors();
    for (const QByteArray& elsewhere : {QByteArray(), QByteArray(":987"), QByteArray("nonsense")}) {
        qputenv("DISPLAY", elsewhere);
        raiser->raise(terminal.device);
    }
    qunsetenv("DISPLAY");
    raiser->raise(terminal.device);
    qputenv("DISPLAY", display);
    raiser->raise(terminal.device);
    EXPECT_TRUE(onlyLeavesOpen(before));
}

} // namespace
} // namespace pelorin
