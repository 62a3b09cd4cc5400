#include "BeaconrySetup/SettingsEdit.h"

#include "BeaconrySetup/StrictJson.h"
#include "tests/hook-setup/SettingsFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gmock/gmock.h>

namespace pelorin::setup {

void PrintTo(const SettingsImage& image, std::ostream* stream) {
    *stream << (image.text ? *image.text
                           : "no file, with " + std::to_string(image.missingFolders) + " missing folders");
}

namespace {

using testing::HasSubstr;

SettingsImage fileOf(std::string text) {
    return {std::move(text)};
}

SettingsImage installed(const SettingsImage& image, const HookPlan& plan, Original original = Original::kept) {
    const auto result = withHooks(image, plan, original);
    EXPECT_TRUE(result) << (result ? "" : result.error());
    return result.value_or(SettingsImage());
}

SettingsImage uninstalled(const SettingsImage& image, const HookPlan& plan, Original original = Original::kept) {
    const auto result = withoutHooks(image, plan, original);
    EXPECT_TRUE(result) << (result ? "" : result.error());
    return result.value_or(SettingsImage());
}

HookState stateOf(const SettingsImage& image, const HookPlan& plan) {
    const auto state = hookState(image, plan);
    EXPECT_TRUE(state);
    return state.value_or(HookState::absent);
}

QJsonObject parsed(const SettingsImage& image) {
    QByteArray text = QByteArray::fromStdString(image.text.value_or(""));
    if (text.startsWith("\xEF\xBB\xBF"))
        text.remove(0, 3);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << text.constData();
    return document.object();
}

std::vector<SettingsImage> allImages() {
    std::vector<SettingsImage> images = {{std::nullopt, 0}, {std::nullopt, 1}, {std::nullopt, 3}};
    for (const SettingsSample& sample : editableSettings())
        images.push_back(fileOf(sample.text));
    return images;
}

class EveryPlan : public testing::TestWithParam<HookPlan> {};

TEST_P(EveryPlan, IsPutInOnceAndTakenOutWithoutATrace) {
    const HookPlan& plan = GetParam();
    for (const SettingsImage& image : allImages()) {
        SCOPED_TRACE(testing::PrintToString(image).substr(0, 300));
        EXPECT_EQ(stateOf(image, plan), HookState::absent);
        const SettingsImage with = installed(image, plan);
        EXPECT_EQ(stateOf(with, plan), HookState::current);
        EXPECT_EQ(faultOf(*with.text), std::nullopt) << *with.text;
        EXPECT_EQ(installed(with, plan), with);
        EXPECT_EQ(uninstalled(with, plan, Original::kept), image);
        EXPECT_EQ(uninstalled(with, plan, Original::unknown), image);
        EXPECT_EQ(uninstalled(image, plan), image);
    }
}

TEST_P(EveryPlan, LeavesAllElseAsItIs) {
    const HookPlan& plan = GetParam();
    for (const SettingsImage& image : allImages()) {
        SCOPED_TRACE(testing::PrintToString(image).substr(0, 300));
        const QJsonObject before = image.text && faultOf(*image.text) == std::nullopt ? parsed(image) : QJsonObject();
        const QJsonObject after = parsed(installed(image, plan));
        const QJsonObject hooksBefore = before["hooks"].toObject();
        const QJsonObject hooks = after["hooks"].toObject();
        for (const QString& name : before.keys()) {
            if (name != "hooks") {
                EXPECT_EQ(after[name], before[name]);
            }
        }
        for (const QString& event : hooksBefore.keys()) {
            const QJsonArray elements = hooksBefore[event].toArray();
            for (qsizetype index = 0; index < elements.size(); ++index)
                EXPECT_EQ(hooks[event].toArray()[index], elements[index]);
        }
        for (const HookEntry& entry : plan.entries) {
            const QString event = QString::fromStdString(entry.event);
            EXPECT_EQ(hooks[event].toArray().size(), hooksBefore[event].toArray().size() + 1);
        }
    }
}

// What another version of ours has put in is taken out and put in anew.
TEST_P(EveryPlan, RepairsWhatIsNotAsItShouldBe) {
    const HookPlan& plan = GetParam();
    HookPlan other = plan;
    other.hooksDirectory = "/elsewhere/hooks";
    other.entries = {{"Stop", guardedCommand("/elsewhere/hooks/claude-notify-hook.sh"), {}, {}},
                     {"AnEventOfOld", guardedCommand("/elsewhere/hooks/claude-clear-hook.sh"), {}, {{"timeout", "1"}}}};
    for (const SettingsImage& image : allImages()) {
        SCOPED_TRACE(testing::PrintToString(image).substr(0, 300));
        const SettingsImage old = installed(image, other);
        EXPECT_EQ(stateOf(old, plan), HookState::damaged);
        EXPECT_EQ(installed(old, plan), installed(image, plan));
        EXPECT_EQ(uninstalled(old, plan), image);
    }
}

TEST_P(EveryPlan, SurvivesThatACliWritesTheFileAnew) {
    const HookPlan& plan = GetParam();
    for (const SettingsImage& image : allImages()) {
        if (!image.text || faultOf(*image.text))
            continue;
        SCOPED_TRACE(testing::PrintToString(image).substr(0, 300));
        QJsonObject changed = parsed(installed(image, plan));
        changed["addedByTheCli"] = 5;
        const SettingsImage rewritten = fileOf(QJsonDocument(changed).toJson().toStdString());
        EXPECT_EQ(stateOf(rewritten, plan), HookState::current);
        QJsonObject expected = parsed(image);
        expected["addedByTheCli"] = 5;
        QJsonObject without = parsed(uninstalled(rewritten, plan));
        // Lists and objects that were there and empty can't be told from ours any more.
        const QJsonObject hooks = expected["hooks"].toObject();
        if (without["hooks"] != expected["hooks"]) {
            EXPECT_TRUE(hooks.isEmpty() || std::any_of(hooks.begin(), hooks.end(), [](const QJsonValue& event) {
                            return event.toArray().isEmpty();
                        }));
            without.remove("hooks");
            expected.remove("hooks");
        }
        EXPECT_EQ(without, expected);
    }
}

TEST_P(EveryPlan, RefusesWhatCannotBeEditedSafely) {
    for (const RefusedSample& sample : refusedSettings()) {
        if (sample.fault.find("\"Stop\"") != std::string::npos && GetParam().entries.front().event != "Stop")
            continue;
        const auto result = withHooks(fileOf(sample.text), GetParam(), Original::kept);
        ASSERT_FALSE(result) << sample.name;
        EXPECT_EQ(result.error(), sample.fault) << sample.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Plans, EveryPlan, testing::Values(samplePlan(), flatPlan()));
INSTANTIATE_TEST_SUITE_P(Clis, EveryPlan, testing::ValuesIn(adapterPlans()));

TEST(HasHookAt, FindsHooksOfOursAlone) {
    const HookPlan plan = samplePlan();
    const SettingsImage with = installed(fileOf("{}"), plan);
    EXPECT_TRUE(hasHookAt(with, plan, "Stop"));
    EXPECT_FALSE(hasHookAt(with, plan, "BeforeTool"));
    EXPECT_FALSE(hasHookAt(with, plan, ""));
    EXPECT_FALSE(hasHookAt({}, plan, "Stop"));
    EXPECT_FALSE(hasHookAt(fileOf("{,"), plan, "Stop"));
    EXPECT_FALSE(
        hasHookAt(fileOf(R"({"hooks":{"Stop":[{"hooks":[{"type":"command","command":"mine"}]}]}})"), plan, "Stop"));
}

TEST(WithHooks, WritesLikeTheRestOfTheFile) {
    HookPlan plan = samplePlan();
    plan.entries.resize(1);
    const std::string command =
        R"("pelorin='/opt/p q/hooks/claude-clear-hook.sh'; [ ! -x \"$pelorin\" ] || exec \"$pelorin\"")";
    EXPECT_EQ(installed(fileOf("{\n\t\"model\": \"opus\"\n}\n"), plan).text,
              "{\n\t\"model\": \"opus\",\n\t\"hooks\": {\n\t\t\"Stop\": [\n\t\t\t{\n\t\t\t\t\"hooks\": [\n\t\t\t\t\t{\n"
              "\t\t\t\t\t\t\"type\": \"command\",\n\t\t\t\t\t\t\"command\": " +
                  command + ",\n\t\t\t\t\t\t\"async\": true\n\t\t\t\t\t}\n\t\t\t\t]\n\t\t\t}\n\t\t]\n\t}\n}\n");
    EXPECT_EQ(installed(fileOf(R"({"model":"opus"})"), plan).text,
              R"({"model":"opus","hooks":{"Stop":[{"hooks":[{"type":"command","command":)" + command +
                  R"(,"async":true}]}]}})");
    EXPECT_EQ(installed(fileOf(R"({"model": "opus"})"), plan).text,
              R"({"model": "opus", "hooks": {"Stop": [{"hooks": [{"type": "command", "command": )" + command +
                  R"(, "async": true}]}]}})");
    const SettingsImage windows = installed(fileOf("{\r\n    \"model\": \"opus\"\r\n}\r\n"), plan);
    EXPECT_THAT(*windows.text, HasSubstr(",\r\n    \"hooks\": {\r\n        \"Stop\": [\r\n"));
    for (std::size_t position = windows.text->find('\n'); position != std::string::npos;
         position = windows.text->find('\n', position + 1))
        EXPECT_EQ((*windows.text)[position - 1], '\r');
}

TEST(WithHooks, MakesAFileThatIsReadable) {
    HookPlan plan = flatPlan();
    plan.entries.resize(1);
    EXPECT_EQ(installed({std::nullopt, 1}, plan).text,
              "{\n"
              "  \"hooks\": {\n"
              "    \"Stop\": [\n"
              "      {\n"
              "        \"command\": \"pelorin='/opt/p q/hooks/adapters/cli-hook.sh'; [ ! -x \\\"$pelorin\\\" ] || exec "
              "\\\"$pelorin\\\" cursor clear\"\n"
              "      }\n"
              "    ]\n"
              "  },\n"
              "  \"version\": 1\n"
              "}\n\n\n");
}

TEST(WithHooks, RepairsEveryKindOfDamage) {
    const HookPlan plan = samplePlan();
    const std::string original = "{\n  \"model\": \"opus\"\n}\n";
    const std::string whole = *installed(fileOf(original), plan).text;
    const auto damaged = [&](std::string_view from, std::string_view to) {
        std::string text = whole;
        const std::size_t position = text.find(from);
        EXPECT_NE(position, std::string::npos) << from;
        return text.replace(position, from.size(), to);
    };
    const std::string group = whole.substr(whole.find("      {"), whole.find("\n    ]") - whole.find("      {"));
    const std::string texts[] = {
        damaged("\"async\": true", "\"async\": false"),
        damaged(",\n            \"async\": true", ""),
        damaged("\"async\": true", "\"async\": true,\n            \"once\": true"),
        damaged("/opt/p q", "/opt/elsewhere"),
        damaged("\"PreToolUse\"", "\"PostToolUse\""),
        damaged(group, group + ",\n" + group),
        damaged("exec \\\"$pelorin\\\"", "exec \\\"$pelorin\\\" --old"),
        damaged("\"command\": \"pelorin='/opt/p q/hooks/claude-clear-hook.sh'; [ ! -x \\\"$pelorin\\\" ] || exec "
                "\\\"$pelorin\\\"\"",
                "\"command\": \"'/opt/p q/hooks/claude-clear-hook.sh'\""),
        damaged("\"command\": \"pelorin='/opt/p q/hooks/claude-clear-hook.sh'; [ ! -x \\\"$pelorin\\\" ] || exec "
                "\\\"$pelorin\\\"\"",
                "\"command\": \"exec \\\"/opt/p q/hooks/claude-clear-hook.sh\\\"\""),
        damaged("\"Stop\": [\n" + group + "\n    ],\n    ", ""),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        EXPECT_NE(text, whole);
        EXPECT_EQ(stateOf(fileOf(text), plan), HookState::damaged);
        EXPECT_EQ(installed(fileOf(text), plan).text, whole);
        EXPECT_EQ(uninstalled(fileOf(text), plan).text, original);
    }
}

TEST(WithHooks, LeavesAloneWhatTheUserHasNarrowed) {
    const HookPlan plan = samplePlan();
    std::string text = *installed(fileOf("{}"), plan).text;
    text.replace(text.find("Bash|Edit"), 9, "Bash");
    EXPECT_EQ(stateOf(fileOf(text), plan), HookState::current);
    EXPECT_EQ(installed(fileOf(text), plan).text, text);
}

TEST(WithoutHooks, LeavesAHookOfTheUsersInAGroupOfOurs) {
    const HookPlan plan = samplePlan();
    const std::string foreign = R"({"type": "command", "command": "mine"})";
    for (const bool isFirst : {true, false}) {
        std::string text = *installed(fileOf("{}\n"), plan).text;
        const std::size_t hook = text.find("          {");
        const std::size_t end = text.find("\n        ]");
        text.insert(isFirst ? hook + 10 : end, isFirst ? foreign + ", " : ", " + foreign);
        const SettingsImage without = uninstalled(fileOf(text), plan);
        EXPECT_EQ(parsed(without),
                  QJsonDocument::fromJson((R"({"hooks": {"Stop": [{"hooks": [)" + foreign + "]}]}}").c_str()).object());
    }
}

TEST(WithoutHooks, KeepsWhatWasAddedBehindOurs) {
    const HookPlan plan = samplePlan();
    std::string text = *installed(fileOf("{\n  \"a\": 1\n}\n"), plan).text;
    text.insert(text.size() - 3, ",\n  \"b\": 2");
    EXPECT_EQ(uninstalled(fileOf(text), plan).text, "{\n  \"a\": 1,\n  \"b\": 2\n}\n");
    text = *installed(fileOf("{}\n"), plan).text;
    text.insert(text.size() - 3, ",\n  \"b\": 2");
    EXPECT_EQ(parsed(uninstalled(fileOf(text), plan)), (QJsonObject{{"b", 2}}));
}

TEST(WithoutHooks, GoesByTheOriginalWhereAMarkIsLost) {
    const HookPlan plan = samplePlan();
    std::string text = *installed({std::nullopt, 2}, plan).text;
    // As a CLI writes it anew.
    while (text.ends_with('\n'))
        text.pop_back();
    EXPECT_EQ(uninstalled(fileOf(text), plan, Original::unknown), SettingsImage());
    EXPECT_EQ(uninstalled(fileOf(text), plan, Original::kept), fileOf("{}"));
}

TEST(WithoutHooks, TakesNothingThatOnlyLooksLikeOurs) {
    const std::string text = R"({"hooks": {"Stop": [
        {"hooks": [{"type": "command", "command": "/home/u/hooks/claude-clear-hook.sh"}]},
        {"hooks": [{"type": "command", "command": "echo pelorin="}]},
        {"hooks": [{"type": "command", "args": ["pelorin="]}]},
        {"command": "pelorin=1"}
      ], "pelorin=": "pelorin="}, "command": "pelorin=1"})";
    EXPECT_EQ(stateOf(fileOf(text), samplePlan()), HookState::absent);
    EXPECT_EQ(uninstalled(fileOf(text), samplePlan()).text, text);
}

TEST(GuardedCommand, QuotesEveryPath) {
    EXPECT_EQ(guardedCommand("/a b/it's $HOME \"x\"/hooks/claude-clear-hook.sh"),
              R"(pelorin='/a b/it'\''s $HOME "x"/hooks/claude-clear-hook.sh'; [ ! -x "$pelorin" ] || exec "$pelorin")");
    EXPECT_EQ(guardedCommand("/hooks/adapters/cli-hook.sh", "codex clear"),
              R"(pelorin='/hooks/adapters/cli-hook.sh'; [ ! -x "$pelorin" ] || exec "$pelorin" codex clear)");
}

} // namespace
} // namespace pelorin::setup
