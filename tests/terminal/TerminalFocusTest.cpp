#include "BeaconryKit/terminal/TerminalFocus.h"

#include "tests/support/Eventually.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingPrograms.h"
#include "tests/support/RecordingRaiser.h"

#include "BeaconryKit/terminal/ProcessLauncher.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;
using Place = TerminalFocus::Place;

const std::optional<QString> noDevice;
const QString device = QStringLiteral("/dev/ttys003");

const QString terminalScript = QStringLiteral(R"(tell application "Terminal"
    activate
    repeat with w in windows
        repeat with t in tabs of w
            if tty of t is "/dev/ttys003" then
                set selected of t to true
                set index of w to 1
            end if
        end repeat
    end repeat
end tell)");

const QString iTermScript = QStringLiteral(R"(tell application "iTerm2"
    activate
    repeat with w in windows
        repeat with t in tabs of w
            repeat with s in sessions of t
                if tty of s is "/dev/ttys003" then
                    select s
                    select t
                    select w
                end if
            end repeat
        end repeat
    end repeat
end tell)");

QStringList osascript(const QString& script) {
    return {"/usr/bin/osascript", "-e", script};
}

QStringList env(const QStringList& command) {
    return QStringList("/usr/bin/env") + command;
}

struct Script {
    QString termProgram;
    std::optional<QString> withDevice;
    std::optional<QString> withoutDevice;
};

class TerminalScripts : public ::testing::TestWithParam<Script> {};

TEST_P(TerminalScripts, AreTheseTexts) {
    EXPECT_EQ(TerminalFocus::script(GetParam().termProgram, device), GetParam().withDevice);
    EXPECT_EQ(TerminalFocus::script(GetParam().termProgram, noDevice), GetParam().withoutDevice);
}

TEST_P(TerminalScripts, AreRunForAPlaceOfWhichNoMoreIsKnown) {
    for (const auto& [tty, script] :
         {std::pair(std::optional(device), GetParam().withDevice), std::pair(noDevice, GetParam().withoutDevice)}) {
        const QList<QStringList> expected = script ? QList<QStringList>{osascript(*script)} : QList<QStringList>();
        RecordingLauncher launcher;
        RecordingRaiser raiser;
        TerminalFocus focus(launcher, raiser);
        focus.focus(GetParam().termProgram, tty);
        EXPECT_EQ(launcher.starts, expected);
        launcher.starts.clear();
        focus.focus(Place{.termProgram = GetParam().termProgram, .ttyDevicePath = tty});
        EXPECT_EQ(launcher.starts, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    TerminalFocus, TerminalScripts,
    ::testing::Values(
        Script{"Apple_Terminal", terminalScript, "tell application \"Terminal\" to activate"},
        Script{"iTerm.app", iTermScript, "tell application \"iTerm2\" to activate"},
        Script{"ghostty", "tell application \"Ghostty\" to activate", "tell application \"Ghostty\" to activate"},
        Script{"WarpTerminal", "tell application \"Warp\" to activate", "tell application \"Warp\" to activate"},
        Script{"vscode", "tell application \"Visual Studio Code\" to activate",
               "tell application \"Visual Studio Code\" to activate"},
        // Names are taken to the letter; what tells of wezterm or kitty alone leads nowhere.
        Script{"WezTerm", {}, {}}, Script{"xterm-kitty", {}, {}}, Script{"apple_terminal", {}, {}},
        Script{"iTerm2", {}, {}}, Script{"Ghostty", {}, {}}, Script{"iTerm.app ", {}, {}}, Script{"", {}, {}}));

TEST(TerminalFocus, PutsTheDeviceIntoAScriptAsItStands) {
    EXPECT_TRUE(
        TerminalFocus::script("Apple_Terminal", "/dev/a\"b\\c")->contains("if tty of t is \"/dev/a\"b\\c\" then"));
    EXPECT_TRUE(TerminalFocus::script("iTerm.app", "/dev/a\"b\\c")->contains("if tty of s is \"/dev/a\"b\\c\" then"));
}

struct Focusing {
    const char* name;
    Place place;
    QList<QStringList> starts;
    std::optional<QString> script;
};

class TerminalPlaces : public ::testing::TestWithParam<Focusing> {};

TEST_P(TerminalPlaces, AreFocusedByTheseCommands) {
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    TerminalFocus(launcher, raiser).focus(GetParam().place);
    EXPECT_EQ(launcher.starts, GetParam().starts);
    EXPECT_EQ(TerminalFocus::script(GetParam().place), GetParam().script);
}

const QString activateITerm = QStringLiteral("tell application \"iTerm2\" to activate");
const QList<QStringList> tmuxCommands{env({"tmux", "select-window", "-t", "%3"}),
                                      env({"tmux", "select-pane", "-t", "%3"})};
const QStringList weztermCommand = env({"wezterm", "cli", "activate-pane", "--pane-id", "5"});
const QStringList kittyCommand = env({"kitten", "@", "focus-window", "--match", "id:7"});
const QString tmuxLine = QStringLiteral("tmux select-window -t %3; tmux select-pane -t %3");
const QString weztermLine = QStringLiteral("wezterm cli activate-pane --pane-id 5");
const QString kittyLine = QStringLiteral("kitten @ focus-window --match id:7");

INSTANTIATE_TEST_SUITE_P(
    TerminalFocus, TerminalPlaces,
    ::testing::Values(
        Focusing{"Tmux", {.tmuxPane = "%3"}, tmuxCommands, tmuxLine},
        Focusing{"TmuxInAnUnknownProgram", {.termProgram = "tmux", .tmuxPane = "%3"}, tmuxCommands, tmuxLine},
        // The pane is chosen, and the application is activated: the device leads nowhere, because it is tmux's own.
        Focusing{"TmuxBeforeEverythingElse",
                 {.termProgram = "iTerm.app",
                  .ttyDevicePath = device,
                  .tmuxPane = "%3",
                  .weztermPane = "5",
                  .kittyWindowId = "7"},
                 tmuxCommands + QList<QStringList>{osascript(activateITerm)},
                 tmuxLine},
        Focusing{"Wezterm", {.termProgram = "WezTerm", .weztermPane = "5"}, {weztermCommand}, weztermLine},
        Focusing{"WeztermBeforeKitty",
                 {.termProgram = "vscode", .ttyDevicePath = device, .weztermPane = "5", .kittyWindowId = "7"},
                 {weztermCommand, osascript("tell application \"Visual Studio Code\" to activate")},
                 weztermLine},
        Focusing{"Kitty", {.ttyDevicePath = device, .kittyWindowId = "7"}, {kittyCommand}, kittyLine},
        Focusing{"KittyInAnotherProgram",
                 {.termProgram = "Apple_Terminal", .ttyDevicePath = device, .kittyWindowId = "7"},
                 {kittyCommand, osascript("tell application \"Terminal\" to activate")},
                 kittyLine},
        Focusing{"AnIdWithBlanks",
                 {.tmuxPane = "a b;c"},
                 {env({"tmux", "select-window", "-t", "a b;c"}), env({"tmux", "select-pane", "-t", "a b;c"})},
                 "tmux select-window -t a b;c; tmux select-pane -t a b;c"},
        Focusing{"WeztermWithoutItsPane", {.termProgram = "WezTerm", .ttyDevicePath = device}, {}, {}},
        Focusing{"Nothing", {}, {}, {}}),
    [](const auto& test) { return test.param.name; });

/// Every program that is activated behind a tool's command.
TEST(TerminalFocus, ActivatesTheApplicationByItsName) {
    for (const auto& [termProgram, application] :
         {std::pair("Apple_Terminal", "Terminal"), std::pair("iTerm.app", "iTerm2"), std::pair("ghostty", "Ghostty"),
          std::pair("WarpTerminal", "Warp"), std::pair("vscode", "Visual Studio Code")}) {
        RecordingLauncher launcher;
        RecordingRaiser raiser;
        TerminalFocus(launcher, raiser).focus(Place{.termProgram = termProgram, .kittyWindowId = "7"});
        EXPECT_THAT(
            launcher.starts,
            ElementsAre(kittyCommand, osascript(QString("tell application \"%1\" to activate").arg(application))));
    }
}

TEST(TerminalFocus, KnowsThePlaceOfAnAskAndOfASession) {
    const AskEvent ask{.sessionId = "s1",
                       .tty = "ttys003",
                       .termProgram = "iTerm.app",
                       .tmuxPane = "%3",
                       .weztermPane = "5",
                       .kittyWindowId = "7"};
    const SessionInfo session{.sessionId = "s1",
                              .tty = "ttys003",
                              .termProgram = "iTerm.app",
                              .tmuxPane = "%3",
                              .weztermPane = "5",
                              .kittyWindowId = "7"};
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    TerminalFocus focus(launcher, raiser);
    focus.focus(ask);
    focus.focus(session);
    const QList<QStringList> once = tmuxCommands + QList<QStringList>{osascript(activateITerm)};
    EXPECT_EQ(launcher.starts, once + once);
    EXPECT_THAT(raiser.devices, ElementsAre(device, device));
    EXPECT_EQ(TerminalFocus::script(ask), tmuxLine);

    const auto scriptOf = [](QString tty, QString wezterm, QString kitty) {
        return TerminalFocus::script(AskEvent{.sessionId = "s1",
                                              .tty = std::move(tty),
                                              .termProgram = "iTerm.app",
                                              .weztermPane = std::move(wezterm),
                                              .kittyWindowId = std::move(kitty)});
    };
    EXPECT_EQ(scriptOf("ttys003", "5", "7"), weztermLine);
    EXPECT_EQ(scriptOf("ttys003", "", "7"), kittyLine);
    EXPECT_EQ(scriptOf("ttys003", "", ""), iTermScript);
    EXPECT_EQ(scriptOf("??", "", ""), activateITerm);
    EXPECT_EQ(scriptOf("", "", ""), activateITerm);
}

TEST(TerminalFocus, TakesADeviceThatNobodyKnowsForNone) {
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    TerminalFocus focus(launcher, raiser);
    focus.focus(AskEvent{.sessionId = "s1", .tty = "??", .termProgram = "iTerm.app"});
    focus.focus(SessionInfo{.sessionId = "s1", .tty = "", .termProgram = "Apple_Terminal"});
    EXPECT_THAT(launcher.starts,
                ElementsAre(osascript(activateITerm), osascript("tell application \"Terminal\" to activate")));
    EXPECT_THAT(raiser.devices, IsEmpty());
}

TEST(TerminalFocus, LetsTheDesktopRaiseTheDevicesWindowAtLast) {
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    TerminalFocus focus(launcher, raiser);
    focus.focus(Place{.ttyDevicePath = "/dev/pts/1", .tmuxPane = "%3"});
    focus.focus(Place{.ttyDevicePath = "/dev/pts/2", .weztermPane = "5"});
    focus.focus(Place{.ttyDevicePath = "/dev/pts/3", .kittyWindowId = "7"});
    // Of the terminal programs that have no tool and no AppleScript this is all that can be done.
    focus.focus(Place{.termProgram = "xterm", .ttyDevicePath = "/dev/pts/4"});
    focus.focus("vscode", "/dev/pts/5");
    focus.focus("vscode", noDevice);
    EXPECT_THAT(raiser.devices, ElementsAre("/dev/pts/1", "/dev/pts/2", "/dev/pts/3", "/dev/pts/4", "/dev/pts/5"));
}

TEST(TerminalFocus, ReachesTheProgramsOnTheSearchPath) {
    const RecordingPrograms programs({"tmux", "wezterm", "kitten"});
    ProcessLauncher launcher;
    RecordingRaiser raiser;
    TerminalFocus focus(launcher, raiser);
    focus.focus(Place{.tmuxPane = "%3"});
    focus.focus(Place{.weztermPane = "5"});
    focus.focus(Place{.kittyWindowId = "7"});
    // Nobody waits for them, so they may come to write in any order.
    EXPECT_TRUE(eventually([&] { return programs.runs().size() == 4; }));
    EXPECT_THAT(programs.runs(), UnorderedElementsAre(QStringList{"tmux", "select-window", "-t", "%3"},
                                                      QStringList{"tmux", "select-pane", "-t", "%3"},
                                                      QStringList{"wezterm", "cli", "activate-pane", "--pane-id", "5"},
                                                      QStringList{"kitten", "@", "focus-window", "--match", "id:7"}));
}

} // namespace
} // namespace pelorin
