#include "BeaconryKit/terminal/PromptParser.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <gmock/gmock.h>

namespace pelorin {
namespace {

struct Screen {
    const char* file;
    const char* question;
    QList<PromptOption> options;
    std::optional<qsizetype> currentIndex;
};

const QString screensFolder = QStringLiteral(PELORIN_SOURCE_DIR "/tests/fixtures/screens/");
constexpr const char* noQuestion = nullptr;
constexpr const char* proceed = "Do you want to proceed?";
const QString autoMode = "Yes, and switch to auto mode · auto mode handles these prompts for you";
const QString acceptEdits =
    "Yes, and switch to accept edits (auto-approve file edits and common file commands) for this session (shift+tab)";
const QString acceptEditsOutside =
    "Yes, and switch to accept edits (auto-approve file edits and common file commands) for this session; Yes, and";

const QList<PromptOption> colours{{"1", "Red"}, {"2", "Blue"}, {"3", "Type something."}, {"4", "Chat about this"}};
const QList<PromptOption> multiLine{{"1", "Yes"}, {"2", autoMode}, {"3", "No"}};
const QList<PromptOption> network{
    {"1", "Yes"}, {"2", "Yes, and don’t ask again for: curl *"}, {"3", autoMode}, {"4", "No"}};
const QList<PromptOption> permission{{"1", "Yes"},
                                     {"2", "Yes, and always allow access to /home/user/project from this project"},
                                     {"3", autoMode},
                                     {"4", "No"}};
const QList<PromptOption> remove{{"1", "Yes"},
                                 {"2", "Yes, and always allow access to /home/user/project/sub from this project"},
                                 {"3", autoMode},
                                 {"4", "No"}};
const QList<PromptOption> readOutside{
    {"1", "Yes"}, {"2", "Yes, allow reading from /etc during this session"}, {"3", "No"}};
const QList<PromptOption> tool{
    {"1", "Yes"}, {"2", "Yes, and don't ask again for lab — Ping commands in /home/user/project"}, {"3", "No"}};
const QList<PromptOption> fetch{{"1", "Yes"},
                                {"2", "Yes, and don't ask again for example.com"},
                                {"3", "No, and tell Claude what to do differently (esc)"}};
const QList<PromptOption> edit{{"1", "Yes"}, {"2", acceptEdits}, {"3", "No"}};
const QList<PromptOption> writeOutside{{"1", "Yes"}, {"2", acceptEditsOutside}, {"3", "No"}};
// The plan's own steps are numbered lines too, and come first.
const QList<PromptOption> plan{{"1", "Create greet.txt"},
                               {"2", "Say hello"},
                               {"1", "Yes, and use auto mode"},
                               {"2", "Yes, manually approve edits"},
                               {"3", "Tell Claude what to change"}};

const std::vector<Screen> screens{
    {"add-dir.txt", noQuestion, {}, {}},
    {"apikey-dialog.txt", "Do you want to use this API key?", {}, {}},
    {"ask-multi-step2-multiselect.txt",
     noQuestion,
     {{"1", "[ ] Tabs"},
      {"2", "[ ] Search"},
      {"3", "[ ] Export"},
      {"4", "[ ] Type something"},
      {"5", "Chat about this"}},
     0},
    {"ask-multi-step3-submit.txt", noQuestion, {{"1", "Submit answers"}, {"2", "Cancel"}}, 0},
    {"ask-multi.txt", noQuestion, colours, 0},
    {"ask-single-typing.txt",
     noQuestion,
     {{"1", "Red"}, {"2", "Blue"}, {"3", "Green please"}, {"4", "Chat about this"}},
     2},
    {"ask-single.txt", noQuestion, colours, 0},
    {"auto-mode-bash-ran-no-prompt.txt", noQuestion, {}, {}},
    {"auto-mode-bashnetwork.txt", noQuestion, {}, {}},
    // A menu without numbers offers nothing to pick from.
    {"auto-mode-needs-approval.txt", proceed, {}, {}},
    {"auto-mode-outside.txt", noQuestion, {}, {}},
    {"bash-60x24.txt",
     proceed,
     {{"1", "Yes"}, {"2", "Yes, and switch to auto mode · auto mode handles"}, {"3", "No"}},
     0},
    {"bash-80x24.txt", proceed, multiLine, 0},
    {"bash-multiline.txt", proceed, multiLine, 0},
    {"bash-network.txt", proceed, network, 0},
    {"bash-permission-amend-no.txt",
     proceed,
     {{"1", "Yes"}, permission[1], permission[2], {"4", "No, use another name"}},
     3},
    {"bash-permission-amend-yes.txt",
     proceed,
     {{"1", "Yes, and tell Claude what to do next"}, permission[1], permission[2], {"4", "No"}},
     0},
    {"bash-permission.txt", proceed, permission, 0},
    {"bash-preToolUse-ask.txt", proceed, {{"1", "Yes"}, {"2", "No"}}, 0},
    {"bash-rm.txt", proceed, remove, 0},
    // The question is broken into two lines, of which neither is one.
    {"edit-40x30.txt", noQuestion, {{"1", "Yes"}, {"2", "Yes, and switch to accept edits"}, {"3", "No"}}, 0},
    {"edit-80x24.txt",
     "Do you want to make this edit to existing.txt?",
     {{"1", "Yes"}, {"2", "Yes, and switch to accept edits (auto-approve file edits and common file"}, {"3", "No"}},
     0},
    {"edit.txt", "Do you want to make this edit to existing.txt?", edit, 0},
    {"elicitation.txt", noQuestion, {}, {}},
    {"enter-plan.txt", noQuestion, plan, 2},
    {"hooks-menu.txt", noQuestion, {}, {}},
    {"mcp-tool.txt", proceed, tool, 0},
    {"model-picker.txt",
     noQuestion,
     {{"1", "Default (recommended) ✔  Use the default model (currently Opus 5.5) · $4/$20 per Mtok"},
      {"2", "Opus                     Opus 5.5 · Best for everyday, complex tasks · $4/$20 per Mtok"},
      {"3", "Fable                    Fable 5.2 · Most capable for your hardest and longest-running tasks · $8/$40 per "
            "Mtok"},
      {"4", "Sonnet                   Sonnet 5.5 · Efficient for routine tasks · $2/$10 per Mtok"},
      {"5", "Haiku                    Haiku 5.5 · Fastest for quick answers · $0.10/$0.50 per Mtok ($0.50/$2.50 for "
            "prompts"}},
     0},
    {"parallel-agent2-2.txt", noQuestion, {}, {}},
    {"parallel-agent2.txt", noQuestion, {}, {}},
    {"parallel-readout2-2.txt", proceed, readOutside, 0},
    {"plan-60x24.txt", noQuestion, plan, 2},
    {"plan-80x24.txt", noQuestion, plan, 2},
    {"plan-approval.txt", noQuestion, plan, 2},
    {"plan-feedback-typing.txt", noQuestion, {plan[0], plan[1], plan[2], plan[3], {"3", "add tests"}}, 4},
    {"read-outside.txt", proceed, readOutside, 0},
    {"settings-error-dialog.txt",
     noQuestion,
     {{"1", "Fix with Claude"}, {"2", "Exit and fix manually"}, {"3", "Continue without these settings"}},
     0},
    {"trust-dialog.txt", noQuestion, {}, {}},
    {"webfetch.txt", "Do you want to allow Claude to fetch this content?", fetch, 0},
    {"write-new.txt", "Do you want to create written.txt?", edit, 0},
    {"write-outside.txt", "Do you want to create file.txt?", writeOutside, 0},
    {"ansi/ask-multi.ansi.txt", noQuestion, colours, 0},
    {"ansi/ask-single.ansi.txt", noQuestion, colours, 0},
    {"ansi/bash-multiline.ansi.txt", proceed, multiLine, 0},
    {"ansi/bash-network.ansi.txt", proceed, network, 0},
    {"ansi/bash-permission.ansi.txt", proceed, permission, 0},
    {"ansi/bash-rm.ansi.txt", proceed, remove, 0},
    {"ansi/edit.ansi.txt", "Do you want to make this edit to existing.txt?", edit, 0},
    {"ansi/enter-plan.ansi.txt", noQuestion, plan, 2},
    {"ansi/mcp-tool.ansi.txt", proceed, tool, 0},
    {"ansi/plan-approval.ansi.txt", noQuestion, plan, 2},
    {"ansi/read-outside.ansi.txt", proceed, readOutside, 0},
    {"ansi/webfetch.ansi.txt", "Do you want to allow Claude to fetch this content?", fetch, 0},
    {"ansi/websearch.ansi.txt",
     proceed,
     {{"1", "Yes"}, {"2", "Yes, and don't ask again for Web Search commands in /home/user/project"}, {"3", "No"}},
     0},
    {"ansi/write-new.ansi.txt", "Do you want to create written.txt?", edit, 0},
    {"ansi/write-outside.ansi.txt", "Do you want to create file.txt?", writeOutside, 0},
};

class PromptScreens : public ::testing::TestWithParam<Screen> {};

TEST_P(PromptScreens, AreReadAsAPersonReadsThem) {
    QFile file(screensFolder + GetParam().file);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const ParsedPrompt prompt = PromptParser::parse(QString::fromUtf8(file.readAll()));
    const auto question = GetParam().question ? std::optional<QString>(GetParam().question) : std::nullopt;
    EXPECT_EQ(prompt.question, question);
    EXPECT_EQ(prompt.options, GetParam().options);
    EXPECT_EQ(prompt.acceptsText, GetParam().options.isEmpty());
    EXPECT_EQ(prompt.currentIndex, GetParam().currentIndex);
}

INSTANTIATE_TEST_SUITE_P(Captured, PromptScreens, ::testing::ValuesIn(screens), [](const auto& screen) {
    return QString(screen.param.file).replace(QRegularExpression("[^A-Za-z0-9]"), "_").toStdString();
});

TEST(PromptScreens, TheTableKnowsEveryScreen) {
    QStringList known;
    for (const Screen& screen : screens)
        known.append(screen.file);
    QStringList present;
    QDirIterator files(screensFolder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext())
        present.append(QDir(screensFolder).relativeFilePath(files.next()));
    known.sort();
    present.sort();
    EXPECT_EQ(known, present);
}

} // namespace
} // namespace pelorin
