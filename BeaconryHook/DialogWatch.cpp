#include "BeaconryHook/DialogWatch.h"

#include "BeaconryBase/JsonText.h"

#include <unistd.h>

namespace pelorin::hook {

namespace {

// What is asked stands at the end, behind what other tools have given meanwhile.
constexpr std::size_t tailSize = 1'000'000;

/// Whether the session has sub-agents. What they do stands in records of their own, in a folder beside the session's.
bool hasSubAgents(std::string_view path) {
    constexpr std::string_view ending = ".jsonl";
    if (path.ends_with(ending))
        path.remove_suffix(ending.size());
    return access((std::string(path) + "/subagents").c_str(), F_OK) == 0;
}

} // namespace

DialogWatch::DialogWatch(const Payload& payload)
    : m_record(decodedJsonString(payload.transcriptPath), tailSize), m_answer(payload.toolName, payload.toolInput) {
}

bool DialogWatch::isAnswered() {
    m_uses.read(m_record.readLines());
    return m_answer.isAnswered(m_uses);
}

std::optional<ToolUses::Use> onlyPendingUse(const Payload& payload) {
    const std::string path = decodedJsonString(payload.transcriptPath);
    if (hasSubAgents(path))
        return std::nullopt;
    ToolUses uses;
    uses.read(SessionRecord(path, tailSize).readLines());
    return uses.pending().size() == 1 ? std::optional(uses.pending().front()) : std::nullopt;
}

} // namespace pelorin::hook
