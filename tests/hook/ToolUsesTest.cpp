#include "BeaconryHook/ToolUses.h"

#include <gtest/gtest.h>

namespace pelorin::hook {
namespace {

std::string use(const std::string& id, const std::string& name, const std::string& input,
                const std::string& more = {}) {
    return R"({"type":"assistant",)" + more +
           R"("message":{"role":"assistant","content":[{"type":"text","text":"x"},)" + R"({"type":"tool_use","id":")" +
           id + R"(","name":")" + name + R"(","input":)" + input + "}]}}\n";
}

std::string result(const std::string& id) {
    return R"({"type":"user","message":{"content":[{"tool_use_id":")" + id +
           R"(","type":"tool_result","content":"tool_use","is_error":true}]}})" + "\n";
}

TEST(ToolUses, ArePendingUntilTheyHaveAResult) {
    ToolUses uses;
    uses.read(use("1", "Bash", R"({"command":"ls"})") + use("2", "Read", R"({"file_path":"/x"})"));
    ASSERT_EQ(uses.pending().size(), 2U);
    EXPECT_EQ(uses.pending()[0].name, R"("Bash")");
    EXPECT_EQ(uses.pending()[0].input, R"({"command":"ls"})");
    uses.read(result("1") + result("unheard-of"));
    ASSERT_EQ(uses.pending().size(), 1U);
    EXPECT_EQ(uses.pending()[0].id, "2");
}

TEST(ToolUses, AreNotFoundInWhatIsNotUnderstood) {
    ToolUses uses;
    uses.read("tool_use\n{\"type\":\"tool_use\"\n{}\n\n{\"message\":{\"content\":\"tool_use\"}}\n" +
              use("1", "Bash", "{}", R"("isSidechain":true,)") +
              R"({"message":{"role":"user","content":"{\"type\":\"tool_use\",\"id\":\"1\"}"}})" + "\n[\"tool_use\"]\n");
    EXPECT_TRUE(uses.pending().empty());
}

TEST(ToolUses, DoNotAddUp) {
    ToolUses uses;
    for (int number = 0; number < 1'000; ++number)
        uses.read(use(std::to_string(number), "Bash", "{}"));
    EXPECT_LE(uses.pending().size(), 64U);
    EXPECT_EQ(uses.pending().back().id, "999");
}

TEST(AnswerWatch, SeesTheResultOfTheUseThatIsAsked) {
    ToolUses uses;
    AnswerWatch watch(R"("Bash")", R"({"command":"ls","description":"List"})");
    uses.read(use("other", "Bash", R"({"command":"pwd"})"));
    EXPECT_FALSE(watch.isAnswered(uses));
    uses.read(result("other"));
    EXPECT_FALSE(watch.isAnswered(uses));
    uses.read(use("1", "Bash", R"({"description" : "List", "command":"l\u0073"})"));
    EXPECT_FALSE(watch.isAnswered(uses));
    uses.read(result("1"));
    EXPECT_TRUE(watch.isAnswered(uses));
}

TEST(AnswerWatch, TakesNoEarlierUseForTheOneThatIsAsked) {
    ToolUses uses;
    AnswerWatch watch(R"("Bash")", R"({"command":"ls"})");
    uses.read(use("earlier", "Bash", R"({"command":"ls"})") + result("earlier"));
    EXPECT_FALSE(watch.isAnswered(uses));
}

TEST(AnswerWatch, WaitsForTheLastOfEqualUses) {
    ToolUses uses;
    AnswerWatch watch(R"("Bash")", R"({"command":"ls"})");
    uses.read(use("1", "Bash", R"({"command":"ls"})") + use("2", "Bash", R"({"command":"ls"})"));
    EXPECT_FALSE(watch.isAnswered(uses));
    uses.read(result("1"));
    EXPECT_FALSE(watch.isAnswered(uses));
    uses.read(result("2"));
    EXPECT_TRUE(watch.isAnswered(uses));
}

TEST(AnswerWatch, MindsThatTheCliCompletesWhatTheModelHasLeftOut) {
    ToolUses uses;
    AnswerWatch edit(R"("Edit")", R"({"file_path":"/x","old_string":"a","new_string":"b","replace_all":false})");
    AnswerWatch plan(R"("ExitPlanMode")", R"({"plan":"# Plan","planFilePath":"/p.md"})");
    AnswerWatch otherFile(R"("Edit")", R"({"file_path":"/y","old_string":"a","new_string":"b","replace_all":false})");
    uses.read(use("1", "Edit", R"({"file_path":"/x","old_string":"a","new_string":"b"})") +
              use("2", "ExitPlanMode", "{}"));
    for (AnswerWatch* watch : {&edit, &plan, &otherFile})
        EXPECT_FALSE(watch->isAnswered(uses));
    uses.read(result("1") + result("2"));
    EXPECT_TRUE(edit.isAnswered(uses));
    EXPECT_TRUE(plan.isAnswered(uses));
    EXPECT_FALSE(otherFile.isAnswered(uses));
}

} // namespace
} // namespace pelorin::hook
