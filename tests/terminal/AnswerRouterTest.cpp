#include "BeaconryKit/terminal/AnswerRouter.h"

#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/RecordingPrograms.h"
#include "tests/support/RecordingRunner.h"

#include "BeaconryKit/terminal/ProcessRunner.h"

#include <gmock/gmock.h>

#include <limits>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

const SessionTarget inTmux{.tmuxPane = "%4"};
const SessionTarget inITerm{.termProgram = "iTerm.app"};
const SessionTarget inTerminal{.termProgram = "Apple_Terminal"};

const QString iTermStart = "tell application \"iTerm2\" to tell current session of current window to write text \"";
const QString terminalStart =
    "tell application \"Terminal\" to activate\ntell application \"System Events\" to keystroke \"";

class AnswerRouterTest : public ::testing::Test {
protected:
    /// An ask whose hook waits for the answer.
    AskEvent parked() {
        router.park("r1", 45, [this](const QByteArray& body) { replies.append(body); });
        return {.sessionId = "s1", .requestId = "r1"};
    }

    ManualDispatch dispatch;
    DecisionRouter router{dispatch};
    MemoryUserDefaults defaults;
    NotifierSettings settings{defaults};
    RecordingRunner runner;
    AnswerRouter answers{router, settings, runner};
    QByteArrayList replies;
    const AskEvent notice{.sessionId = "s1"};
};

TEST_F(AnswerRouterTest, AnswersTheWaitingHook) {
    for (const auto& [decision, reply] :
         {std::pair(Decision::allow, R"({"decision":"allow"})"), std::pair(Decision::deny, R"({"decision":"deny"})"),
          std::pair(Decision::ask, R"({"decision":"ask"})")}) {
        replies.clear();
        // Even where nothing may be typed.
        EXPECT_EQ(answers.answer(parked(), AskChoice::decision(decision), {}), AnswerResult::resolvedViaHook());
        EXPECT_THAT(replies, ElementsAre(reply));
    }
    EXPECT_TRUE(runner.runs.isEmpty());
}

TEST_F(AnswerRouterTest, AnAnswerIsNoExpiry) {
    bool isExpired = false;
    router.park(
        "r1", 45, [this](const QByteArray& body) { replies.append(body); }, [&] { isExpired = true; });
    answers.answer({.sessionId = "s1", .requestId = "r1"}, AskChoice::decision(Decision::ask), {});
    EXPECT_THAT(replies, ElementsAre(R"({"decision":"ask"})"));
    dispatch.advance(1min);
    EXPECT_FALSE(isExpired);
}

TEST_F(AnswerRouterTest, TypesTheDecisionWhenTheHookNoLongerWaits) {
    const AskEvent ask = parked();
    dispatch.advance(45s);
    replies.clear();
    EXPECT_EQ(answers.answer(ask, AskChoice::decision(Decision::allow), inTmux), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"tmux", "send-keys", "-t", "%4", "1"},
                                         QStringList{"tmux", "send-keys", "-t", "%4", "Enter"}));
    EXPECT_TRUE(replies.isEmpty());
}

TEST_F(AnswerRouterTest, LeavesTheHookAloneForOtherAnswers) {
    EXPECT_EQ(answers.answer(parked(), AskChoice::option(0), inTmux), AnswerResult::injected());
    EXPECT_EQ(answers.answer(parked(), AskChoice::text("x"), inTmux), AnswerResult::injected());
    EXPECT_TRUE(replies.isEmpty());
}

TEST_F(AnswerRouterTest, DoesNotAnswerTheHookOfAnEmptyRequest) {
    router.park("", 45, [this](const QByteArray& body) { replies.append(body); });
    EXPECT_EQ(answers.answer(notice, AskChoice::decision(Decision::allow), inTmux), AnswerResult::injected());
    EXPECT_TRUE(replies.isEmpty());
}

struct Typed {
    AskChoice choice;
    const char* text;
};

class TypedText : public AnswerRouterTest, public ::testing::WithParamInterface<Typed> {};

TEST_P(TypedText, IsTheMenusKeyOrTheTextItself) {
    EXPECT_EQ(answers.answer(notice, GetParam().choice, inTmux), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"tmux", "send-keys", "-t", "%4", GetParam().text},
                                         QStringList{"tmux", "send-keys", "-t", "%4", "Enter"}));
}

INSTANTIATE_TEST_SUITE_P(
    AnswerRouter, TypedText,
    ::testing::Values(Typed{AskChoice::decision(Decision::allow), "1"}, Typed{AskChoice::decision(Decision::deny), "2"},
                      Typed{AskChoice::decision(Decision::ask), "2"}, Typed{AskChoice::option(0), "1"},
                      Typed{AskChoice::option(2), "3"}, Typed{AskChoice::option(9), "10"},
                      Typed{AskChoice::option(std::numeric_limits<qint64>::max() - 1), "9223372036854775807"},
                      Typed{AskChoice::text("it's \"so\" \\ 100%"), "it's \"so\" \\ 100%"},
                      Typed{AskChoice::text("two\nlines"), "two\nlines"}, Typed{AskChoice::text("Enter"), "Enter"},
                      Typed{AskChoice::text("C-c"), "C-c"}, Typed{AskChoice::text(""), ""}));

TEST_F(AnswerRouterTest, TypesIntoITerm) {
    EXPECT_EQ(answers.answer(notice, AskChoice::option(1), inITerm), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"osascript", "-e", iTermStart + "2\""}));
}

TEST_F(AnswerRouterTest, TypesIntoTerminal) {
    settings.setInjectionAllowlistRaw("Apple_Terminal");
    EXPECT_EQ(answers.answer(notice, AskChoice::text("yes"), inTerminal), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"osascript", "-e", terminalStart + "yes\" & return"}));
}

TEST_F(AnswerRouterTest, EscapesTheBackslashBeforeTheQuote) {
    EXPECT_EQ(answers.answer(notice, AskChoice::text(R"(a"b\c\"d)"), inITerm), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"osascript", "-e", iTermStart + R"(a\"b\\c\\\"d)" + "\""}));
    runner.runs.clear();
    settings.setInjectionAllowlistRaw("Apple_Terminal");
    // A line end stays as it is, inside the quotes.
    EXPECT_EQ(answers.answer(notice, AskChoice::text("\"\n\\"), inTerminal), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"osascript", "-e", terminalStart + "\\\"\n\\\\\" & return"}));
}

TEST_F(AnswerRouterTest, ReachesTheRealToolWithItsScriptInOneArgument) {
    RecordingPrograms programs({"osascript"});
    ProcessRunner processes;
    AnswerRouter real(router, settings, processes);
    EXPECT_EQ(real.answer(notice, AskChoice::text("say \"é\" \\"), inITerm), AnswerResult::injected());
    SessionTarget chosen = inTerminal;
    chosen.optIn = true;
    EXPECT_EQ(real.answer(notice, AskChoice::option(0), chosen), AnswerResult::injected());
    EXPECT_THAT(programs.runs(), ElementsAre(QStringList{"osascript", "-e", iTermStart + "say \\\"é\\\" \\\\\""},
                                             QStringList{"osascript", "-e", terminalStart + "1\" & return"}));
}

TEST_F(AnswerRouterTest, PrefersTmuxToTheTerminalAroundIt) {
    const SessionTarget both{.tmuxPane = "%4", .termProgram = "iTerm.app"};
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), both), AnswerResult::injected());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList{"tmux", "send-keys", "-t", "%4", "x"},
                                         QStringList{"tmux", "send-keys", "-t", "%4", "Enter"}));
}

TEST_F(AnswerRouterTest, CountsAnAnswerAsTypedWhateverTheToolSays) {
    runner.result = std::nullopt;
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inTmux), AnswerResult::injected());
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inITerm), AnswerResult::injected());
    // The second half is tried even when the first failed.
    EXPECT_EQ(runner.runs.size(), 3);
}

TEST_F(AnswerRouterTest, TypesOnlyWhereTheUserAllowsIt) {
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inTerminal), AnswerResult::needsTerminal());
    // The list is read anew for each answer.
    settings.setInjectionAllowlistRaw("Apple_Terminal");
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inITerm), AnswerResult::needsTerminal());
    EXPECT_TRUE(runner.runs.isEmpty());
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inTerminal), AnswerResult::injected());
    settings.setInjectionAllowlistRaw("");
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inTerminal), AnswerResult::needsTerminal());
    EXPECT_EQ(runner.runs.size(), 1);
}

TEST_F(AnswerRouterTest, TypesIntoAnyTmuxAndAnySessionOfTheLauncher) {
    settings.setInjectionAllowlistRaw("");
    EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), inTmux), AnswerResult::injected());
    for (SessionTarget chosen : {inITerm, inTerminal}) {
        chosen.optIn = true;
        EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), chosen), AnswerResult::injected());
    }
}

TEST_F(AnswerRouterTest, CannotTypeIntoOtherTerminals) {
    settings.setInjectionAllowlistRaw("WezTerm, ghostty, iterm.app");
    for (const char* program : {"WezTerm", "ghostty", "iterm.app", ""}) {
        const SessionTarget target{.tty = "/dev/pts/1", .termProgram = program, .optIn = true};
        EXPECT_EQ(answers.answer(notice, AskChoice::text("x"), target), AnswerResult::needsTerminal()) << program;
    }
    EXPECT_TRUE(runner.runs.isEmpty());
}

TEST_F(AnswerRouterTest, LooksAtThePermissionToTypeBeforeThePosition) {
    const AskChoice last = AskChoice::option(std::numeric_limits<qint64>::max());
    EXPECT_EQ(answers.answer(notice, last, {}), AnswerResult::needsTerminal());
}

using AnswerRouterDeathTest = AnswerRouterTest;

TEST_F(AnswerRouterDeathTest, StopsTheProgramAtAPositionWithoutANumber) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const AskChoice last = AskChoice::option(std::numeric_limits<qint64>::max());
    EXPECT_DEATH(answers.answer(notice, last, inTmux), "Programming error: an option's position");
}

} // namespace
} // namespace pelorin
