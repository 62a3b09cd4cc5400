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

// The application knows what asks for an input by another name.
void translate(std::string_view, Payload& payload, PayloadTexts&) {
    if (jsonStringEquals(payload.notificationType, "elicitation_dialog"))
        payload.notificationType = R"("elicitation")";
}

bool isGenericNotice(const Payload& payload) {
    return jsonStringEquals(payload.notificationType, "permission_prompt") &&
           decodedJsonString(payload.message).starts_with("Claude needs your permission");
}

std::string useText(std::string_view toolName, std::string_view toolInput) {
    struct Wish {
        std::string_view tool;
        std::string_view text;
        std::string_view member;
    };
    constexpr Wish wishes[] = {
        {"Bash", "Claude wants to run: ", "command"},
        {"Edit", "Claude wants to change: ", "file_path"},
        {"Write", "Claude wants to change: ", "file_path"},
        {"NotebookEdit", "Claude wants to change: ", "notebook_path"},
        {"Read", "Claude wants to read: ", "file_path"},
        {"WebFetch", "Claude wants to fetch: ", "url"},
        {"WebSearch", "Claude wants to search: ", "query"},
    };
    for (const Wish& wish : wishes) {
        if (!jsonStringEquals(toolName, wish.tool))
            continue;
        std::string text(wish.text);
        appendOnOneLine(text, decodedJsonString(jsonMember(toolInput, wish.member)));
        return text;
    }
    return "Claude wants to use: " + decodedJsonString(toolName);
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

constexpr CliAdapter claudeAdapter{.source = "claude",
                                   .answer = answer,
                                   .processVariable = "CLAUDE_PID",
                                   .translate = translate,
                                   .questionText = questionText,
                                   .isGenericNotice = isGenericNotice,
                                   .useText = useText,
                                   .dialogVariable = "CLAUDE_CODE_ENTRYPOINT",
                                   .dialogValue = "cli"};

} // namespace pelorin::hook
