#pragma once

#include "BeaconrySetup/HookPlan.h"

#include <optional>
#include <string>
#include <string_view>

namespace pelorin::setup {

/// What a plan depends on.
struct SetupEnvironment {
    std::string home;
    /// The base directory of the user's settings on a free desktop.
    std::string configHome;
    /// Claude Code's own directory.
    std::string claudeHome;
    /// Codex's own directory.
    std::string codexHome;
    /// The home that Gemini takes for the user's.
    std::string geminiHome;
    /// The directory of the hook scripts.
    std::string hooksDirectory;
    /// The application's program, for what starts it.
    std::string program;
};

/// Reads what the environment tells; nothing without a home directory.
std::optional<SetupEnvironment> environmentOfProcess();

/// Whether Gemini is to ask before it uses a tool that changes something.
enum class ToolQuestions { off, on };

/// Something that can be set up, and be taken away again.
struct Target {
    enum class Scripts { needed, notNeeded };

    /// As it is called on the command line.
    std::string_view name;
    /// As it is called in messages.
    std::string_view title;
    /// Whether what is set up runs the hook scripts.
    Scripts scripts = Scripts::needed;
    /// The file that is edited or written.
    std::string (*path)(const SetupEnvironment& environment);
    /// For a file that belongs to somebody else: which hooks it is to hold.
    HookPlan (*plan)(const SetupEnvironment& environment, ToolQuestions questions) = nullptr;
    /// The event whose hooks of ours are there only with questions; empty without such an event.
    std::string_view questionEvent = {};
    /// For a file that is wholly ours: its text; nothing when something that it needs is missing.
    std::optional<std::string> (*text)(const SetupEnvironment& environment) = nullptr;
    /// How a file that is wholly ours begins, in whatever version.
    std::string_view textStart = {};
    /// What the user has to know once it is set up; lines without a line end behind the last one.
    std::string_view notes = {};
};

/// The target of this name, or nothing.
const Target* targetNamed(std::string_view name);

} // namespace pelorin::setup
