#include "BeaconryKit/terminal/TerminalDialog.h"

#include "tests/terminal/CapturedScreen.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using Field = TerminalDialog::Field;
using Keys = TerminalDialog::Keys;

/// What a captured screen shows.
struct Captured {
    const char* source;
    const char* file;
    const char* question;
    QStringList labels;
    Field field = Field::none;
    Keys keys = Keys::pick;
};

constexpr const char* proceed = "Do you want to proceed?";
constexpr const char* planReady = "Claude has written up a plan and is ready to execute. Would you like to proceed?";
const QString autoMode = "Yes, and switch to auto mode · auto mode handles these prompts for you";
const QString autoModeNarrow = "Yes, and switch to auto mode · auto mode handles";
const QString acceptEdits =
    "Yes, and switch to accept edits (auto-approve file edits and common file commands) for this session (shift+tab)";
const QString always = "Yes, and always allow access to /home/user/project from this project";
const QStringList colours{"Red", "Blue", "Type something.", "Chat about this"};
const QStringList plan{"Yes, and use auto mode", "Yes, manually approve edits", "Tell Claude what to change"};
const QStringList geminiColours{"red", "blue", "Enter a custom value"};
const QStringList opencodeColours{"red", "blue", "Type your own answer"};

const std::vector<Captured> dialogs{
    {"claude", "screens/bash-permission.txt", proceed, {"Yes", always, autoMode, "No"}},
    {"claude", "screens/bash-multiline.txt", proceed, {"Yes", autoMode, "No"}},
    {"claude", "screens/bash-60x24.txt", proceed, {"Yes", autoModeNarrow, "No"}},
    {"claude", "screens/edit.txt", "Do you want to make this edit to existing.txt?", {"Yes", acceptEdits, "No"}},
    {"claude",
     "screens/edit-40x30.txt",
     "Do you want to make this edit to existing.txt?",
     {"Yes", "Yes, and switch to accept edits", "No"}},
    {"claude",
     "screens/webfetch.txt",
     "Do you want to allow Claude to fetch this content?",
     {"Yes", "Yes, and don't ask again for example.com", "No, and tell Claude what to do differently (esc)"}},
    {"claude",
     "screens/parallel-readout2-2.txt",
     proceed,
     {"Yes", "Yes, allow reading from /etc during this session", "No"}},
    {"claude", "screens/plan-approval.txt", planReady, plan, Field::closed},
    {"claude", "screens/plan-60x24.txt", planReady, plan, Field::closed},
    {"claude", "screens/plan-feedback-typing.txt", planReady, plan, Field::filled},
    {"claude", "screens/ask-single.txt", "Which colour should the button be?", colours, Field::closed},
    {"claude", "screens/ask-multi.txt", "Which colour should the button be?", colours, Field::closed},
    {"claude", "screens/ask-single-typing.txt", "Which colour should the button be?", colours, Field::filled},
    {"claude", "dialogs/claude/question-field-open.txt", "Which colour should the button be?", colours, Field::open},
    {"claude",
     "screens/ask-multi-step2-multiselect.txt",
     "Which features do you want?",
     {"[ ] Tabs", "[ ] Search", "[ ] Export", "[ ] Type something", "Chat about this"},
     Field::none,
     Keys::tick},
    {"claude",
     "screens/ask-multi-step3-submit.txt",
     "● Which colour should the button be? → Blue ● Which features do you want? → Tabs, Export",
     {"Submit answers", "Cancel"}},
    {"codex",
     "dialogs/codex/command.txt",
     "Would you like to run the following command?",
     {"Yes, proceed (y)", "Yes, and don't ask again for commands that start with `touch marker` (p)",
      "No, and tell Codex what to do differently (esc)"}},
    {"gemini",
     "dialogs/gemini/command.txt",
     "Allow execution of [Shell]?",
     {"Allow once", "Allow for this session", "No, suggest changes (esc)"}},
    {"gemini",
     "dialogs/gemini/write.txt",
     "Apply this change?",
     {"Allow once", "Allow for this session", "Modify with external editor", "No, suggest changes (esc)"}},
    {"gemini", "dialogs/gemini/question.txt", "Which colour?", geminiColours, Field::closed},
    {"gemini", "dialogs/gemini/question-field-open.txt", "Which colour?", geminiColours, Field::open},
    {"gemini", "dialogs/gemini/question-field-filled.txt", "Which colour?", geminiColours, Field::filled},
    {"opencode", "dialogs/opencode/question.txt", "Which colour?", opencodeColours, Field::closed},
    {"opencode", "dialogs/opencode/question-field-open.txt", "Which colour?", opencodeColours, Field::open},
    {"opencode", "dialogs/opencode/question-field-filled.txt", "Which colour?", opencodeColours, Field::filled},
};

std::optional<TerminalDialog> find(const char* source, const QString& screen) {
    return TerminalDialog::find(QString(source), screen);
}

TEST(TerminalDialog, IsReadOffTheScreensOfEveryCli) {
    for (const Captured& captured : dialogs) {
        SCOPED_TRACE(captured.file);
        const auto dialog = find(captured.source, capturedScreen(captured.file));
        ASSERT_TRUE(dialog);
        EXPECT_EQ(dialog->question, captured.question);
        EXPECT_EQ(dialog->field, captured.field);
        EXPECT_EQ(dialog->keys, captured.keys);
        QStringList labels;
        for (const PromptOption& option : dialog->options) {
            labels.append(option.label);
            EXPECT_EQ(option.key, QString::number(labels.size()));
        }
        EXPECT_EQ(labels, captured.labels);
    }
}

TEST(TerminalDialog, AnUnknownDrawingIsNone) {
    const std::pair<const char*, const char*> rows[] = {
        // Nothing asks.
        {"claude", "dialogs/claude/idle.txt"},
        {"claude", "screens/auto-mode-bash-ran-no-prompt.txt"},
        {"claude", "screens/parallel-agent2.txt"},
        {"codex", "dialogs/codex/idle.txt"},
        {"gemini", "dialogs/gemini/idle.txt"},
        {"gemini", "dialogs/gemini/start.txt"},
        {"opencode", "dialogs/opencode/idle.txt"},
        // No numbers are printed.
        {"claude", "screens/auto-mode-needs-approval.txt"},
        {"claude", "screens/trust-dialog.txt"},
        {"claude", "screens/elicitation.txt"},
        {"opencode", "dialogs/opencode/permission.txt"},
        // A number would be a word: an option is being amended.
        {"claude", "screens/bash-permission-amend-no.txt"},
        {"claude", "screens/bash-permission-amend-yes.txt"},
        // A number is not known to pick.
        {"claude", "screens/model-picker.txt"},
        {"claude", "screens/settings-error-dialog.txt"},
        // Another CLI's drawing.
        {"gemini", "screens/bash-permission.txt"},
        {"claude", "dialogs/gemini/command.txt"},
        {"codex", "screens/bash-permission.txt"},
        {"cursor", "screens/bash-permission.txt"},
        {"", "screens/bash-permission.txt"},
    };
    for (const auto& [source, file] : rows)
        EXPECT_EQ(find(source, capturedScreen(file)), std::nullopt) << source << " " << file;
}

TEST(TerminalDialog, IsNoneUnlessItIsTheLastOnTheScreen) {
    for (const Captured& captured : dialogs) {
        const QString screen = capturedScreen(captured.file);
        EXPECT_EQ(find(captured.source, screen + "\n$ "), std::nullopt) << captured.file;
        EXPECT_EQ(find(captured.source, screen + "\n\n[1]+  Stopped\n"), std::nullopt) << captured.file;
        EXPECT_TRUE(find(captured.source, screen + "\n \n\n")) << captured.file;
    }
}

TEST(TerminalDialog, ListsAboveItAreNotItsOptions) {
    const QString screen = capturedScreen("screens/bash-permission.txt");
    const QString list = "● Steps:\n  1. First\n  2. Second\n ❯ 3. Third\n\n";
    EXPECT_EQ(find("claude", list + screen), find("claude", screen));
    const QString gemini = capturedScreen("dialogs/gemini/command.txt");
    EXPECT_EQ(find("gemini", capturedScreen("dialogs/gemini/start.txt") + gemini), find("gemini", gemini));
}

TEST(TerminalDialog, WhatTheDialogSaysTellsItApart) {
    const QString screen = capturedScreen("screens/bash-permission.txt");
    QString other = screen;
    other.replace("touch /home/user/project/made-by-tool\n╌", "rm -rf /home/user/project/made-by-tool\n╌");
    ASSERT_NE(other, screen);
    const auto first = find("claude", screen);
    const auto second = find("claude", other);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->question, second->question);
    EXPECT_EQ(first->options, second->options);
    EXPECT_FALSE(first->isSameAs(*second));
}

TEST(TerminalDialog, IsTheSameWhereverItsHighlightAndItsFieldsWordsAre) {
    const std::pair<const char*, QStringList> rows[] = {
        {"claude",
         {"dialogs/claude/question.txt", "dialogs/claude/question-field-open.txt",
          "dialogs/claude/question-field-filled.txt"}},
        {"gemini",
         {"dialogs/gemini/question.txt", "dialogs/gemini/question-field-open.txt",
          "dialogs/gemini/question-field-filled.txt"}},
        {"opencode",
         {"dialogs/opencode/question.txt", "dialogs/opencode/question-field-open.txt",
          "dialogs/opencode/question-field-filled.txt"}},
    };
    for (const auto& [source, files] : rows) {
        const auto first = find(source, capturedScreen(files[0]));
        for (const QString& file : files) {
            const auto dialog = find(source, capturedScreen(file));
            ASSERT_TRUE(dialog) << file.toStdString();
            EXPECT_TRUE(dialog->isSameAs(*first)) << file.toStdString();
        }
    }
}

TEST(TerminalDialog, IsTheSameInATerminalOfAnotherWidth) {
    const auto narrow = find("claude", capturedScreen("screens/bash-80x24.txt"));
    const auto wide = find("claude", capturedScreen("screens/bash-multiline.txt"));
    ASSERT_TRUE(narrow && wide);
    EXPECT_TRUE(narrow->isSameAs(*wide));
}

TEST(TerminalDialog, TheWordsInAFieldAreReadAcrossItsLines) {
    const QString words = "- use yarn, and never npm; the quick brown fox jumps over the lazy dog, then rests in the "
                          "shade of the old oak tree by the river bank";
    for (const char* source : {"claude", "gemini", "opencode"}) {
        const auto dialog = find(source, capturedScreen(QString("dialogs/%1/question-field-filled.txt").arg(source)));
        ASSERT_TRUE(dialog);
        EXPECT_EQ(dialog->fieldText, TerminalDialog::squeezed(words));
        EXPECT_EQ(dialog->options.at(dialog->fieldOption).key, "3");
    }
}

TEST(TerminalDialog, ANumberOfTwoDigitsIsNone) {
    QString options;
    for (int number = 1; number <= 10; ++number)
        options += QString(" %1 %2. Option\n").arg(number == 1 ? "❯" : " ").arg(number);
    const QString rule(80, u'─');
    EXPECT_EQ(find("claude", rule + "\n Question?\n" + options), std::nullopt);
    EXPECT_TRUE(find("claude", rule + "\n Question?\n" + options.section('\n', 0, 8)));
}

TEST(TerminalDialog, ADialogNeedsAnEdgeAndOneHighlight) {
    const QString rule(80, u'─');
    const QString menu = " ❯ 1. Yes\n   2. No\n";
    EXPECT_TRUE(find("claude", rule + "\n Proceed?\n" + menu));
    EXPECT_EQ(find("claude", " Proceed?\n" + menu), std::nullopt);
    // What a dialog quotes is indented.
    EXPECT_EQ(find("claude", " " + rule + "\n Proceed?\n" + menu), std::nullopt);
    EXPECT_EQ(find("claude", rule + "\n Proceed?\n   1. Yes\n   2. No\n"), std::nullopt);
    EXPECT_EQ(find("claude", rule + "\n Proceed?\n ❯ 1. Yes\n ❯ 2. No\n"), std::nullopt);
    EXPECT_EQ(find("claude", rule + "\n Proceed?\n   2. Yes\n ❯ 3. No\n"), std::nullopt);
    EXPECT_EQ(find("claude", rule + "\n Proceed?\n ❯ 1. Yes\n   3. No\n"), std::nullopt);
}

TEST(TerminalDialog, AnyTextIsRead) {
    for (const char* source : {"claude", "codex", "gemini", "opencode"}) {
        for (const QString& screen :
             {QString(), QString("\n\n"), QString("1."), QString("1. "), QString("❯"), QString("● 1. x"), QString("╰╯"),
              QString("│ │\n╰╯"), QString("╭\n│ 1. x │\n╰╯"), QString("  ┃"), QString("  ┃1. x"), QString(QChar(0)),
              QString(QChar(0xd800)), QString(100000, u'9'), QString("1. x\n").repeated(10000)})
            find(source, screen);
    }
    SUCCEED();
}

// Another request that comes or goes changes the count in the title.
TEST(TerminalDialog, IsTheSameWhateverElseWaits) {
    const QString screen = capturedScreen("screens/parallel-readout2-2.txt");
    ASSERT_TRUE(screen.contains("  2 of 2\n"));
    const auto dialog = find("claude", screen);
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->head.front(), "Read file");
    for (const QString& count : {QString("  1 of 3\n"), QString("  11 of 12\n"), QString("\n")}) {
        const auto other = find("claude", QString(screen).replace("  2 of 2\n", count));
        ASSERT_TRUE(other) << count.toStdString();
        EXPECT_TRUE(dialog->isSameAs(*other)) << count.toStdString();
    }
    for (const QString& title : {QString("  2 of x\n"), QString("  2 of\n"), QString(" of 2\n")}) {
        const auto other = find("claude", QString(screen).replace("  2 of 2\n", title));
        ASSERT_TRUE(other) << title.toStdString();
        EXPECT_FALSE(dialog->isSameAs(*other)) << title.toStdString();
    }
}

} // namespace
} // namespace pelorin
