#include "tests/app/PanelPicture.h"
#include "tests/app/RunningApplication.h"
#include "tests/support/LoopbackListener.h"
#include "tests/support/Patience.h"

#include <QFile>
#include <QImage>
#include <QRegularExpression>
#include <gmock/gmock.h>

#include <thread>

namespace pelorin {
namespace {

using ::testing::HasSubstr;

/// A display of its own with a window manager, and a pointer that the test moves.
class Desktop {
public:
    Desktop() {
        // Without -noreset the server begins anew whenever its last client has left, and ends who comes just then.
        m_server = TestProcess::start({.command = {"/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24",
                                                   "-noreset", "-nolisten", "tcp"},
                                       .environment = {"PATH=/usr/bin:/bin"}});
        EXPECT_TRUE(m_server->waitForOutput([](const std::string& text) { return text.ends_with('\n'); }));
        m_display = ":" + m_server->output().substr(0, m_server->output().find('\n'));
        m_windowManager = TestProcess::start({.command = {"/usr/bin/openbox"}, .environment = environment()});
        // A window that comes while the manager starts may be passed over.
        const WaitLimit limit(patience);
        while (!isManaged() && limit.remainingMilliseconds() > 0)
            std::this_thread::yield();
        EXPECT_TRUE(isManaged());
    }

    const std::string& display() const { return m_display; }

    /// What is on the screen now.
    QImage picture() const {
        const QString file = m_folder.filePath("screen.png");
        run({"/usr/bin/import", "-window", "root", file.toStdString()});
        return QImage(file);
    }

    void click(const QPoint& place) const {
        run({"/usr/bin/xdotool", "mousemove", std::to_string(place.x()), std::to_string(place.y()), "click", "1"});
    }

    void pressKey(const std::string& key) const { run({"/usr/bin/xdotool", "key", key}); }

    /// Clicks into a window, this far from its lower right corner.
    void clickAtTheLowerRight(const std::string& title, const QPoint& distance) const {
        const std::vector<std::string> search{"/usr/bin/xdotool", "search", "--onlyvisible", "--name", title};
        const auto with = [&](std::initializer_list<std::string> arguments) {
            std::vector<std::string> command = search;
            command.insert(command.end(), arguments);
            return runProgram(command, environment()).output;
        };
        const QString size = QString::fromStdString(with({"getwindowgeometry", "--shell"}));
        const auto number = [&](const char* name) {
            return QRegularExpression(QStringLiteral("\\b%1=(\\d+)").arg(name)).match(size).captured(1).toInt();
        };
        const QPoint place = QPoint(number("WIDTH"), number("HEIGHT")) - distance;
        with({"mousemove", "--window", "%1", std::to_string(place.x()), std::to_string(place.y()), "click", "1"});
    }

    /// What the server keeps of the manager window, as text.
    std::string managerProperties() const {
        return runProgram({"/usr/bin/xprop", "-name", "AI Session Manager"}, environment()).output;
    }

    /// Waits until the manager window is on the screen, or is not.
    bool waitForManager(bool isShown) const { return waitForWindow("^AI Session Manager$", isShown); }

    /// The same for the window whose title matches.
    bool waitForWindow(const std::string& title, bool isShown) const {
        const WaitLimit limit(patience);
        const std::vector<std::string> search{"/usr/bin/xdotool", "search", "--onlyvisible", "--name", title};
        while (runProgram(search, environment()).output.empty() == isShown) {
            if (limit.remainingMilliseconds() == 0)
                return false;
        }
        return true;
    }

private:
    bool isManaged() const {
        return runProgram({"/usr/bin/xprop", "-root", "_NET_SUPPORTING_WM_CHECK"}, environment())
                   .output.find("window id") != std::string::npos;
    }
    std::vector<std::string> environment() const {
        return {"DISPLAY=" + m_display, "PATH=/usr/bin:/bin", "HOME=" + m_folder.path().toStdString()};
    }
    void run(const std::vector<std::string>& command) const {
        EXPECT_EQ(runProgram(command, environment()).exit, exited(0)) << command.front();
    }

    QTemporaryDir m_folder;
    std::unique_ptr<TestProcess> m_server;
    std::string m_display;
    std::unique_ptr<TestProcess> m_windowManager;
};

struct Answer {
    const char* name;
    bool (*isOfTheButton)(const QColor&);
    const char* output;
};

class OnADesktop : public ::testing::TestWithParam<Answer> {};

TEST_P(OnADesktop, AClickEndsTheWaitingHookWithTheAnswer) {
    const Desktop desktop;
    const RunningApplication application({}, RunningApplication::Screen::x11, desktop.display());
    QFile payload(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude/tui/PermissionRequest.Bash.json");
    ASSERT_TRUE(payload.open(QIODevice::ReadOnly));
    const auto hook = application.startHook("claude-permission-hook.sh", payload.readAll().toStdString());

    // A button takes no click while its row has only just come: the click is tried again until it is taken.
    const WaitLimit limit(patience);
    const auto isShown = [&] {
        return application.status().value("pendingAsks").toInt() == 1;
    };
    ASSERT_TRUE(application.waitForPendingAsks(1));
    while (isShown() && limit.remainingMilliseconds() > 0) {
        if (const auto button = findButton(desktop.picture(), GetParam().isOfTheButton))
            desktop.click(*button);
    }
    EXPECT_EQ(hook->waitForExit(), exited(0));
    EXPECT_EQ(hook->output(), GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, OnADesktop,
    ::testing::Values(
        Answer{"Allow", isAllowGreen,
               R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})"},
        Answer{"Deny", isDenyRed,
               R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"deny",)"
               R"("message":"Denied in Pelorin."}}})"}),
    [](const auto& test) { return test.param.name; });

/// The program with nothing around it but this display, a home and a port of its own.
std::unique_ptr<TestProcess> startAlone(const Desktop& desktop, const QTemporaryDir& home, std::uint16_t port,
                                        const std::vector<std::string>& arguments = {}) {
    std::vector<std::string> command{PELORIN_BINARY_DIR "/pelorin"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = sanitizerOptions();
    environment.insert(environment.end(),
                       {"LANG=C.UTF-8", "PATH=/usr/bin:/bin", "DISPLAY=" + desktop.display(),
                        "HOME=" + home.path().toStdString(), "XDG_RUNTIME_DIR=" + home.path().toStdString(),
                        "BEACONRY_PORT=" + std::to_string(port), "all_proxy=http://127.0.0.1:9",
                        "PELORIN_HOOK_SETUP=" PELORIN_BINARY_DIR "/pelorin-hook-setup"});
    return TestProcess::start({.command = command, .environment = environment, .workingDirectory = "/"});
}

class AlertOnADesktop : public ::testing::TestWithParam<const char*> {};

TEST_P(AlertOnADesktop, TellsOfABusyPortUntilItIsClosed) {
    const std::string title = "^Pelorin$";
    const Desktop desktop;
    const QTemporaryDir home;
    const LoopbackListener somebody;
    const auto program = startAlone(desktop, home, somebody.port());
    ASSERT_TRUE(desktop.waitForWindow(title, true));
    if (const QString file = qEnvironmentVariable("PELORIN_ALERT_PICTURE"); !file.isEmpty())
        desktop.picture().save(file);
    // The window may not have the keyboard yet, or the button not be there.
    std::optional<ChildExit> exit;
    const WaitLimit limit(patience);
    while (!exit && limit.remainingMilliseconds() > 0) {
        if (std::string_view(GetParam()) == "click")
            desktop.clickAtTheLowerRight(title, QPoint(44, 36));
        else
            desktop.pressKey(GetParam());
        exit = program->waitForExit(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(exit, exited(1));
    // What is said there stands on standard error all the same.
    EXPECT_EQ(program->errors(), "Pelorin could not listen on port " + std::to_string(somebody.port()) +
                                     "\nIs another copy already running? (notReady)\n");
}

INSTANTIATE_TEST_SUITE_P(Ways, AlertOnADesktop, ::testing::Values("Return", "Escape", "alt+F4", "click"),
                         [](const auto& test) { return "By" + std::to_string(test.index); });

TEST(ManagerWindowOnADesktop, InstallsFromTheCheckoutThatTheProgramWasBuiltIn) {
    const Desktop desktop;
    const QTemporaryDir home;
    const auto program = startAlone(desktop, home, LoopbackListener().port(), {"--manager"});
    ASSERT_TRUE(desktop.waitForManager(true)) << program->errors();
    QFile settings(home.filePath(".claude/settings.json"));
    const WaitLimit limit(patience);
    while (!settings.exists() && limit.remainingMilliseconds() > 0) {
        desktop.pressKey("alt+e");
        desktop.pressKey("alt+i");
    }
    ASSERT_TRUE(settings.open(QIODevice::ReadOnly));
    EXPECT_THAT(settings.readAll().toStdString(), HasSubstr(PELORIN_SOURCE_DIR "/hooks/claude-permission-hook.sh"));
}

std::string shippedText(const char* name) {
    QFile file(QStringLiteral(PELORIN_SOURCE_DIR "/packaging/") + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return file.readAll().toStdString();
}

TEST(ManagerWindowOnADesktop, HasThePictureOfTheInstalledEntryAndIsKnownByIt) {
    const Desktop desktop;
    const RunningApplication application({{"decisionWaitSeconds", 45}}, RunningApplication::Screen::x11,
                                         desktop.display());
    EXPECT_EQ(application.startAnotherCopy({"--manager"})->waitForExit(), exited(0));
    ASSERT_TRUE(desktop.waitForManager(true));
    const std::string properties = desktop.managerProperties();
    for (const char* icon : {"Icon (16 x 16)", "Icon (32 x 32)", "Icon (48 x 48)", "Icon (128 x 128)"})
        EXPECT_NE(properties.find(icon), std::string::npos) << icon;
    EXPECT_NE(properties.find("WM_CLASS(STRING) = \"pelorin\", "), std::string::npos);
    const std::string entry = shippedText("com.pelorin.manager.desktop");
    EXPECT_THAT(entry, HasSubstr("\nIcon=com.pelorin.manager\n"));
    EXPECT_THAT(entry, HasSubstr("\nStartupWMClass=pelorin\n"));
    EXPECT_THAT(shippedText("icons/com.pelorin.manager.svg"), HasSubstr("<svg "));
}

TEST(ManagerWindowOnADesktop, ComesForwardWhenTheProgramIsStartedAgain) {
    const Desktop desktop;
    const RunningApplication application({{"decisionWaitSeconds", 45}}, RunningApplication::Screen::x11,
                                         desktop.display());
    EXPECT_TRUE(desktop.waitForManager(false));
    const auto asking = application.startAnotherCopy({"--manager"});
    EXPECT_EQ(asking->waitForExit(), exited(0));
    EXPECT_EQ(asking->output() + asking->errors(), "");
    ASSERT_TRUE(desktop.waitForManager(true));

    desktop.pressKey("Escape");
    ASSERT_TRUE(desktop.waitForManager(false));
    const auto copy = application.startAnotherCopy();
    EXPECT_EQ(copy->waitForExit(), exited(1));
    EXPECT_THAT(copy->errors(), HasSubstr("Pelorin could not listen on port "));
    EXPECT_TRUE(desktop.waitForManager(true));
}

} // namespace
} // namespace pelorin
