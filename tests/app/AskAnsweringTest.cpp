#include "tests/app/PartsFixture.h"

#include <thread>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AskAnsweringTest : public PartsFixture {
protected:
    /// The pane of the test's rows was chosen, and the window asked for.
    bool isFocused() const {
        const QList<QStringList> commands{{"/usr/bin/env", "tmux", "select-window", "-t", "%3"},
                                          {"/usr/bin/env", "tmux", "select-pane", "-t", "%3"}};
        return launcher.starts == commands && raiser.devices == QStringList("/dev/pts/7");
    }
    bool isLeftAlone() const { return launcher.starts.isEmpty() && raiser.devices.isEmpty(); }
};

TEST_F(AskAnsweringTest, AnswersTheWaitingHookAndWithdrawsTheRow) {
    const std::pair<AskAction, const char*> rows[] = {
        {AskAction::allow(), R"({"decision":"allow"})"},
        {AskAction::deny(), R"({"decision":"deny"})"},
        {AskAction::dismiss(), R"({"decision":"ask"})"},
    };
    for (const auto& [action, reply] : rows) {
        replies.clear();
        answering.handle(parked("request"), action);
        EXPECT_THAT(replies, ElementsAre(QByteArray(reply)));
        EXPECT_THAT(shownIds(), IsEmpty());
        EXPECT_TRUE(isLeftAlone()) << reply;
    }
}

TEST_F(AskAnsweringTest, OpenHandsTheQuestionBackAndShowsTheTerminal) {
    answering.handle(parked("request"), AskAction::open());
    EXPECT_THAT(replies, ElementsAre(QByteArray(R"({"decision":"ask"})")));
    EXPECT_TRUE(isFocused());
    EXPECT_THAT(shownIds(), IsEmpty());
}

TEST_F(AskAnsweringTest, AHookThatWaitsNoLongerLeavesTheAnswerToTheTerminal) {
    for (const AskAction& action : {AskAction::allow(), AskAction::deny()}) {
        launcher.starts.clear();
        raiser.devices.clear();
        answering.handle(row("gone"), action);
        EXPECT_TRUE(isFocused());
        EXPECT_THAT(shownIds(), IsEmpty());
    }
}

TEST_F(AskAnsweringTest, ARowWithoutAHookIsOnlyWithdrawnByADecision) {
    for (const AskAction& action : {AskAction::allow(), AskAction::deny(), AskAction::dismiss()}) {
        answering.handle(row(), action);
        EXPECT_THAT(shownIds(), IsEmpty());
        EXPECT_TRUE(isLeftAlone());
    }
}

TEST_F(AskAnsweringTest, OpenOnARowWithoutAHookShowsTheTerminal) {
    answering.handle(row(), AskAction::open());
    EXPECT_TRUE(isFocused());
    EXPECT_THAT(shownIds(), IsEmpty());
}

TEST_F(AskAnsweringTest, APhonesDecisionCompletesTheRequestAndWithdrawsTheRow) {
    for (const auto& [decision, reply] :
         {std::pair(Decision::allow, R"({"decision":"allow"})"), std::pair(Decision::deny, R"({"decision":"deny"})")}) {
        replies.clear();
        parked("request");
        answering.decideByPhone("request", decision);
        EXPECT_THAT(replies, ElementsAre(QByteArray(reply)));
        EXPECT_THAT(shownIds(), IsEmpty());
        EXPECT_TRUE(isLeftAlone()) << reply;
    }
}

TEST_F(AskAnsweringTest, APhonesDecisionOnWhatIsGoneWithdrawsTheRow) {
    row("gone");
    answering.decideByPhone("gone", Decision::allow);
    EXPECT_THAT(shownIds(), IsEmpty());
    EXPECT_TRUE(isLeftAlone());
}

TEST_F(AskAnsweringTest, TypesOptionsAndTextsIntoThePane) {
    answering.handle(row(), AskAction::option(1));
    answering.handle(row(), AskAction::text("go on"));
    EXPECT_THAT(runner.runs, ElementsAre(QStringList({"tmux", "send-keys", "-t", "%3", "2"}),
                                         QStringList({"tmux", "send-keys", "-t", "%3", "Enter"}),
                                         QStringList({"tmux", "send-keys", "-t", "%3", "go on"}),
                                         QStringList({"tmux", "send-keys", "-t", "%3", "Enter"})));
    EXPECT_THAT(shownIds(), IsEmpty());
    EXPECT_TRUE(isLeftAlone());
}

TEST_F(AskAnsweringTest, AnAnswerThatNeedsTheTerminalShowsItAndKeepsTheRow) {
    AskEvent ask{.sessionId = "session", .tty = "pts/7", .termProgram = "WezTerm"};
    store.upsert(ask);
    answering.handle(ask, AskAction::option(0));
    answering.handle(ask, AskAction::text("yes"));
    EXPECT_THAT(runner.runs, IsEmpty());
    EXPECT_EQ(raiser.devices, QStringList({"/dev/pts/7", "/dev/pts/7"}));
    EXPECT_EQ(shownIds(), QStringList("session"));
}

TEST_F(AskAnsweringTest, ASessionOfTheLauncherMayBeTypedInto) {
    const AskEvent ask{.sessionId = "session", .termProgram = "Apple_Terminal"};
    settings.setInjectionAllowlistRaw({});
    store.upsert(ask);
    answering.handle(ask, AskAction::text("yes"));
    EXPECT_THAT(runner.runs, IsEmpty());
    EXPECT_EQ(shownIds(), QStringList("session"));

    registry.registerSession({.sessionId = "session", .optIn = true});
    answering.handle(ask, AskAction::text("yes"));
    EXPECT_EQ(runner.runs.size(), 1);
    EXPECT_THAT(shownIds(), IsEmpty());
}

TEST_F(AskAnsweringTest, UnfoldingFillsTheRowWithWhatItsTerminalShows) {
    QStringList lines;
    for (int line = 1; line <= 22; ++line)
        lines << QString("line %1").arg(line) << "";
    lines << "Do you want to proceed?"
          << "❯ 1. Yes"
          << "  2. No";
    runner.result = lines.join('\n');
    row();
    const AskEvent ask = row("request");
    answering.handle(ask, AskAction::expand());
    EXPECT_THAT(runner.runs, ElementsAre(QStringList({"tmux", "capture-pane", "-p", "-t", "%3"})));
    ASSERT_EQ(shownIds(), QStringList({"session", "request"}));
    const AskEvent& shown = *store.asks().at(1);
    const QStringList detail = shown.detail.split('\n');
    ASSERT_EQ(detail.size(), 20);
    EXPECT_EQ(detail.first(), "line 6");
    EXPECT_EQ(detail.last(), "  2. No");
    ASSERT_EQ(shown.options.size(), 2);
    EXPECT_EQ(shown.options.at(1).label, "No");
    EXPECT_EQ(store.asks().at(0)->detail, "");
}

TEST_F(AskAnsweringTest, KnowsTheRowThatItHasUnfoldedFromAnyOther) {
    const AskEvent ask = row("request");
    EXPECT_EQ(answering.unfolded(ask), ask);
    runner.result = "Do you want to proceed?\n❯ 1. Yes\n  2. No";
    answering.expand("request");
    ASSERT_NE(*store.ask("request"), ask);
    EXPECT_EQ(answering.unfolded(ask), *store.ask("request"));

    AskEvent later = *store.ask("request");
    later.receivedAt += std::chrono::seconds(1);
    store.upsert(later);
    EXPECT_EQ(answering.unfolded(ask), std::nullopt);
    store.remove("request");
    EXPECT_EQ(answering.unfolded(ask), std::nullopt);
}

TEST_F(AskAnsweringTest, UnfoldingWhatCannotBeReadChangesNothing) {
    const AskEvent ask = row();
    const SharedAsks before = store.asks();
    runner.result = std::nullopt;
    answering.handle(ask, AskAction::expand());
    EXPECT_EQ(store.asks(), before);
    runner.runs.clear();
    answering.expand("another");
    EXPECT_THAT(runner.runs, IsEmpty());
}

TEST_F(AskAnsweringTest, UnfoldingFromAnotherThreadIsDoneOnTheMainThread) {
    row();
    runner.result = "here";
    std::thread caller([this] {
        answering.expand("session");
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit);
    });
    QCoreApplication::exec();
    caller.join();
    EXPECT_EQ(store.asks().at(0)->detail, "here");
}

} // namespace
} // namespace pelorin
