#pragma once

#include <string>
#include <vector>

namespace pelorin {

/// What a real CLI has handed to a hook.
struct CapturedPayload {
    /// Where it stands below the folder of the captured payloads, as "claude/tui/Stop.json".
    std::string name;
    /// The event, as "Stop".
    std::string event;
    std::string text;
};

/// All payloads captured from a CLI, in the order of their names.
std::vector<CapturedPayload> capturedPayloads(const std::string& cli);

/// The text of one captured payload.
std::string capturedPayload(const std::string& name);

} // namespace pelorin
