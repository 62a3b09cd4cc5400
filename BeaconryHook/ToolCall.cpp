#include "BeaconryHook/ToolCall.h"

#include "BeaconryBase/JsonText.h"
#include "BeaconryBase/Sha256.h"

namespace pelorin::hook {

namespace {

struct EndingEntry {
    std::string_view event;
    Ending ending;
};

constexpr EndingEntry endings[] = {
    {"PostToolUse", Ending::call},     {"PostToolUseFailure", Ending::call}, {"UserPromptSubmit", Ending::ownCalls},
    {"Stop", Ending::ownCalls},        {"StopFailure", Ending::ownCalls},    {"Interrupt", Ending::ownCalls},
    {"BeforeAgent", Ending::ownCalls}, {"AfterAgent", Ending::ownCalls},     {"beforeSubmitPrompt", Ending::ownCalls},
    {"stop", Ending::ownCalls},
};

} // namespace

std::string ToolCall::key() const {
    std::string whole;
    for (const std::string* part : {&session, &agent, &tool, &inputDigest}) {
        appendJsonString(whole, *part);
        whole += ' ';
    }
    return sha256(whole);
}

ToolCall toolCallOf(const Payload& payload) {
    return {.session = decodedJsonString(payload.sessionId),
            .agent = decodedJsonString(payload.agentId),
            .tool = decodedJsonString(payload.toolName),
            .inputDigest = sha256(plainForm(payload.toolInput))};
}

std::string plainForm(std::string_view value) {
    std::string plain;
    while (!value.empty()) {
        if (value.front() == '"') {
            std::size_t end = 1;
            while (end < value.size() && value[end] != '"')
                end += value[end] == '\\' ? 2 : 1;
            const std::string_view text = value.substr(0, end + 1);
            appendJsonString(plain, decodedJsonString(text));
            value.remove_prefix(text.size());
            continue;
        }
        if (std::string_view(" \t\n\r").find(value.front()) == std::string_view::npos)
            plain += value.front();
        value.remove_prefix(1);
    }
    return plain;
}

Ending endingOf(Command command, const Payload& payload) {
    if (command == Command::unregisterSession)
        return Ending::all;
    if (command != Command::clear)
        return Ending::none;
    for (const EndingEntry& entry : endings) {
        if (jsonStringEquals(payload.eventName, entry.event))
            return entry.ending;
    }
    return Ending::none;
}

} // namespace pelorin::hook
