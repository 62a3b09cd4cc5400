#pragma once

#include "BeaconryHook/ToolCall.h"

#include <string>
#include <string_view>

namespace pelorin::hook {

// A CLI does not tell a waiting hook that the user has answered at the CLI's own prompt. So every waiting helper leaves
// a record of itself. A later hook of the same session finds it there, and ends the helper. Without a place for records
// the request stays until it expires.

/// A directory for the records that only the user can look into, made where it is missing: in `runtimeDirectory` if
/// that is set, else in `temporaryDirectory`, or in /tmp. Empty when none can be trusted.
std::string recordDirectory(std::string_view runtimeDirectory, std::string_view temporaryDirectory);

/// What has become of a helper's record.
enum class Recording {
    /// It stands there, until this process leaves.
    kept,
    /// The same request has come to another helper by another way, and that one waits already.
    doubled,
    /// There is none.
    impossible
};

/// Records that this process waits for an answer to the call. `origin` names the way that the request has taken. Equal
/// requests of one origin are two requests; equal requests of two origins are one.
Recording recordWaiting(const std::string& directory, const ToolCall& call, std::string_view origin);

/// Removes this process's record. Safe in a signal handler.
void forgetRecord();

/// Ends the helpers of the call's session that `ending` selects. Where two wait for the same call, the older one is
/// ended. Records of helpers that have ended are removed.
void endWaiting(const std::string& directory, const ToolCall& call, Ending ending);

} // namespace pelorin::hook
