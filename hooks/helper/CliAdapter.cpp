#include "hooks/helper/CliAdapter.h"

#include "hooks/helper/JsonText.h"

namespace pelorin::hook {

namespace {

// Runs of white space and control characters become one space, so that the text stands on one line.
void appendOnOneLine(std::string& out, std::string_view text) {
    const std::size_t start = out.size();
    bool isSpaceDue = false;
    for (const char byte : text) {
        const auto value = static_cast<unsigned char>(byte);
        if (value <= 0x20 || value == 0x7F) {
            isSpaceDue = out.size() > start;
            continue;
        }
        if (isSpaceDue)
            out += ' ';
        isSpaceDue = false;
        out += byte;
    }
}

// Claude Code's choice questions come as permission requests, but allowing one answers nothing: it wants the chosen
// labels, and its own dialog stands in the terminal meanwhile.
std::optional<std::string> claudeQuestionText(const Payload& payload) {
    if (!jsonStringEquals(payload.toolName, "AskUserQuestion"))
        return std::nullopt;
    std::string text;
    JsonElementReader questions(jsonMember(payload.toolInput, "questions"));
    while (const auto question = questions.next()) {
        std::string one;
        appendOnOneLine(one, decodedJsonString(jsonMember(*question, "question")));
        if (one.empty())
            continue;
        if (!text.empty())
            text += " / ";
        text += one;
    }
    if (text.empty())
        text = "Claude has a question";
    return text;
}

std::string claudeAnswer(Decision decision, const Payload& payload) {
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

constexpr CliAdapter adapters[] = {
    {"claude", "CLAUDE_PID", claudeQuestionText, claudeAnswer},
};

} // namespace

const CliAdapter* adapterFor(std::string_view source) {
    for (const CliAdapter& adapter : adapters) {
        if (adapter.source == source)
            return &adapter;
    }
    return nullptr;
}

} // namespace pelorin::hook
