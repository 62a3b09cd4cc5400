#pragma once

#include "BeaconryHook/HookCall.h"
#include "BeaconryHook/Payload.h"

#include <string>

namespace pelorin::hook {

/// What tells one use of a tool from another: the CLIs give no id to a permission request.
struct ToolCall {
    std::string session;
    /// The sub-agent that uses the tool; empty for the session itself.
    std::string agent;
    std::string tool;
    /// A digest of the tool's input: what the input holds is nobody's business.
    std::string inputDigest;

    bool operator==(const ToolCall&) const = default;

    /// A digest of all of it, which can be the name of a file.
    std::string key() const;
};

/// The use of a tool that a payload tells of. How the input is spaced, and how its texts are escaped, does not matter.
ToolCall toolCallOf(const Payload& payload);

/// The value without white space between its parts, and with every text escaped in the same way.
std::string plainForm(std::string_view value);

/// Which of a session's waiting permission requests an event shows to have been answered elsewhere.
enum class Ending {
    none,
    /// The one of the event's own tool call.
    call,
    /// All but those of sub-agents: they may go on in the background while the session itself has got further.
    ownCalls,
    all
};

Ending endingOf(Command command, const Payload& payload);

} // namespace pelorin::hook
