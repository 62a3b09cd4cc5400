#include "BeaconryKit/terminal/TerminalCapture.h"

#include "tests/support/RecordingPrograms.h"
#include "tests/support/RecordingRunner.h"

#include "BeaconryKit/terminal/ProcessRunner.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;

const QString iTermScript = "tell application \"iTerm2\" to tell current session of current window to return contents";
const QString terminalScript = "tell application \"Terminal\" to return contents of selected tab of front window";

struct Case {
    SessionTarget target;
    QStringList command;
};

class CaptureTargets : public ::testing::TestWithParam<Case> {};

TEST_P(CaptureTargets, AreReadByTheirOwnTool) {
    RecordingRunner runner;
    runner.result = "\n screen \n\n";
    EXPECT_EQ(TerminalCapture::screen(GetParam().target, runner), "\n screen \n\n");
    EXPECT_THAT(runner.runs, ElementsAre(GetParam().command));
}

INSTANTIATE_TEST_SUITE_P(
    TerminalCapture, CaptureTargets,
    ::testing::Values(Case{{.tmuxPane = "%3"}, {"tmux", "capture-pane", "-p", "-t", "%3"}},
                      Case{{.tmuxPane = "%3", .tty = "/dev/pts/1", .termProgram = "iTerm.app", .optIn = true},
                           {"tmux", "capture-pane", "-p", "-t", "%3"}},
                      Case{{.tmuxPane = "a b"}, {"tmux", "capture-pane", "-p", "-t", "a b"}},
                      Case{{.termProgram = "iTerm.app"}, {"osascript", "-e", iTermScript}},
                      Case{{.tty = "/dev/ttys003", .termProgram = "Apple_Terminal"},
                           {"osascript", "-e", terminalScript}}));

TEST(TerminalCapture, RunsNothingForTerminalsThatCannotBeRead) {
    for (const char* program : {"", "iTerm2", "iterm.app", "Apple_terminal", "Terminal", "WezTerm", "ghostty", "vscode",
                                "WarpTerminal", "xterm-kitty", " iTerm.app"}) {
        RecordingRunner runner;
        const SessionTarget target{.tty = "/dev/pts/1", .termProgram = program, .optIn = true};
        EXPECT_EQ(TerminalCapture::screen(target, runner), std::nullopt) << program;
        EXPECT_TRUE(runner.runs.isEmpty()) << program;
    }
}

TEST(TerminalCapture, TellsAnEmptyScreenFromNone) {
    RecordingRunner runner;
    EXPECT_EQ(TerminalCapture::screen({.tmuxPane = "%3"}, runner), "");
    runner.result = std::nullopt;
    EXPECT_EQ(TerminalCapture::screen({.tmuxPane = "%3"}, runner), std::nullopt);
}

TEST(TerminalCapture, ReachesTheRealToolWithItsScriptInOneArgument) {
    RecordingPrograms programs({"osascript"});
    programs.setOutput("❯ 1. Yes\n");
    ProcessRunner runner;
    EXPECT_EQ(TerminalCapture::screen({.termProgram = "iTerm.app"}, runner), "❯ 1. Yes\n");
    EXPECT_EQ(TerminalCapture::screen({.termProgram = "Apple_Terminal"}, runner), "❯ 1. Yes\n");
    EXPECT_THAT(programs.runs(), ElementsAre(QStringList{"osascript", "-e", iTermScript},
                                             QStringList{"osascript", "-e", terminalScript}));
}

} // namespace
} // namespace pelorin
