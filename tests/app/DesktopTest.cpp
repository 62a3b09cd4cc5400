#include "tests/app/PanelPicture.h"
#include "tests/app/RunningApplication.h"
#include "tests/support/Patience.h"

#include <QFile>
#include <QImage>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

/// A display of its own with a window manager, and a pointer that the test moves.
class Desktop {
public:
    Desktop() {
        m_server = TestProcess::start(
            {.command = {"/usr/bin/Xvfb", "-displayfd", "1", "-screen", "0", "1280x800x24", "-nolisten", "tcp"},
             .environment = {"PATH=/usr/bin:/bin"}});
        EXPECT_TRUE(m_server->waitForOutput([](const std::string& text) { return text.ends_with('\n'); }));
        m_display = ":" + m_server->output().substr(0, m_server->output().find('\n'));
        m_windowManager = TestProcess::start({.command = {"/usr/bin/openbox"}, .environment = environment()});
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

    /// Waits until the manager window is on the screen, or is not.
    bool waitForManager(bool isShown) const {
        const WaitLimit limit(patience);
        const std::vector<std::string> search{"/usr/bin/xdotool", "search", "--onlyvisible", "--name",
                                              "^AI Session Manager$"};
        while (runProgram(search, environment()).output.empty() == isShown) {
            if (limit.remainingMilliseconds() == 0)
                return false;
        }
        return true;
    }

private:
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
    EXPECT_THAT(copy->errors(), ::testing::HasSubstr("Pelorin could not listen on port "));
    EXPECT_TRUE(desktop.waitForManager(true));
}

} // namespace
} // namespace pelorin
