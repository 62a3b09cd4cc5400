#include "hooks/setup/Target.h"

#include "hooks/setup/FileReplacement.h"
#include "hooks/setup/LoginEntry.h"

#include <cstdlib>

namespace pelorin::setup {

namespace {

// Claude Code.

std::string claudePath(const Surroundings& surroundings) {
    return surroundings.home + "/.claude/settings.json";
}

HookPlan claudePlan(const Surroundings& surroundings, ToolQuestions) {
    const auto script = [&](std::string_view name) {
        return guardedCommand(surroundings.hooksDirectory + "/claude-" + std::string(name) + "-hook.sh");
    };
    // In seconds. What nobody waits for ends by itself long before. A session's end has to have a time of its own,
    // since it is cut off after a second and a half otherwise; the longest wait for a decision is 580.
    return {.entries = {{"SessionStart", script("register"), {}, {{"timeout", "10"}}},
                        {"SessionEnd", script("unregister"), {}, {{"timeout", "10"}}},
                        {"PermissionRequest", script("permission"), {}, {{"timeout", "600"}}},
                        {"Notification", script("notify"), {}, {{"timeout", "10"}}},
                        {"UserPromptSubmit", script("clear"), {}, {{"timeout", "10"}, {"async", "true"}}},
                        {"PostToolUse", script("clear"), {}, {{"timeout", "10"}, {"async", "true"}}},
                        {"Stop", script("clear"), {}, {{"timeout", "10"}, {"async", "true"}}}},
            .hooksDirectory = surroundings.hooksDirectory};
}

// For a start of the program at login.

std::string loginPath(const Surroundings& surroundings) {
#ifdef __APPLE__
    return surroundings.home + "/Library/LaunchAgents/com.pelorin.manager.plist";
#else
    return surroundings.configHome + "/autostart/com.pelorin.manager.desktop";
#endif
}

std::optional<std::string> loginText(const Surroundings& surroundings) {
    if (surroundings.program.empty())
        return std::nullopt;
#ifdef __APPLE__
    return launchAgentText(surroundings.program);
#else
    return autostartText(surroundings.program);
#endif
}

constexpr Target targets[] = {
    {.name = "claude",
     .title = "Claude Code",
     .path = claudePath,
     .plan = claudePlan,
     .notes =
         "Sessions that run already take the hooks up by themselves. Permission requests can be allowed and denied\n"
         "in Pelorin while Claude Code's own dialog stands; questions are shown, and answered in the terminal."},
    {.name = "login", .title = "Start at login", .path = loginPath, .text = loginText},
};

std::string environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : std::string();
}

/// A directory that the environment names; one that is not absolute is to be ignored.
std::string directoryIn(const char* variable, const std::string& otherwise) {
    std::string directory = environmentText(variable);
    return directory.starts_with('/') ? directory : otherwise;
}

} // namespace

std::optional<Surroundings> surroundingsOfProcess() {
    Surroundings surroundings;
    surroundings.home = directoryIn("HOME", {});
    if (surroundings.home.empty())
        return std::nullopt;
    surroundings.configHome = directoryIn("XDG_CONFIG_HOME", surroundings.home + "/.config");
    surroundings.codexHome = directoryIn("CODEX_HOME", surroundings.home + "/.codex");
    return surroundings;
}

const Target* targetNamed(std::string_view name) {
    for (const Target& target : targets) {
        if (target.name == name)
            return &target;
    }
    return nullptr;
}

} // namespace pelorin::setup
