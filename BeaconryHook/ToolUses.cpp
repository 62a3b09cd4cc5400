#include "BeaconryHook/ToolUses.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/ObjectScanner.h"
#include "BeaconryHook/ToolCall.h"

#include <algorithm>

namespace pelorin::hook {

namespace {

// More than a session has at once. What an ended program has left pending must not add up.
constexpr std::size_t pendingLimit = 64;

bool isObject(std::string_view line) {
    ObjectScanner scanner;
    return scanner.feed(line) == ObjectScanner::Progress::complete;
}

} // namespace

void ToolUses::read(std::string_view lines) {
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(lines.size(), line.size() + 1));
        // Most lines tell nothing of tools, and some are long.
        if (line.find("tool_use") != std::string_view::npos && isObject(line))
            readLine(line);
    }
}

void ToolUses::readLine(std::string_view line) {
    // What a sub-agent does stands in the record, too, in some versions.
    if (jsonMember(line, "isSidechain") == "true")
        return;
    JsonElementReader parts(jsonMember(jsonMember(line, "message"), "content"));
    while (const auto part = parts.next()) {
        const std::string_view type = jsonMember(*part, "type");
        if (jsonStringEquals(type, "tool_use")) {
            m_pending.push_back({.id = decodedJsonString(jsonMember(*part, "id")),
                                 .name = std::string(jsonMember(*part, "name")),
                                 .input = std::string(jsonMember(*part, "input"))});
            if (m_pending.size() > pendingLimit)
                m_pending.erase(m_pending.begin());
        } else if (jsonStringEquals(type, "tool_result")) {
            const std::string id = decodedJsonString(jsonMember(*part, "tool_use_id"));
            std::erase_if(m_pending, [&](const Use& use) { return use.id == id; });
        }
    }
}

AnswerWatch::AnswerWatch(std::string_view toolName, std::string_view toolInput)
    : m_toolName(decodedJsonString(toolName)), m_toolInput(toolInput) {
}

bool AnswerWatch::isMeant(const ToolUses::Use& use) const {
    if (!jsonStringEquals(use.name, m_toolName))
        return false;
    // The CLI completes what the model has left out.
    JsonMemberReader members(use.input);
    while (const auto member = members.next()) {
        const std::string_view asked = jsonMember(m_toolInput, decodedJsonString(member->name));
        if (plainForm(asked) != plainForm(member->value))
            return false;
    }
    return true;
}

bool AnswerWatch::isAnswered(const ToolUses& uses) {
    const bool isPending =
        std::ranges::any_of(uses.pending(), [this](const ToolUses::Use& use) { return isMeant(use); });
    m_wasPending = m_wasPending || isPending;
    return m_wasPending && !isPending;
}

} // namespace pelorin::hook
