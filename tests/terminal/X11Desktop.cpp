#include "tests/terminal/X11Desktop.h"

#include "tests/support/Eventually.h"

#include "BeaconryKit/platform/Programs.h"

#include <QFile>

namespace pelorin {

void X11DesktopTest::SetUp() {
    ASSERT_TRUE(qEnvironmentVariableIsSet("DISPLAY")) << "Run this by run-under-x11.sh.";
    // Windows of the test before may still be going.
    ASSERT_TRUE(eventually([] { return run({"xdotool", "search", "--onlyvisible", "--name", "."}).isEmpty(); }));
}

std::unique_ptr<TestProcess> X11DesktopTest::start(const std::vector<std::string>& command) const {
    // A machine's graphics are no part of the tests.
    return TestProcess::start(
        {.command = command,
         .environment = {"DISPLAY=" + qgetenv("DISPLAY").toStdString(), "PATH=" + qgetenv("PATH").toStdString(),
                         "HOME=" + home.path().toStdString(), "LANG=C.UTF-8", "LIBGL_ALWAYS_SOFTWARE=1"},
         .workingDirectory = home.path().toStdString()});
}

QString X11DesktopTest::contents(const QString& name) const {
    QFile file(filePath(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QString X11DesktopTest::waitForLine(const QString& name) const {
    EXPECT_TRUE(eventually([&] { return contents(name).endsWith('\n'); })) << name.toStdString();
    return contents(name).trimmed();
}

QString X11DesktopTest::run(const QStringList& command) {
    ChildProcess::Launch launch;
    launch.executable = "/usr/bin/env";
    for (const QString& word : command)
        launch.arguments.append(word.toUtf8());
    const auto output = capture(launch, std::chrono::seconds(60), 10'000'000);
    return output ? QString::fromUtf8(*output).trimmed() : QString();
}

QString X11DesktopTest::activeWindow() {
    return run({"xdotool", "getactivewindow"});
}

bool X11DesktopTest::isInFront(const QString& window) {
    // "_NET_CLIENT_LIST_STACKING(WINDOW): window id # 0x200010, 0x400010", from bottom to top.
    const QString stacking = run({"xprop", "-root", "_NET_CLIENT_LIST_STACKING"});
    const QString top = stacking.section(' ', -1);
    return !window.isEmpty() && activeWindow() == window && top.toULongLong(nullptr, 16) == window.toULongLong();
}

QString X11DesktopTest::waitForWindowInFront(const TestProcess& process) {
    QString window;
    EXPECT_TRUE(eventually([&] {
        window = activeWindow();
        return isInFront(window) && run({"xdotool", "getwindowpid", window}) == QString::number(process.processId());
    }));
    return window;
}

bool X11DesktopTest::comesToTheFront(const QString& window) {
    return eventually([&] { return isInFront(window); });
}

} // namespace pelorin
