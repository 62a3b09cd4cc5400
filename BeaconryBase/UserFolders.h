#pragma once

#include <string>
#include <string_view>

namespace pelorin {

/// The folder that an environment variable's value names. `otherwise` when it is empty or relative: the rules for base
/// directories ask programs to ignore a relative path.
std::string folderFrom(std::string_view variableValue, std::string_view otherwise);

/// Where a free desktop keeps the user's settings, by the value of `XDG_CONFIG_HOME` and the user's home.
std::string configFolder(std::string_view variableValue, std::string_view home);

/// Where Claude Code keeps what is the user's, by the value of `CLAUDE_CONFIG_DIR` and the user's home.
std::string claudeFolder(std::string_view variableValue, std::string_view home);

/// Claude Code's settings in that folder.
std::string claudeSettingsFile(std::string_view claudeFolder);

/// The file by which a free desktop starts the application when the user logs in.
std::string autostartFile(std::string_view configFolder);

/// The file by which macOS does.
std::string launchAgentFile(std::string_view home);

} // namespace pelorin
