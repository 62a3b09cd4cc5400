#include "BeaconryHook/HookCall.h"

namespace pelorin::hook {

namespace {

struct CommandEntry {
    std::string_view name;
    Command command;
    std::string_view path;
};

constexpr CommandEntry commands[] = {
    {"permission", Command::permission, "/permission"},
    {"notify", Command::notify, "/event"},
    {"clear", Command::clear, "/clear"},
    {"register", Command::registerSession, "/register"},
    {"unregister", Command::unregisterSession, "/unregister"},
};

} // namespace

std::optional<HookCall> parseArguments(int count, const char* const* arguments) {
    if (count < 1)
        return std::nullopt;
    HookCall call;
    const CommandEntry* chosen = nullptr;
    for (const CommandEntry& entry : commands) {
        if (entry.name == arguments[0])
            chosen = &entry;
    }
    if (!chosen)
        return std::nullopt;
    call.command = chosen->command;
    if (count == 3 && std::string_view("--source") == arguments[1] && *arguments[2] != '\0')
        call.source = arguments[2];
    else if (count != 1)
        return std::nullopt;
    return call;
}

std::string_view pathOf(Command command) {
    for (const CommandEntry& entry : commands) {
        if (entry.command == command)
            return entry.path;
    }
    return {};
}

} // namespace pelorin::hook
