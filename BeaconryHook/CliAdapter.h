#pragma once

#include "BeaconryHook/HttpExchange.h"
#include "BeaconryHook/Payload.h"

#include <optional>
#include <string>
#include <string_view>

namespace pelorin::hook {

/// What the helper has to know about one AI CLI. A CLI that is added gets a row in the table behind `adapterFor`.
struct CliAdapter {
    /// Whose environment the CLI's hooks get.
    enum class Environment {
        /// That of the session's own terminal.
        ofTheSession,
        /// That of a server of all the user's sessions, which may have been started from any terminal, unless the
        /// hook stands below a terminal itself.
        maybeOfAServer
    };

    /// The CLI's name, as it stands behind `--source` and in the body.
    std::string_view source;

    /// What to print so that the CLI carries out the decision. Empty leaves the choice to the CLI's own prompt.
    std::string (*answer)(Decision decision, const Payload& payload);

    /// The environment variable in which the CLI hands its own process id to its hooks, if it does.
    const char* processVariable = nullptr;

    Environment environment = Environment::ofTheSession;

    /// Translates the CLI's words into the application's: the names of tools and of their inputs, and what a notice is
    /// about. New texts are kept in `texts`. Null where the CLI uses the application's words.
    void (*translate)(std::string_view object, Payload& payload, PayloadTexts& texts) = nullptr;

    /// The text of the notice that stands in for a permission request which can't be answered by allowing or denying,
    /// because it asks for something else. Nothing for a real request. Null where the CLI has no such requests.
    std::optional<std::string> (*questionText)(const Payload& payload) = nullptr;

    /// Whether a notice says only that something is asked, and not what. Null where none does.
    bool (*isGenericNotice)(const Payload& payload) = nullptr;

    /// What is asked when the CLI asks for this use of a tool; the name and the input are JSON texts. Null where the
    /// session's record is none that `ToolUses` reads.
    std::string (*useText)(std::string_view toolName, std::string_view toolInput) = nullptr;

    /// Whether the CLI has somebody else than the user decide, by the last lines of the session's record. Null where it
    /// always asks the user.
    bool (*asksNobody)(std::string_view lines) = nullptr;

    /// The environment variable, and the value in it, by which the CLI tells that it shows a dialog of its own in a
    /// terminal while a hook waits, and leaves it there when the hook says nothing. Null where that is never so, or
    /// cannot be known.
    const char* dialogVariable = nullptr;
    std::string_view dialogValue = {};
};

/// The adapter of the CLI with this name. Without one its hooks can tell things, but not ask for permission.
const CliAdapter* adapterFor(std::string_view source);

/// The adapter of the CLI that has composed the payload, when it has been handed to a hook of the CLI `called`: there
/// is a CLI that runs the hooks of another one, too, with payloads of its own. `called` may be null.
const CliAdapter* composerOf(std::string_view object, const CliAdapter* called);

/// Reads a complete object in the words that the application knows. Both the object and `texts` must outlive the
/// payload; `composer` may be null.
Payload readPayload(std::string_view object, const CliAdapter* composer, PayloadTexts& texts);

} // namespace pelorin::hook
