#include "BeaconrySetup/Target.h"

#include "BeaconryBase/UserFolders.h"
#include "BeaconrySetup/LoginEntry.h"
#include "BeaconrySetup/OpencodePlugin.h"

#include <cstdlib>

namespace pelorin::setup {

namespace {

// Claude Code.

std::string claudePath(const SetupEnvironment& environment) {
    return claudeSettingsFile(environment.claudeHome);
}

HookPlan claudePlan(const SetupEnvironment& environment, ToolQuestions) {
    const auto script = [&](std::string_view name) {
        return guardedCommand(environment.hooksDirectory + "/claude-" + std::string(name) + "-hook.sh");
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
            .hooksDirectory = environment.hooksDirectory};
}

// The others run one script with two arguments.

std::string adapterCommand(const SetupEnvironment& environment, std::string_view arguments) {
    return guardedCommand(environment.hooksDirectory + "/adapters/cli-hook.sh", arguments);
}

// Codex.

std::string codexPath(const SetupEnvironment& environment) {
    return environment.codexHome + "/hooks.json";
}

HookPlan codexPlan(const SetupEnvironment& environment, ToolQuestions) {
    // In seconds. Codex gives these two no more than three. It asks for trust again when an entry changes by a byte.
    return {
        .entries = {{"SessionStart", adapterCommand(environment, "codex register"), {}, {{"timeout", "10"}}},
                    {"SessionEnd", adapterCommand(environment, "codex unregister"), {}, {{"timeout", "3"}}},
                    {"PermissionRequest", adapterCommand(environment, "codex permission"), {}, {{"timeout", "600"}}},
                    {"UserPromptSubmit", adapterCommand(environment, "codex clear"), {}, {{"timeout", "10"}}},
                    {"PostToolUse", adapterCommand(environment, "codex clear"), {}, {{"timeout", "10"}}},
                    {"Stop", adapterCommand(environment, "codex clear"), {}, {{"timeout", "10"}}},
                    {"Interrupt", adapterCommand(environment, "codex clear"), {}, {{"timeout", "3"}}}},
        .hooksDirectory = environment.hooksDirectory};
}

// Gemini.

constexpr std::string_view geminiQuestionEvent = "BeforeTool";

std::string geminiPath(const SetupEnvironment& environment) {
    return environment.geminiHome + "/.gemini/settings.json";
}

HookPlan geminiPlan(const SetupEnvironment& environment, ToolQuestions questions) {
    // Gemini's status line shows a hook's name while it runs, and without one the whole command.
    const std::pair<std::string, std::string> name{"name", "\"Pelorin\""};
    // In milliseconds.
    const std::pair<std::string, std::string> shortly{"timeout", "10000"};
    HookPlan plan{.entries = {{"SessionStart", adapterCommand(environment, "gemini register"), {}, {name, shortly}},
                              {"SessionEnd", adapterCommand(environment, "gemini unregister"), {}, {name, shortly}},
                              {"Notification", adapterCommand(environment, "gemini notify"), {}, {name, shortly}},
                              {"BeforeAgent", adapterCommand(environment, "gemini clear"), {}, {name, shortly}},
                              {"AfterTool", adapterCommand(environment, "gemini clear"), {}, {name, shortly}},
                              {"AfterAgent", adapterCommand(environment, "gemini clear"), {}, {name, shortly}}},
                  .hooksDirectory = environment.hooksDirectory};
    if (questions == ToolQuestions::on)
        plan.entries.push_back({std::string(geminiQuestionEvent),
                                adapterCommand(environment, "gemini permission"),
                                "^(run_shell_command|write_file|replace|web_fetch|mcp_.*)$",
                                {name, {"timeout", "600000"}}});
    return plan;
}

// opencode.

std::string opencodePath(const SetupEnvironment& environment) {
    return environment.configHome + "/opencode/plugin/pelorin.js";
}

std::optional<std::string> opencodeText(const SetupEnvironment& environment) {
    return opencodePluginText(environment.hooksDirectory + "/adapters/opencode.mjs");
}

// Cursor.

std::string cursorPath(const SetupEnvironment& environment) {
    return environment.home + "/.cursor/hooks.json";
}

HookPlan cursorPlan(const SetupEnvironment& environment, ToolQuestions) {
    // In seconds.
    return {.layout = HookLayout::flat,
            .companions = {{"version", "1"}},
            .entries =
                {{"sessionStart", adapterCommand(environment, "cursor register"), {}, {{"timeout", "10"}}},
                 {"sessionEnd", adapterCommand(environment, "cursor unregister"), {}, {{"timeout", "10"}}},
                 {"beforeShellExecution", adapterCommand(environment, "cursor permission"), {}, {{"timeout", "600"}}},
                 {"beforeMCPExecution", adapterCommand(environment, "cursor permission"), {}, {{"timeout", "600"}}},
                 {"beforeSubmitPrompt", adapterCommand(environment, "cursor clear"), {}, {{"timeout", "10"}}},
                 {"stop", adapterCommand(environment, "cursor clear"), {}, {{"timeout", "10"}}}},
            .hooksDirectory = environment.hooksDirectory};
}

// For a start of the program at login.

std::string loginPath(const SetupEnvironment& environment) {
#ifdef __APPLE__
    return launchAgentFile(environment.home);
#else
    return autostartFile(environment.configHome);
#endif
}

std::optional<std::string> loginText(const SetupEnvironment& environment) {
    if (environment.program.empty())
        return std::nullopt;
#ifdef __APPLE__
    return launchAgentText(environment.program);
#else
    return autostartText(environment.program);
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
    {.name = "codex",
     .title = "Codex",
     .path = codexPath,
     .plan = codexPlan,
     .notes =
         "Codex runs the hooks only once you have trusted them: it asks for that when it starts next, and again when\n"
         "they change. Permission requests can be allowed and denied in Pelorin; Codex's own prompt comes when nobody\n"
         "has answered there. Codex has no notices. Its server runs the hooks of all sessions: Pelorin then knows\n"
         "neither a session's terminal nor what wyrn has said of it, unless you switch that server off with\n"
         "codex features disable daemon_auto_start."},
    {.name = "gemini",
     .title = "Gemini",
     .path = geminiPath,
     .plan = geminiPlan,
     .questionEvent = geminiQuestionEvent,
     .notes = "Pelorin shows what Gemini asks, and Gemini takes the answer in the terminal: no hook can give it. With\n"
              "--tool-questions Pelorin asks before every tool that changes something, also before those that Gemini\n"
              "would run unasked; denied there it does not run, allowed there Gemini goes on as without Pelorin.\n"
              "Gemini's policies are left as they are."},
    {.name = "opencode",
     .title = "opencode",
     .path = opencodePath,
     .text = opencodeText,
     .textStart = opencodePluginStart,
     .notes =
         "Sessions that run already have to be started anew. Permission requests can be allowed (once) and denied\n"
         "in Pelorin while opencode's own prompt stands; the first answer counts. Questions are shown, and answered\n"
         "in the terminal."},
    {.name = "cursor",
     .title = "Cursor",
     .path = cursorPath,
     .plan = cursorPlan,
     .notes =
         "This follows Cursor's documentation and has not been tried with a Cursor. Commands and tools of servers\n"
         "can be allowed and denied in Pelorin, also those that Cursor would run unasked. Cursor has no notices."},
    {.name = "login",
     .title = "Start at login",
     .scripts = Target::Scripts::notNeeded,
     .path = loginPath,
     .text = loginText},
};

std::string environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : std::string();
}

} // namespace

std::optional<SetupEnvironment> environmentOfProcess() {
    SetupEnvironment environment;
    environment.home = folderFrom(environmentText("HOME"), {});
    if (environment.home.empty())
        return std::nullopt;
    environment.configHome = configFolder(environmentText("XDG_CONFIG_HOME"), environment.home);
    environment.claudeHome = claudeFolder(environmentText("CLAUDE_CONFIG_DIR"), environment.home);
    environment.codexHome = folderFrom(environmentText("CODEX_HOME"), environment.home + "/.codex");
    environment.geminiHome = folderFrom(environmentText("GEMINI_CLI_HOME"), environment.home);
    return environment;
}

const Target* targetNamed(std::string_view name) {
    for (const Target& target : targets) {
        if (target.name == name)
            return &target;
    }
    return nullptr;
}

} // namespace pelorin::setup
