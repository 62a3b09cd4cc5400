#include "hooks/helper/CliAdapter.h"

#include "tests/hooks/CapturedPayloads.h"

#include <gmock/gmock.h>

namespace pelorin::hook {
namespace {

std::string claudeAnswer(Decision decision, std::string_view payload) {
    return adapterFor("claude")->answer(decision, readPayload(payload));
}

TEST(AdapterFor, KnowsClaudeCode) {
    const CliAdapter* adapter = adapterFor("claude");
    ASSERT_TRUE(adapter);
    EXPECT_STREQ(adapter->processVariable, "CLAUDE_PID");
    EXPECT_FALSE(adapterFor("Claude"));
    EXPECT_FALSE(adapterFor(""));
}

TEST(ClaudeAdapter, AnswersInTheWordsOfTheCli) {
    for (const CapturedPayload& payload : capturedPayloads("claude")) {
        if (payload.event != "PermissionRequest" || payload.text.find("ExitPlanMode") != std::string::npos)
            continue;
        SCOPED_TRACE(payload.name);
        EXPECT_EQ(claudeAnswer(Decision::allow, payload.text),
                  R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow"}}})");
        EXPECT_EQ(claudeAnswer(Decision::deny, payload.text),
                  R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                  R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})");
        EXPECT_EQ(claudeAnswer(Decision::ask, payload.text), "");
    }
}

TEST(ClaudeAdapter, AllowsAPlanTogetherWithItsInput) {
    const std::string payload = capturedPayload("claude/tui/PermissionRequest.ExitPlanMode.plan.json");
    EXPECT_EQ(claudeAnswer(Decision::allow, payload),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":"allow",)"
              R"("updatedInput":{"plan":"# Plan: greet\n\n1. Create `greet.txt`\n2. Say hello\n",)"
              R"("planFilePath":"/home/user/.claude/plans/wise-skipping-riddle.md"}}}})");
    EXPECT_EQ(claudeAnswer(Decision::deny, payload),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
              R"("decision":{"behavior":"deny","message":"Denied in Pelorin."}}})");
    EXPECT_EQ(claudeAnswer(Decision::ask, payload), "");
}

TEST(ClaudeAdapter, AllowsAPlanWithoutInputTogetherWithAnEmptyOne) {
    constexpr std::string_view expected = R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
                                          R"("decision":{"behavior":"allow","updatedInput":{}}}})";
    for (const std::string_view payload :
         {R"({"tool_name":"ExitPlanMode"})", R"({"tool_name":"ExitPlanMode","tool_input":null})",
          R"({"tool_name":"ExitPlanMode","tool_input":["plan"]})",
          R"({"tool_name":"Exit\u0050lanMode","tool_input":{}})"})
        EXPECT_EQ(claudeAnswer(Decision::allow, payload), expected) << payload;
}

// The CLI's own reader refuses a raw line end in a string, and would take the plan for not answered.
TEST(ClaudeAdapter, RepairsTheInputOfAPlan) {
    EXPECT_EQ(claudeAnswer(Decision::allow, "{\"tool_name\":\"ExitPlanMode\",\"tool_input\":{\"plan\":\"a\nb\"}}"),
              R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest",)"
              R"("decision":{"behavior":"allow","updatedInput":{"plan":"a\nb"}}}})");
}

TEST(ClaudeAdapter, TakesOnlyItsChoiceQuestionsForQuestions) {
    for (const CapturedPayload& payload : capturedPayloads("claude")) {
        const bool isQuestion = payload.text.find(R"("tool_name":"AskUserQuestion")") != std::string::npos;
        EXPECT_EQ(adapterFor("claude")->questionText(readPayload(payload.text)).has_value(), isQuestion)
            << payload.name;
    }
}

} // namespace
} // namespace pelorin::hook
