#include "BeaconrySetup/HookPlan.h"

#include "BeaconrySetup/ShellText.h"

namespace pelorin::setup {

namespace {

// The name of the variable marks our commands, for the program and for the reader of the settings.
constexpr std::string_view commandStart = "pelorin=";

constexpr std::string_view scriptNames[] = {
    "claude-permission-hook.sh", "claude-notify-hook.sh",     "claude-clear-hook.sh",
    "claude-register-hook.sh",   "claude-unregister-hook.sh", "adapters/cli-hook.sh",
};

} // namespace

std::string guardedCommand(std::string_view script, std::string_view arguments) {
    std::string command(commandStart);
    command += shellQuoted(script);
    command += R"(; [ ! -x "$pelorin" ] || exec "$pelorin")";
    if (!arguments.empty()) {
        command += ' ';
        command += arguments;
    }
    return command;
}

bool isOurCommand(std::string_view command, std::string_view hooksDirectory) {
    if (command.starts_with(commandStart))
        return true;
    if (hooksDirectory.empty())
        return false;
    for (const std::string_view name : scriptNames) {
        std::string script(hooksDirectory);
        script += '/';
        script += name;
        if (command.find(script) != std::string_view::npos ||
            command.find(shellQuoted(script)) != std::string_view::npos)
            return true;
    }
    return false;
}

} // namespace pelorin::setup
