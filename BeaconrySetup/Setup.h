#pragma once

#include "BeaconrySetup/Target.h"

#include <string>

namespace pelorin::setup {

enum class Action { install, uninstall, status };

/// Whether files are changed, or the changes are only shown.
enum class Writing { real, dryRun };

/// What a run has to say.
struct Report {
    enum class Outcome { success, failure };

    Outcome outcome = Outcome::success;
    /// Lines for the user, with a line end behind the last one.
    std::string text;
};

struct Request {
    Action action = Action::status;
    const Target* target = nullptr;
    Writing writing = Writing::real;
    ToolQuestions questions = ToolQuestions::off;
};

/// Carries out the request on the target's file.
Report run(const Request& request, const SetupEnvironment& environment);

} // namespace pelorin::setup
