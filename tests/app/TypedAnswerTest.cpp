#include "BeaconryApp/AskAnswering.h"
#include "tests/support/FakePane.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/RecordingLauncher.h"
#include "tests/support/RecordingRaiser.h"
#include "tests/terminal/CapturedScreen.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const QString permission = QStringLiteral("screens/bash-permission.txt");
const QString question = QStringLiteral("screens/ask-single.txt");
const QString fieldOpen = QStringLiteral("dialogs/claude/question-field-open.txt");

/// Rows of our own helper, whose sessions run in a pane that the test draws.
class TypedAnswerTest : public ::testing::Test {
protected:
    AskEvent request(const QString& command, const QString& id = QStringLiteral("request")) {
        AskEvent ask{.sessionId = QStringLiteral("session"),
                     .requestId = id,
                     .toolName = QStringLiteral("Bash"),
                     .actionSummary = command,
                     .tmuxPane = QStringLiteral("%3")};
        router.park(id, 45, [this](const QByteArray& reply) { replies.append(reply); });
        return shown(ask);
    }
    AskEvent notice(const QString& message, const QString& source = QStringLiteral("claude")) {
        return shown({.sessionId = QStringLiteral("session"),
                      .message = message,
                      .source = source,
                      .tmuxPane = QStringLiteral("%3")});
    }
    AskEvent shown(const AskEvent& ask) {
        store.upsert(ask);
        details.keep(ask, helper);
        return ask;
    }

    /// Unfolds the row, as its terminal is now.
    const AskEvent& unfold(const AskEvent& ask) {
        answering.handle(*store.ask(ask.id()), AskAction::expand());
        return *store.ask(ask.id());
    }
    void pick(const AskEvent& ask, const QString& label) {
        const auto& options = store.ask(ask.id())->options;
        const auto at = std::ranges::find(options, label, &PromptOption::label);
        ASSERT_NE(at, options.end());
        answering.handle(*store.ask(ask.id()), AskAction::option(at - options.begin()));
    }
    void say(const AskEvent& ask, const QString& text) {
        answering.handle(*store.ask(ask.id()), AskAction::text(text));
    }
    void draw(const QString& file) { pane.screen = capturedScreen(file); }
    /// The program in the pane draws that screen when it gets the keys.
    void drawOn(const QString& keys, const QString& screen) {
        reactions.insert(keys, screen);
        pane.onKeys = [this](const QString& typed) {
            if (reactions.contains(typed))
                pane.screen = reactions.value(typed);
        };
    }
    QString withWords(const QString& words) {
        return capturedScreen(fieldOpen).replace("❯ 3. Type something.", "❯ 3. " + words);
    }
    void settle() { dispatch.advance(std::chrono::seconds(10)); }
    bool isShown(const AskEvent& ask) { return store.ask(ask.id()) != nullptr; }

    const QString idle = capturedScreen("dialogs/claude/idle.txt");
    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    FakePane pane;
    RecordingLauncher launcher;
    RecordingRaiser raiser;
    AskStore store;
    SessionRegistry registry;
    NotifierSettings settings{defaults};
    DecisionRouter router{dispatch};
    RequestDetails details{store};
    HelperDetails helper{.version = 1};
    TerminalFocus focus{launcher, raiser};
    AskAnswering answering{{.store = store,
                            .registry = registry,
                            .settings = settings,
                            .router = router,
                            .focus = focus,
                            .runner = pane,
                            .details = &details,
                            .dispatch = &dispatch}};
    QHash<QString, QString> reactions;
    QList<QByteArray> replies;
};

TEST_F(TypedAnswerTest, ThePrintedKeyIsTypedAloneAndTheRowGoesWithTheDialog) {
    const AskEvent ask = request("touch /home/user/project/made-by-tool");
    draw(permission);
    unfold(ask);
    pick(ask, "No");
    EXPECT_THAT(pane.keys, ElementsAre("4"));
    EXPECT_TRUE(isShown(ask));
    dispatch.advance(std::chrono::milliseconds(400));
    EXPECT_TRUE(isShown(ask));
    pane.screen = idle;
    settle();
    EXPECT_FALSE(isShown(ask));
    EXPECT_THAT(pane.keys, ElementsAre("4"));
    // The hook that asked for the same has nothing to say any more.
    EXPECT_THAT(replies, ElementsAre(QByteArray(R"({"decision":"ask"})")));
}

TEST_F(TypedAnswerTest, NumberedLinesAboveTheMenuDoNotCount) {
    const AskEvent ask = shown({.sessionId = "session",
                                .requestId = "request",
                                .toolName = "ExitPlanMode",
                                .actionSummary = "approve the proposed plan",
                                .tmuxPane = "%3"});
    draw("screens/plan-approval.txt");
    EXPECT_EQ(unfold(ask).options.size(), 3);
    drawOn("1", idle);
    pick(ask, "Yes, and use auto mode");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("1"));
    EXPECT_FALSE(isShown(ask));
}

TEST_F(TypedAnswerTest, TheNextOfSeveralQuestionsIsShownAndNotAnswered) {
    const AskEvent ask = notice("Which colour should the button be? / Which features do you want?");
    draw("screens/ask-multi.txt");
    unfold(ask);
    drawOn("1", capturedScreen("screens/ask-multi-step2-multiselect.txt"));
    pick(ask, "Red");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("1"));
    // That one is ticked, which is left to the terminal.
    ASSERT_TRUE(isShown(ask));
    EXPECT_TRUE(store.ask(ask.id())->detail.contains("Which features do you want?"));
    EXPECT_THAT(store.ask(ask.id())->options, IsEmpty());
    EXPECT_FALSE(store.ask(ask.id())->acceptsText);

    draw("screens/ask-multi-step3-submit.txt");
    unfold(ask);
    drawOn("1", idle);
    pick(ask, "Submit answers");
    settle();
    EXPECT_FALSE(isShown(ask));
}

TEST_F(TypedAnswerTest, TheOptionThatIsAFieldOpensItAndTheRowStays) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(question);
    EXPECT_TRUE(unfold(ask).acceptsText);
    drawOn("3", capturedScreen(fieldOpen));
    pick(ask, "Type something.");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("3"));
    ASSERT_TRUE(isShown(ask));
    // A number would now be a word.
    EXPECT_THAT(store.ask(ask.id())->options, IsEmpty());
    EXPECT_TRUE(store.ask(ask.id())->acceptsText);
}

TEST_F(TypedAnswerTest, AReplyIsTypedAsItStandsIntoTheOpenFieldAndThenEntered) {
    for (const char* const words :
         {"- use yarn", "-R", "stop;", "C-c", "Escape", ";", "a\\;", "--", "$HOME `x` #{pane_id}"}) {
        SCOPED_TRACE(words);
        const QString text = words;
        pane.keys.clear();
        pane.runs.clear();
        const AskEvent ask = notice("Which colour should the button be?");
        draw(question);
        unfold(ask);
        drawOn("3", capturedScreen(fieldOpen));
        QString argument = text;
        if (text.endsWith(';'))
            argument.insert(text.size() - 1, '\\');
        drawOn(argument, withWords(text));
        drawOn("Enter", idle);
        say(ask, text);
        settle();
        EXPECT_THAT(pane.keys, ElementsAre("3", argument, "Enter"));
        EXPECT_TRUE(pane.runs.contains(QStringList({"tmux", "send-keys", "-t", "%3", "-l", "--", argument})));
        EXPECT_FALSE(isShown(ask));
    }
}

TEST_F(TypedAnswerTest, AFieldThatIsOpenAlreadyIsTypedIntoAtOnce) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(fieldOpen);
    unfold(ask);
    drawOn("green", withWords("green"));
    drawOn("Enter", idle);
    say(ask, "green");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("green", "Enter"));
    EXPECT_FALSE(isShown(ask));
}

TEST_F(TypedAnswerTest, WithoutItsWordsInTheFieldNoReturnFollows) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(fieldOpen);
    unfold(ask);
    // The user types there at the same time.
    drawOn("green", withWords("not green"));
    say(ask, "green");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("green"));
    ASSERT_TRUE(isShown(ask));
    EXPECT_FALSE(store.ask(ask.id())->acceptsText);
}

TEST_F(TypedAnswerTest, WordsThatDoNotArriveAreTypedOnceMore) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(fieldOpen);
    unfold(ask);
    drawOn("Enter", idle);
    say(ask, "green");
    dispatch.advance(std::chrono::seconds(1));
    EXPECT_THAT(pane.keys, ElementsAre("green"));
    drawOn("green", withWords("green"));
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("green", "green", "Enter"));
    EXPECT_FALSE(isShown(ask));
}

TEST_F(TypedAnswerTest, AFieldThatDoesNotOpenIsNotTypedInto) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(question);
    unfold(ask);
    say(ask, "1");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("3", "3"));
    EXPECT_TRUE(isShown(ask));
    // Nor when something else has come in its place.
    pane.keys.clear();
    drawOn("3", capturedScreen(permission));
    say(ask, "1");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("3"));
    EXPECT_TRUE(isShown(ask));
}

TEST_F(TypedAnswerTest, AFieldWithSomebodysWordsTakesNoOthers) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(question);
    unfold(ask);
    draw("screens/ask-single-typing.txt");
    say(ask, "green");
    settle();
    EXPECT_THAT(pane.keys, IsEmpty());
    EXPECT_TRUE(isShown(ask));
    EXPECT_FALSE(store.ask(ask.id())->acceptsText);
    EXPECT_THAT(store.ask(ask.id())->options, IsEmpty());
}

TEST_F(TypedAnswerTest, AnotherQuestionThanTheRowShowsGetsNoAnswer) {
    const AskEvent ask = notice("Claude needs your permission");
    draw(permission);
    unfold(ask);
    pane.screen = capturedScreen(permission).replace("touch /home/user/project/made-by-tool", "dropdb production");
    pick(ask, "Yes");
    settle();
    EXPECT_THAT(pane.keys, IsEmpty());
    ASSERT_TRUE(isShown(ask));
    EXPECT_TRUE(store.ask(ask.id())->detail.contains("dropdb production"));
    // What the row shows now can be answered.
    drawOn("1", idle);
    pick(ask, "Yes");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("1"));
    EXPECT_FALSE(isShown(ask));
}

TEST_F(TypedAnswerTest, WhereNothingIsAskedAnyMoreNothingIsTyped) {
    const AskEvent ask = notice("Claude needs your permission");
    draw(permission);
    unfold(ask);
    pane.screen = idle;
    pick(ask, "Yes");
    settle();
    EXPECT_THAT(pane.keys, IsEmpty());
    ASSERT_TRUE(isShown(ask));
    EXPECT_THAT(store.ask(ask.id())->options, IsEmpty());
    EXPECT_FALSE(store.ask(ask.id())->acceptsText);
}

TEST_F(TypedAnswerTest, OnlyTheRowWhoseDialogStandsThereHasButtons) {
    const AskEvent other = request("rm -rf /home/user/project/sub", "other");
    const AskEvent ask = request("touch /home/user/project/made-by-tool");
    draw(permission);
    EXPECT_EQ(unfold(ask).options.size(), 4);
    EXPECT_THAT(unfold(other).options, IsEmpty());
    EXPECT_FALSE(store.ask("other")->acceptsText);
    EXPECT_TRUE(store.ask("other")->detail.contains("touch"));
    // The same command twice: it can't be told whose dialog stands there.
    const AskEvent twin = request("touch /home/user/project/made-by-tool", "twin");
    EXPECT_THAT(unfold(twin).options, IsEmpty());
    EXPECT_THAT(unfold(ask).options, IsEmpty());
}

TEST_F(TypedAnswerTest, ADialogBelongsToTheCallThatItShows) {
    struct Row {
        AskEvent ask;
        QString screen;
        bool isOwn;
    };
    const auto call = [](const QString& tool, const QString& summary) {
        return AskEvent{
            .sessionId = "session", .requestId = "r", .toolName = tool, .actionSummary = summary, .tmuxPane = "%3"};
    };
    const auto said = [](const QString& message, const QString& source = "claude") {
        return AskEvent{.sessionId = "session", .message = message, .source = source, .tmuxPane = "%3"};
    };
    const Row rows[] = {
        {call("Edit", "/home/user/project/existing.txt"), "screens/edit.txt", true},
        {call("Edit", "/home/user/project/another.txt"), "screens/edit.txt", false},
        {call("Write", "/home/user/outside/file.txt"), "screens/write-outside.txt", true},
        {call("WebFetch", "https://example.com/x"), "screens/webfetch.txt", true},
        {call("WebFetch", "https://example.org/x"), "screens/webfetch.txt", false},
        {call("Read", R"({"file_path":"/etc/hostname"})"), "screens/read-outside.txt", true},
        {call("Read", R"({"file_path":"/etc/shadow"})"), "screens/read-outside.txt", false},
        {call("mcp__lab__ping", R"({"text":"hi"})"), "screens/mcp-tool.txt", true},
        {call("mcp__lab__ping", R"({"text":"ho"})"), "screens/mcp-tool.txt", false},
        {call("mcp__lab__ping", ""), "screens/mcp-tool.txt", false},
        {call("Bash", ""), "screens/bash-permission.txt", false},
        // Only a part of what stands there.
        {call("Bash", "touch"), "screens/bash-permission.txt", false},
        {call("Bash", "/home/user/project/made-by-tool"), "screens/bash-permission.txt", false},
        {call("WebFetch", "https://example.com/"), "screens/webfetch.txt", false},
        {call("Edit", "/home/user/project/ing.txt"), "screens/edit.txt", false},
        {call("Read", R"({"file_path":"/etc/host"})"), "screens/read-outside.txt", false},
        {call("Bash", "touch /home/user/project/made-by-t…"), "screens/bash-permission.txt", true},
        {call("ExitPlanMode", "approve the proposed plan"), "screens/plan-60x24.txt", true},
        {call("ExitPlanMode", "approve the proposed plan"), "screens/bash-permission.txt", false},
        {call("Bash", "for i in 1 2 3; do\n  echo \"line $i\" >> /home/user/project/made-by-tool\ndone && curl -s "
                      "http://127.0.0.1:9/ | sed -n 1,5p; touch /home/user/project/made-by-tool"),
         "screens/bash-60x24.txt", true},
        {said("Answer in terminal — Bash: touch /home/user/project/made-by-tool"), "screens/bash-permission.txt", true},
        {said("Answer in terminal — Bash: ls"), "screens/bash-permission.txt", false},
        {said("Claude needs your permission"), "screens/bash-permission.txt", true},
        {said("Which colour should the button be?"), "screens/ask-single.txt", true},
        {said("Which colour should the button be?"), "screens/bash-permission.txt", false},
        {said("Gemini wants to run: touch marker", "gemini"), "dialogs/gemini/command.txt", true},
        {said("Gemini wants to run: rm marker", "gemini"), "dialogs/gemini/command.txt", false},
        {said("Gemini wants to change: /home/user/project/a.txt", "gemini"), "dialogs/gemini/write.txt", true},
        {said("Gemini wants to change: /home/user/project/b.txt", "gemini"), "dialogs/gemini/write.txt", false},
        {said("Claude wants to read: /etc/hostname"), "screens/read-outside.txt", true},
        {said("Claude wants to read: /etc/shadow"), "screens/read-outside.txt", false},
        {said("Claude wants to fetch: https://example.com/x"), "screens/webfetch.txt", true},
        {said("Claude wants to search: prices"), "screens/webfetch.txt", false},
        // The dialog shows the server's title for it, which nothing else tells.
        {said("Claude wants to use: mcp__lab__ping"), "screens/mcp-tool.txt", false},
        {said("Claude wants to use: Task"), "screens/bash-permission.txt", false},
        {said("Gemini wants to use: ping of lab", "gemini"), "dialogs/gemini/command.txt", false},
        {said("Gemini has a question", "gemini"), "dialogs/gemini/question.txt", true},
        {said("Which colour?", "opencode"), "dialogs/opencode/question.txt", true},
        {said("Which size?", "opencode"), "dialogs/opencode/question.txt", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.screen.toStdString() + " " + row.ask.displayMessage().toStdString());
        shown(row.ask);
        draw(row.screen);
        EXPECT_EQ(!unfold(row.ask).options.isEmpty(), row.isOwn);
        store.remove(row.ask.id());
    }
}

TEST_F(TypedAnswerTest, AnUnknownDrawingOffersNothing) {
    for (const auto& [source, screen] :
         {std::pair("opencode", "dialogs/opencode/permission.txt"), std::pair("gemini", "dialogs/gemini/start.txt"),
          std::pair("cursor", "screens/bash-permission.txt")}) {
        const AskEvent ask = notice("needs you", source);
        draw(screen);
        EXPECT_THAT(unfold(ask).options, IsEmpty()) << screen;
        EXPECT_FALSE(store.ask(ask.id())->acceptsText) << screen;
        EXPECT_NE(store.ask(ask.id())->detail, "") << screen;
        // Even if a reply came from somewhere.
        say(ask, "no");
        settle();
        EXPECT_THAT(pane.keys, IsEmpty());
    }
}

TEST_F(TypedAnswerTest, AKeyThatOnlyHighlightsIsFollowedByReturn) {
    const AskEvent ask = request("touch /home/user/project/made-by-tool");
    draw(permission);
    unfold(ask);
    const QString highlighted = QString(*pane.screen).replace("❯ 1.", "  1.").replace("  4. No", "❯ 4. No");
    drawOn("4", highlighted);
    drawOn("Enter", idle);
    pick(ask, "No");
    dispatch.advance(std::chrono::milliseconds(400));
    EXPECT_THAT(pane.keys, ElementsAre("4"));
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("4", "Enter"));
    EXPECT_FALSE(isShown(ask));
}

TEST_F(TypedAnswerTest, AKeyThatIsNotTakenIsTypedOnceMore) {
    const AskEvent ask = request("touch /home/user/project/made-by-tool");
    draw(permission);
    unfold(ask);
    pick(ask, "No");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("4", "4"));
    // The dialog stands still, and so does its row.
    EXPECT_TRUE(isShown(ask));
    EXPECT_THAT(replies, IsEmpty());
    pane.keys.clear();
    pick(ask, "No");
    pane.screen = capturedScreen(permission).replace("made-by-tool", "another");
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("4"));
}

TEST_F(TypedAnswerTest, WhileOneAnswerIsUnderWayTheTerminalTakesNoOther) {
    const AskEvent ask = request("touch /home/user/project/made-by-tool");
    draw(permission);
    unfold(ask);
    pick(ask, "Yes");
    pick(ask, "No");
    EXPECT_THAT(pane.keys, ElementsAre("1"));
}

TEST_F(TypedAnswerTest, ARowThatIsAnsweredElsewhereMeanwhileEndsTheTyping) {
    const AskEvent ask = notice("Which colour should the button be?");
    draw(question);
    unfold(ask);
    say(ask, "green");
    store.remove(ask.id());
    draw(fieldOpen);
    settle();
    EXPECT_THAT(pane.keys, ElementsAre("3"));
    EXPECT_EQ(dispatch.waitingTasks(), 0u);
    // A later row of the same session is not taken for it.
    const AskEvent later = notice("Which colour should the button be?");
    unfold(later);
    EXPECT_TRUE(store.ask(later.id())->acceptsText);
}

TEST_F(TypedAnswerTest, WhatCanBeAKeyOfItsOwnIsLeftToTheTerminal) {
    for (const QString& text : {QString("a\nb"), QString("\x1b[A"), QString("\t"), QString("──")}) {
        const AskEvent ask = notice("Which colour should the button be?");
        draw(question);
        unfold(ask);
        launcher.starts.clear();
        say(ask, text);
        settle();
        EXPECT_THAT(pane.keys, IsEmpty());
        EXPECT_TRUE(isShown(ask));
        EXPECT_FALSE(launcher.starts.isEmpty());
    }
}

TEST_F(TypedAnswerTest, APaneThatIsScrolledBackGetsNoKeys) {
    const AskEvent ask = request("touch /home/user/project/made-by-tool");
    draw(permission);
    unfold(ask);
    pane.isScrolledBack = true;
    pick(ask, "Yes");
    settle();
    EXPECT_THAT(pane.keys, IsEmpty());
    EXPECT_TRUE(isShown(ask));
    EXPECT_FALSE(launcher.starts.isEmpty());
}

TEST_F(TypedAnswerTest, WhereTheTerminalShowsNothingTheDescribedWayHolds) {
    for (const std::optional<QString>& screen : {std::optional<QString>(), std::optional<QString>("\n \n")}) {
        pane.keys.clear();
        const AskEvent ask = notice("needs you");
        pane.screen = screen;
        answering.handle(ask, AskAction::expand());
        EXPECT_EQ(store.ask(ask.id())->acceptsText, screen.has_value());
        say(ask, "stop;");
        EXPECT_THAT(pane.keys, ElementsAre("stop;", "Enter"));
        EXPECT_FALSE(isShown(ask));
    }
}

TEST_F(TypedAnswerTest, OtherSendersRowsGoTheDescribedWay) {
    const AskEvent ask{.sessionId = "session", .message = "Claude needs your permission", .tmuxPane = "%3"};
    store.upsert(ask);
    details.keep(ask, std::nullopt);
    draw("screens/plan-approval.txt");
    EXPECT_EQ(unfold(ask).options.size(), 5);
    answering.handle(ask, AskAction::option(2));
    EXPECT_THAT(pane.keys, ElementsAre("3", "Enter"));
    EXPECT_FALSE(isShown(ask));
    store.upsert(ask);
    pane.screen = "Say something";
    EXPECT_TRUE(unfold(ask).acceptsText);
}

TEST_F(TypedAnswerTest, AForgedPaneCountsAsAbsent) {
    for (const bool isOurs : {false, true}) {
        AskEvent ask{.sessionId = "session", .tty = "pts/7\" to do shell script \"x", .termProgram = "Apple_Terminal"};
        ask.tmuxPane = "%3;kill-server";
        ask.weztermPane = "1 --x";
        ask.kittyWindowId = "1 or state:focused";
        store.upsert(ask);
        details.keep(ask, isOurs ? std::optional(helper) : std::nullopt);
        answering.handle(ask, AskAction::open());
        EXPECT_EQ(launcher.starts,
                  (QList<QStringList>{{"/usr/bin/osascript", "-e", "tell application \"Terminal\" to activate"}}));
        EXPECT_THAT(raiser.devices, IsEmpty());
        EXPECT_THAT(pane.runs, IsEmpty());
        launcher.starts.clear();
    }
}

TEST_F(TypedAnswerTest, WhenATerminalCannotBeShownItIsAnnounced) {
    QStringList announced;
    QObject::connect(&answering, &AskAnswering::terminalNotShown,
                     [&](const QString& sessionId) { announced.append(sessionId); });
    // Nobody looks at tmux.
    answering.handle(notice("needs you"), AskAction::open());
    EXPECT_THAT(announced, ElementsAre("session"));
    // Nothing is known of the terminal, or no window shows it.
    raiser.isFound = false;
    answering.handle(shown({.sessionId = "bare"}), AskAction::open());
    answering.handle(shown({.sessionId = "hidden", .tty = "pts/7"}), AskAction::open());
    EXPECT_THAT(announced, ElementsAre("session", "bare", "hidden"));
    raiser.isFound = true;
    answering.handle(shown({.sessionId = "window", .tty = "pts/7"}), AskAction::open());
    // Other senders are told nothing.
    const AskEvent other{.sessionId = "other"};
    store.upsert(other);
    answering.handle(other, AskAction::open());
    EXPECT_EQ(announced.size(), 3);
}

} // namespace
} // namespace pelorin
