#include "tests/support/Eventually.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/Processes.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/support/TmuxServer.h"

#include "BeaconryKit/terminal/AnswerRouter.h"
#include "BeaconryKit/terminal/ExpandedAsk.h"
#include "BeaconryKit/terminal/ProcessLauncher.h"
#include "BeaconryKit/terminal/ProcessRunner.h"
#include "BeaconryKit/terminal/PromptParser.h"
#include "BeaconryKit/terminal/TerminalCapture.h"
#include "BeaconryKit/terminal/TerminalFocus.h"

#include <QFile>
#include <gmock/gmock.h>

#include <csignal>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

/// A session in a real tmux, where a program asks.
class TmuxTest : public ::testing::Test {
protected:
    void SetUp() override {
        target.tmuxPane = server.newSession("work", asking("answers"));
        ASSERT_TRUE(eventually([&] { return screen().contains("3. No"); })) << screen().toStdString();
    }

    QString asking(const QString& file) const {
        return QString("exec '%1/tests/fixtures/programs/asking.sh' '%2'")
            .arg(PELORIN_SOURCE_DIR, server.filePath(file));
    }
    QString screen() { return TerminalCapture::screen(target, runner).value_or("(nothing)"); }
    QString answered(const QString& name = "answers") const {
        QFile file(server.filePath(name));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    void answer(const AskChoice& choice) {
        EXPECT_EQ(answers.answer({.sessionId = "s1"}, choice, target), AnswerResult::injected());
    }

    TmuxServer server;
    ProcessRunner runner;
    SessionTarget target;
    ManualDispatch dispatch;
    DecisionRouter router{dispatch};
    MemoryUserDefaults defaults;
    NotifierSettings settings{defaults};
    AnswerRouter answers{router, settings, runner};
};

TEST_F(TmuxTest, ARowUnfoldsToWhatThePaneShows) {
    const AskEvent ask = expandedAsk({.sessionId = "s1"}, screen());
    EXPECT_EQ(ask.detail, "Do you want to proceed?\n❯ 1. Yes\n  2. Yes, and don't ask again\n  3. No");
    EXPECT_THAT(ask.options, ElementsAre(PromptOption{"1", "Yes"}, PromptOption{"2", "Yes, and don't ask again"},
                                         PromptOption{"3", "No"}));
    EXPECT_FALSE(ask.acceptsText);
    const ParsedPrompt prompt = PromptParser::parse(screen());
    EXPECT_EQ(prompt.question, "Do you want to proceed?");
    EXPECT_EQ(prompt.currentIndex, 0);
}

TEST_F(TmuxTest, APickReachesThePane) {
    answer(AskChoice::option(1));
    EXPECT_TRUE(eventually([&] { return answered() == "2\n"; })) << answered().toStdString();
    EXPECT_TRUE(eventually([&] { return screen().contains("You said “2”."); }));
}

TEST_F(TmuxTest, ADecisionReachesThePane) {
    answer(AskChoice::decision(Decision::allow));
    answer(AskChoice::decision(Decision::deny));
    EXPECT_TRUE(eventually([&] { return answered() == "1\n2\n"; })) << answered().toStdString();
}

TEST_F(TmuxTest, TypedTextReachesThePaneAsItIs) {
    const QString text = "it's \"quoted\", $HOME `x` \\n 100% é❯😀 ; # {}";
    answer(AskChoice::text(text));
    EXPECT_TRUE(eventually([&] { return answered() == text + "\n"; })) << answered().toStdString();
}

TEST_F(TmuxTest, TextThatNamesAKeyIsTheKey) {
    answer(AskChoice::text("C-c"));
    EXPECT_TRUE(eventually([&] { return answered().startsWith("(interrupted)\n"); })) << answered().toStdString();
    answer(AskChoice::text("Enter"));
    // One line end of the text's own, one after each of the two texts.
    EXPECT_TRUE(eventually([&] { return answered() == "(interrupted)\n\n\n\n"; })) << answered().toStdString();
}

TEST_F(TmuxTest, AnswersReachTheirOwnPaneAmongMany) {
    const QString second = server.splitPane(target.tmuxPane, asking("second"));
    const QString third = server.newWindow("work", asking("third"));
    ASSERT_NE(second, "");
    ASSERT_NE(third, "");
    answer(AskChoice::text("first"));
    EXPECT_TRUE(eventually([&] { return answered() == "first\n"; }));
    // What had gone astray would stand before these.
    target.tmuxPane = second;
    answer(AskChoice::text("second"));
    target.tmuxPane = third;
    answer(AskChoice::text("third"));
    EXPECT_TRUE(eventually([&] { return answered("second") == "second\n" && answered("third") == "third\n"; }));
    EXPECT_EQ(answered(), "first\n");
}

TEST_F(TmuxTest, FocusSelectsTheWindowAndThePane) {
    const QString first = target.tmuxPane;
    const QString second = server.splitPane(first, "exec sleep 1000");
    const QString third = server.newWindow("work", "exec sleep 1000");
    const auto isSelected = [&](const QString& pane) {
        return eventually([&] { return server.run({"display-message", "-p", "-t", "work", "#{pane_id}"}) == pane; });
    };
    ASSERT_TRUE(isSelected(first));
    ProcessLauncher launcher;
    RecordingRaiser raiser;
    TerminalFocus focus(launcher, raiser);
    focus.focus(AskEvent{.sessionId = "s1", .tmuxPane = third});
    EXPECT_TRUE(isSelected(third));
    // The window of the pane is another one now, and in it another pane than it had.
    focus.focus(SessionInfo{.sessionId = "s2", .tmuxPane = second});
    EXPECT_TRUE(isSelected(second));
    focus.focus(TerminalFocus::Place{.tmuxPane = first});
    EXPECT_TRUE(isSelected(first));
    // A pane that has gone leaves everything as it is. The launches end before the last look.
    focus.focus(TerminalFocus::Place{.tmuxPane = "%99"});
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty(); }));
    EXPECT_TRUE(isSelected(first));
}

TEST_F(TmuxTest, TheTextFormOfFocusIsAShellsCommandLine) {
    const QString other = server.newWindow("work", "exec sleep 1000");
    const auto line = TerminalFocus::script(TerminalFocus::Place{.tmuxPane = other});
    ASSERT_TRUE(line);
    EXPECT_EQ(runner.run("sh", {"-c", *line}), "");
    EXPECT_EQ(server.run({"display-message", "-p", "-t", "work", "#{pane_id}"}), other);
}

TEST_F(TmuxTest, AVanishedPaneIsNoError) {
    const QString pane = std::exchange(target.tmuxPane, "%99");
    EXPECT_EQ(TerminalCapture::screen(target, runner), "");
    answer(AskChoice::text("x"));
    // What had gone astray would stand before this.
    target.tmuxPane = pane;
    answer(AskChoice::text("y"));
    EXPECT_TRUE(eventually([&] { return answered() == "y\n"; })) << answered().toStdString();
}

TEST_F(TmuxTest, AServerThatHangsHoldsUpNobodyForLong) {
    const pid_t process = server.run({"display-message", "-p", "#{pid}"}).toInt();
    ASSERT_GT(process, 1);
    ASSERT_EQ(kill(process, SIGSTOP), 0);
    const auto start = std::chrono::steady_clock::now();
    const auto result = TerminalCapture::screen(target, runner);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    kill(process, SIGCONT);
    EXPECT_EQ(result, std::nullopt);
    EXPECT_LT(elapsed, 6s);
    EXPECT_TRUE(eventually([&] { return screen().contains("3. No"); }));
}

TEST(NoTmux, WithoutAServerThereIsNothingOnTheScreen) {
    TmuxServer server;
    ProcessRunner runner;
    EXPECT_EQ(TerminalCapture::screen({.tmuxPane = "%0"}, runner), "");
}

} // namespace
} // namespace pelorin
