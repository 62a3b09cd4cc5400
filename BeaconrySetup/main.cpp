// pelorin-hook-setup: puts Pelorin's hooks into the settings of the AI CLIs, and takes them out again.

#include "BeaconryBase/FailedWrites.h"
#include "BeaconrySetup/Setup.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

namespace {

using namespace pelorin::setup;

constexpr int usageStatus = 2;

constexpr const char* usage = "usage: pelorin-hook-setup install|uninstall|status TARGET [OPTION...]\n"
                              "\n"
                              "TARGET: claude, codex, gemini, opencode, cursor or login\n"
                              "\n"
                              "  --hooks DIRECTORY    where the hook scripts are\n"
                              "  --tool-questions     with gemini: also ask before a tool changes something\n"
                              "  --program FILE       the program to start at login\n"
                              "  --dry-run            change nothing, and show what would be changed\n";

std::optional<Action> actionNamed(std::string_view name) {
    if (name == "install")
        return Action::install;
    if (name == "uninstall")
        return Action::uninstall;
    if (name == "status")
        return Action::status;
    return std::nullopt;
}

/// Reads what stands behind the action and the target; false when it makes no sense.
bool readOptions(int count, const char* const* arguments, Request& request, SetupEnvironment& environment) {
    for (int index = 0; index < count; ++index) {
        const std::string_view option = arguments[index];
        const bool hasValue = index + 1 < count && *arguments[index + 1] != '\0';
        if (option == "--dry-run") {
            request.writing = Writing::dryRun;
        } else if (option == "--tool-questions" && !request.target->questionEvent.empty()) {
            request.questions = ToolQuestions::on;
        } else if (option == "--hooks" && hasValue) {
            environment.hooksDirectory = arguments[++index];
        } else if (option == "--program" && hasValue) {
            environment.program = arguments[++index];
        } else {
            return false;
        }
    }
    return true;
}

int complain(const char* text) {
    std::fputs(text, stderr);
    return usageStatus;
}

} // namespace

int main(int count, char** arguments) {
    pelorin::surviveFailedWrites();
    if (count == 2 && std::string_view(arguments[1]) == "--help") {
        std::fputs(usage, stdout);
        return 0;
    }
    const auto action = count > 2 ? actionNamed(arguments[1]) : std::nullopt;
    const Target* target = count > 2 ? targetNamed(arguments[2]) : nullptr;
    auto environment = environmentOfProcess();
    if (!environment)
        return complain("pelorin-hook-setup: HOME is not set to a directory.\n");
    Request request{.action = action.value_or(Action::status), .target = target};
    if (!action || !target || !readOptions(count - 3, arguments + 3, request, *environment))
        return complain(usage);
    if (target->scripts == Target::Scripts::needed && !environment->hooksDirectory.starts_with('/'))
        return complain("pelorin-hook-setup: --hooks needs the whole path of the directory of the hook scripts.\n");
    const Report report = run(request, *environment);
    const bool isSuccess = report.outcome == Report::Outcome::success;
    std::fputs(report.text.c_str(), isSuccess ? stdout : stderr);
    return isSuccess ? 0 : 1;
}
