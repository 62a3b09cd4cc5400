#pragma once

#include "BeaconryHook/ToolCall.h"

#include <string>
#include <string_view>

namespace pelorin::hook {

// A CLI does not tell a waiting hook that the user has answered at the CLI's own prompt. So every waiting helper leaves
// a record of itself, by which a later hook of the same session finds it and ends it. Without a place for the records
// all goes on without them: the request then stays until it expires.

/// A directory of the user's own that nobody else can look into: `runtimeDirectory` if that is set, else one of ours in
/// `temporaryDirectory`, or in /tmp. It is made where it is missing. Empty when there is none that can be trusted.
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

/// Records that this process waits for an answer to the call. `origin` names the way that the request has taken: two
/// requests that are alike and have come by the same way are two.
Recording recordWaiting(const std::string& directory, const ToolCall& call, std::string_view origin);

/// Removes this process's record. Safe in a signal handler.
void forgetRecord();

/// Ends the helpers that wait for answers to requests of the call's session, as far as `ending` goes; of two that wait
/// for the same call, the one that came first. Records of helpers that are no more are removed.
void endWaiting(const std::string& directory, const ToolCall& call, Ending ending);

} // namespace pelorin::hook
