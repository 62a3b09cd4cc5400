#include "BeaconryBase/JsonText.h"
#include "BeaconryHook/AdapterText.h"
#include "BeaconryHook/Adapters.h"

namespace pelorin::hook {

namespace {

// Claude Code's choice questions come as permission requests, but allowing one answers nothing: it wants the chosen
// labels, and its own dialog stands in the terminal meanwhile.
std::optional<std::string> questionText(const Payload& payload) {
    if (!jsonStringEquals(payload.toolName, "AskUserQuestion"))
        return std::nullopt;
    std::string text = joinedQuestions(jsonMember(payload.toolInput, "questions"));
    if (text.empty())
        text = "Claude has a question";
    return text;
}

std::string answer(Decision decision, const Payload& payload) {
    constexpr std::string_view head =
        R"({"hookSpecificOutput":{"hookEventName":"PermissionRequest","decision":{"behavior":)";
    std::string answer(head);
    switch (decision) {
    case Decision::ask:
        return {};
    case Decision::deny:
        answer += R"("deny","message":"Denied in Pelorin.")";
        break;
    case Decision::allow:
        answer += R"("allow")";
        // A plan that is allowed without its input counts as not answered.
        if (jsonStringEquals(payload.toolName, "ExitPlanMode")) {
            answer += R"(,"updatedInput":)";
            if (payload.toolInput.starts_with('{'))
                appendRepaired(answer, payload.toolInput);
            else
                answer += "{}";
        }
        break;
    }
    answer += "}}}";
    return answer;
}

} // namespace

constexpr CliAdapter claudeAdapter{
    .source = "claude", .answer = answer, .processVariable = "CLAUDE_PID", .questionText = questionText};

} // namespace pelorin::hook
