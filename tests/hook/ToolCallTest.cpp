#include "BeaconryHook/ToolCall.h"

#include "BeaconryBase/Sha256.h"
#include "tests/hook/CapturedPayloads.h"

#include <gmock/gmock.h>

namespace pelorin::hook {
namespace {

ToolCall callIn(std::string_view payload) {
    return toolCallOf(readPayload(payload));
}

TEST(ToolCallOf, TellsTheCallsOfASessionApart) {
    const std::string_view payloads[] = {
        R"({"session_id":"s","tool_name":"Bash","tool_input":{"command":"ls"}})",
        R"({"session_id":"s","tool_name":"Bash","tool_input":{"command":"ls "}})",
        R"({"session_id":"s","tool_name":"Bash","tool_input":{"command":"ls","description":"x"}})",
        R"({"session_id":"s","tool_name":"Read","tool_input":{"command":"ls"}})",
        R"({"session_id":"t","tool_name":"Bash","tool_input":{"command":"ls"}})",
        R"({"session_id":"s","agent_id":"a","tool_name":"Bash","tool_input":{"command":"ls"}})",
        R"({"session_id":"s","tool_name":"Bash","tool_input":{}})",
        R"({"session_id":"s","tool_name":"Bash"})",
        R"({"session_id":"s\" \"","tool_name":"Bash"})",
        R"({})",
    };
    std::vector<std::string> keys;
    for (const std::string_view payload : payloads) {
        const std::string key = callIn(payload).key();
        EXPECT_THAT(key, testing::MatchesRegex("[0-9a-f]{64}"));
        EXPECT_THAT(keys, testing::Not(testing::Contains(key))) << payload;
        keys.push_back(key);
    }
}

TEST(ToolCallOf, DoesNotMindHowTheInputIsWritten) {
    EXPECT_EQ(callIn(R"({"session_id":"s","tool_name":"B","tool_input":{"a":"x\u0041\/\n","b":[1, 2]}})"),
              callIn("{\"tool_input\" : {\n \"a\" : \"xA/\\u000a\" , \"b\":[1,2] }, "
                     "\"tool_name\":\"\\u0042\",\"session_id\":\"s\"}"));
    EXPECT_NE(callIn(R"({"tool_input":{"a":"1 2"}})"), callIn(R"({"tool_input":{"a":"12"}})"));
}

// What Claude Code has really sent before and behind one use of a tool.
TEST(ToolCallOf, IsTheSameBeforeAndBehindTheCall) {
    const std::pair<std::string, std::string> table[] = {
        {"claude/tui/PermissionRequest.Bash.generalpurpose.json", "claude/tui/PostToolUse.Bash.generalpurpose.json"},
        {"claude/tui/PermissionRequest.Read.json", "claude/tui/PostToolUse.Read.json"},
        {"claude/tui/PermissionRequest.mcp__lab__elicit.json", "claude/tui/PostToolUse.mcp__lab__elicit.json"},
        {"claude/print/PermissionRequest.Bash.json", "claude/print/PostToolUse.Bash.json"},
    };
    for (const auto& [before, behind] : table) {
        const ToolCall asked = callIn(capturedPayload(before));
        const ToolCall used = callIn(capturedPayload(behind));
        EXPECT_EQ(asked.tool, used.tool);
        EXPECT_EQ(asked.inputDigest, used.inputDigest) << before;
        EXPECT_EQ(asked.agent.empty(), used.agent.empty());
    }
}

TEST(EndingOf, GoesByTheEvent) {
    const std::tuple<Command, std::string, Ending> table[] = {
        {Command::clear, "PostToolUse", Ending::call},
        {Command::clear, "PostToolUseFailure", Ending::call},
        {Command::clear, "UserPromptSubmit", Ending::ownCalls},
        {Command::clear, "Stop", Ending::ownCalls},
        {Command::clear, "StopFailure", Ending::ownCalls},
        {Command::clear, "Interrupt", Ending::ownCalls},
        {Command::clear, "SubagentStop", Ending::none},
        {Command::clear, "", Ending::none},
        {Command::notify, "Stop", Ending::none},
        {Command::permission, "PostToolUse", Ending::none},
        {Command::registerSession, "SessionStart", Ending::none},
        {Command::unregisterSession, "SessionEnd", Ending::all},
        {Command::unregisterSession, "", Ending::all},
    };
    for (const auto& [command, event, ending] : table)
        EXPECT_EQ(endingOf(command, readPayload(R"({"hook_event_name":")" + event + "\"}")), ending) << event;
}

} // namespace
} // namespace pelorin::hook
