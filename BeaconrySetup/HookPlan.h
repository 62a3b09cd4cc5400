#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pelorin::setup {

/// How a CLI writes down its hooks below "hooks" and the event's name.
enum class HookLayout {
    /// A list of groups, each with a list of hooks of its own.
    grouped,
    /// A list of hooks.
    flat
};

/// One hook that a settings file is to hold.
struct HookEntry {
    std::string event;
    /// What the CLI hands to a shell.
    std::string command;
    /// Which tools the hook is for, in the CLI's own notation; empty for all. Only with groups.
    std::string matcher = {};
    /// Further members, each with its value's JSON text.
    std::vector<std::pair<std::string, std::string>> options = {};
};

/// All that a settings file is to hold of ours.
struct HookPlan {
    HookLayout layout = HookLayout::grouped;
    /// Members that a file needs beside "hooks", each with its value's JSON text. They are written only into a new
    /// file.
    std::vector<std::pair<std::string, std::string>> companions = {};
    /// One for an event at the most.
    std::vector<HookEntry> entries;
    /// The directory of the scripts, without a slash at the end. Whatever runs one of them is ours, too.
    std::string hooksDirectory;
};

/// The command that runs the script with the arguments, which are plain words. When the script has gone it costs
/// nothing, says nothing and succeeds.
std::string guardedCommand(std::string_view script, std::string_view arguments = {});

/// Whether a command is one of ours, of whatever version, or was written by hand for one of the scripts in this
/// directory.
bool isOurCommand(std::string_view command, std::string_view hooksDirectory);

} // namespace pelorin::setup
