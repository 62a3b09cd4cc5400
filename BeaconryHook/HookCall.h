#pragma once

#include <optional>
#include <string_view>

namespace pelorin::hook {

/// What a hook wants of the application.
enum class Command {
    /// Asks the user, and waits for the answer.
    permission,
    /// Shows a notice.
    notify,
    /// Withdraws the session's notices.
    clear,
    /// Makes a session known.
    registerSession,
    /// Ends a session.
    unregisterSession
};

/// The helper's arguments: `COMMAND [--source NAME]`.
struct HookCall {
    Command command = Command::notify;
    /// The CLI whose hook this is.
    std::string_view source = "claude";
};

/// Reads the arguments behind the program's name; nothing when they make no sense.
std::optional<HookCall> parseArguments(int count, const char* const* arguments);

/// The path that the application takes the command under.
std::string_view pathOf(Command command);

} // namespace pelorin::hook
