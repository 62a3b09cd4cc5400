#include "tests/clis/CliSession.h"

#include <QFile>

// What a row's answers do in the real CLIs.
namespace pelorin {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TypedAnswers : public CliTest {
protected:
    QJsonArray touch(const QString& name) const { return call("Bash", command(name)); }
    QJsonObject command(const QString& name) const {
        return {{"command", "touch " + name}, {"description", "Make the file"}};
    }
    static QJsonObject question(const QString& text, bool isMultiple = false) {
        return {{"question", text},
                {"header", text.section(' ', 1, 1)},
                {"multiSelect", isMultiple},
                {"options", QJsonArray{QJsonObject{{"label", "Red"}, {"description", "Warm"}},
                                       QJsonObject{{"label", "Blue"}, {"description", "Cold"}}}}};
    }
    static QJsonArray ask(const QJsonArray& questions) {
        return call("AskUserQuestion", QJsonObject{{"questions", questions}});
    }
    bool isMade(const QString& name) const { return QFile::exists(workPath(name)); }
    bool goes(const AskEvent& row) {
        return eventually([&] { return !isShown(row); });
    }
    /// Long enough for keys to have done what they do.
    static void linger() {
        eventually([] { return false; }, std::chrono::milliseconds(1500));
    }
};

TEST_F(TypedAnswers, APlanIsApprovedByItsOwnOption) {
    const QString pane = startCli("claude", Hooks::installed);
    EXPECT_TRUE(eventually([&] {
        press(pane, "BTab");
        return waitForScreen(pane, "plan mode on", {}, std::chrono::seconds(1));
    }));
    QJsonArray steps =
        call("Write", {{"file_path", "$PLAN"}, {"content", "# Plan\n\n1. Make a\n2. Make b\n3. Stop\n"}});
    steps.append(call("ExitPlanMode", {}).at(0));
    prompt(pane, steps);
    const AskEvent row = unfoldedRow("ExitPlanMode");
    ASSERT_EQ(labels(row).size(), 3) << screen(pane).toStdString();
    pick(row, "Yes, manually approve edits");
    EXPECT_TRUE(goes(row));
    EXPECT_TRUE(waitForScreen(pane, "Approved Claude's plan")) << screen(pane).toStdString();
}

TEST_F(TypedAnswers, AListAboveTheMenuDoesNotMoveItsKeys) {
    const QString pane = startCli("claude", Hooks::installed);
    tmux.run({"send-keys", "-t", pane, "-l", "--", "Do this: 1. First thing"});
    press(pane, "C-j");
    for (const char* const line : {"2. Second thing", "3. Third thing"}) {
        tmux.run({"send-keys", "-t", pane, "-l", "--", line});
        press(pane, "C-j");
    }
    prompt(pane, touch("made"));
    const AskEvent row = unfoldedRow("touch made");
    pick(row, "Yes");
    EXPECT_TRUE(goes(row));
    EXPECT_TRUE(eventually([&] { return isMade("made"); }, cliPatience)) << screen(pane).toStdString();
}

TEST_F(TypedAnswers, NoIsNo) {
    const QString pane = startCli("claude", Hooks::installed);
    prompt(pane, touch("made"));
    const AskEvent row = unfoldedRow("touch made");
    pick(row, "No");
    EXPECT_TRUE(goes(row)) << screen(pane).toStdString();
    linger();
    EXPECT_FALSE(isMade("made"));
}

TEST_F(TypedAnswers, TheAnswerToOneQuestionLeavesTheNextAlone) {
    const QString pane = startCli("claude", Hooks::installed);
    prompt(pane, ask({question("Which colour do you like?"), question("Which features do you want?", true)}));
    const AskEvent row = unfoldedRow("Which colour do you like?");
    pick(row, "Red");
    EXPECT_TRUE(waitForScreen(pane, "[ ] Red"));
    linger();
    EXPECT_FALSE(screen(pane).contains("[✔]")) << screen(pane).toStdString();
    EXPECT_TRUE(isShown(row));
    EXPECT_THAT(labels(row), IsEmpty());
}

TEST_F(TypedAnswers, WordsOfOnesOwnArriveAsTheyStand) {
    const QString pane = startCli("claude", Hooks::installed);
    for (const QString& words : {QString("- use yarn"), QString("-R"), QString("stop;"), QString("it's \"$HOME\" #{x}"),
                                 QString("a long one, ").repeated(20).trimmed()}) {
        prompt(pane, ask({question("Which colour do you like?")}));
        const AskEvent row = unfoldedRow("Which colour do you like?");
        EXPECT_THAT(labels(row), ElementsAre("Red", "Blue", "Type something.", "Chat about this"));
        if (words == "-R") {
            pick(row, "Type something.");
            EXPECT_TRUE(eventually([&] { return labels(row).isEmpty(); }));
        }
        EXPECT_TRUE(store.ask(row.id())->acceptsText);
        say(row, words);
        EXPECT_TRUE(goes(row)) << words.toStdString() << screen(pane).toStdString();
        EXPECT_TRUE(waitForScreen(pane, "→ " + words.left(40))) << screen(pane).toStdString();
        press(pane, "C-l");
        tmux.run({"clear-history", "-t", pane});
        EXPECT_TRUE(waitForScreen(pane, "Done."));
        tmux.run({"send-keys", "-t", pane, "-l", "--", "/clear"});
        linger();
        press(pane, "Enter");
        EXPECT_TRUE(eventually([&] { return !screen(pane).contains("Done."); }, cliPatience));
    }
}

TEST_F(TypedAnswers, AnotherDialogThanTheRowShowsGetsNoKeys) {
    const QString pane = startCli("claude", Hooks::none);
    prompt(pane, touch("harmless"));
    ASSERT_TRUE(waitForScreen(pane, "Do you want to proceed?"));
    const AskEvent row = unfolded(this->row("claude", pane, "Claude needs your permission"));
    ASSERT_THAT(labels(row), Contains("Yes"));
    press(pane, "Escape");
    ASSERT_TRUE(eventually([&] { return !screen(pane).contains("Do you want to proceed?"); }));
    linger();
    prompt(pane, touch("precious"));
    ASSERT_TRUE(waitForScreen(pane, "Do you want to proceed?"));
    answering.handle(row, AskAction::option(0));
    linger();
    EXPECT_FALSE(isMade("precious"));
    EXPECT_TRUE(screen(pane).contains("Do you want to proceed?"));
    ASSERT_TRUE(isShown(row));
    EXPECT_TRUE(store.ask(row.id())->detail.contains("touch precious"));
}

TEST_F(TypedAnswers, OfTwoRequestsOnlyTheShownOneHasButtons) {
    const QString pane = startCli("claude", Hooks::installed);
    QJsonArray step;
    for (const char* const name : {"one", "two"})
        step.append(QJsonArray{"Bash", command(name)});
    QJsonArray steps;
    steps.append(step);
    prompt(pane, steps);
    const AskEvent first = unfoldedRow("touch one");
    ASSERT_THAT(labels(first), Contains("Yes")) << screen(pane).toStdString();
    for (const SharedAsk& row : SharedAsks(store.asks())) {
        answering.handle(*row, AskAction::expand());
        EXPECT_EQ(labels(*row).isEmpty(), row->id() != first.id());
    }
    pick(first, "Yes");
    EXPECT_TRUE(goes(first));
    EXPECT_TRUE(eventually([&] { return isMade("one"); }, cliPatience)) << screen(pane).toStdString();
    const AskEvent second = unfoldedRow("touch two");
    pick(second, "No");
    EXPECT_TRUE(goes(second));
    linger();
    EXPECT_FALSE(isMade("two"));
}

TEST_F(TypedAnswers, OfTwoTmuxServersTheAskingOneGetsTheKeys) {
    const QString socket = tmux.filePath("another");
    const QString pane = startCli("claude", Hooks::none);
    ASSERT_EQ(startCli("claude", Hooks::installed, {}, socket), pane);
    prompt(pane, touch("first"));
    ASSERT_TRUE(waitForScreen(pane, "Do you want to proceed?"));
    prompt(pane, touch("second"), socket);
    const AskEvent row = unfoldedRow("touch second");
    pick(row, "Yes");
    EXPECT_TRUE(goes(row));
    EXPECT_TRUE(eventually([&] { return isMade("second"); }, cliPatience)) << screen(pane, socket).toStdString();
    EXPECT_FALSE(isMade("first"));
    EXPECT_TRUE(screen(pane).contains("Do you want to proceed?"));
}

TEST_F(TypedAnswers, CodexTakesItsPrintedKeys) {
    const QString pane = startCli("codex", Hooks::none);
    prompt(pane,
           call("exec_command",
                {{"cmd", "touch made"}, {"sandbox_permissions", "require_escalated"}, {"justification", "To try it"}}));
    ASSERT_TRUE(waitForScreen(pane, "Would you like to run"));
    const AskEvent row = unfolded(this->row("codex", pane, "Codex asks"));
    ASSERT_THAT(labels(row), Contains("Yes, proceed (y)"));
    EXPECT_FALSE(row.acceptsText);
    say(row, "no");
    linger();
    EXPECT_TRUE(screen(pane).contains("Would you like to run"));
    EXPECT_FALSE(isMade("made"));
    pick(row, "No, and tell Codex what to do differently (esc)");
    EXPECT_TRUE(goes(row));
    EXPECT_TRUE(waitForScreen(pane, "canceled the request"));
    EXPECT_FALSE(isMade("made"));
}

TEST_F(TypedAnswers, GeminiOffersItsMenuAndNotItsTips) {
    const QString pane = startCli("gemini", Hooks::installed);
    const AskEvent tips = row("gemini", pane, "Gemini needs you");
    answering.handle(tips, AskAction::expand());
    EXPECT_THAT(labels(tips), IsEmpty());
    EXPECT_FALSE(store.ask(tips.id())->acceptsText);
    store.remove(tips.id());

    prompt(pane, call("run_shell_command", command("made")));
    const AskEvent request = unfoldedRow("Gemini wants to run: touch made");
    ASSERT_THAT(labels(request), Contains("Allow once")) << screen(pane).toStdString();
    EXPECT_FALSE(request.acceptsText);
    say(request, "no");
    linger();
    EXPECT_FALSE(isMade("made"));
    EXPECT_TRUE(screen(pane).contains("Allow once"));
    pick(request, "No, suggest changes (esc)");
    EXPECT_TRUE(goes(request));
    EXPECT_TRUE(waitForScreen(pane, "Request cancelled"));
    EXPECT_FALSE(isMade("made"));
}

TEST_F(TypedAnswers, GeminiAndOpencodeTakeWordsOfOnesOwn) {
    const QJsonObject options{{"question", "Which colour do you like?"},
                              {"header", "Colour"},
                              {"type", "choice"},
                              {"options", question("").value("options")}};
    const QJsonObject input{{"questions", QJsonArray{options}}};
    for (const auto& [cli, tool] : {std::pair("gemini", "ask_user"), std::pair("opencode", "question")}) {
        SCOPED_TRACE(cli);
        const QString pane = startCli(cli, Hooks::installed);
        prompt(pane, call(tool, input));
        const AskEvent row = unfoldedRow(cli == std::string("gemini") ? "Gemini has a question" : "Which colour");
        ASSERT_THAT(labels(row), Contains(QString("Blue"))) << screen(pane).toStdString();
        EXPECT_TRUE(row.acceptsText);
        say(row, "- neither;");
        EXPECT_TRUE(goes(row)) << screen(pane).toStdString();
        EXPECT_TRUE(waitForScreen(pane, "Done."));
        EXPECT_TRUE(screen(pane).contains("- neither;")) << screen(pane).toStdString();

        prompt(pane, call(tool, input));
        const AskEvent second = unfoldedRow(cli == std::string("gemini") ? "Gemini has a question" : "Which colour");
        pick(second, "Blue");
        EXPECT_TRUE(goes(second)) << screen(pane).toStdString();
    }
}

TEST_F(TypedAnswers, WhatOpencodeDrawsWithoutNumbersIsLeftToTheTerminal) {
    const QString pane = startCli("opencode", Hooks::installed);
    prompt(pane, call("bash", command("made")));
    ASSERT_TRUE(waitForScreen(pane, "Permission required"));
    const AskEvent row = unfoldedRow("touch made");
    EXPECT_THAT(labels(row), IsEmpty());
    EXPECT_FALSE(row.acceptsText);
    say(row, "no");
    linger();
    EXPECT_TRUE(screen(pane).contains("Permission required"));
    EXPECT_FALSE(isMade("made"));
    EXPECT_TRUE(isShown(row));
}

} // namespace
} // namespace pelorin
