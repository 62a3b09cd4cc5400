#pragma once

#include "BeaconryHook/Payload.h"
#include "BeaconryHook/SessionRecord.h"
#include "BeaconryHook/ToolUses.h"

namespace pelorin::hook {

/// Follows the session's own record to see when the dialog of a request has been answered in the terminal, of which the
/// CLI tells no hook: by an answer in words, or when what was allowed has failed.
class DialogWatch {
public:
    /// Watches nothing when the payload names no record.
    explicit DialogWatch(const Payload& payload);

    /// Gets readable when `isAnswered` may have changed; -1 when nothing tells.
    int changes() const { return m_record.changes(); }

    /// Reads on in the record.
    bool isAnswered();

private:
    SessionRecord m_record;
    ToolUses m_uses;
    AnswerWatch m_answer;
};

/// The one use of a tool that the payload's session is held up by, by its own record; nothing when there are several,
/// and when it may be a sub-agent that asks.
std::optional<ToolUses::Use> onlyPendingUse(const Payload& payload);

} // namespace pelorin::hook
