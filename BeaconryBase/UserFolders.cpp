#include "BeaconryBase/UserFolders.h"

namespace pelorin {

std::string folderFrom(std::string_view variableValue, std::string_view otherwise) {
    return std::string(variableValue.starts_with('/') ? variableValue : otherwise);
}

std::string configFolder(std::string_view variableValue, std::string_view home) {
    return folderFrom(variableValue, std::string(home) + "/.config");
}

std::string claudeFolder(std::string_view variableValue, std::string_view home) {
    return folderFrom(variableValue, std::string(home) + "/.claude");
}

std::string claudeSettingsFile(std::string_view claudeFolder) {
    return std::string(claudeFolder) + "/settings.json";
}

std::string autostartFile(std::string_view configFolder) {
    return std::string(configFolder) + "/autostart/com.pelorin.manager.desktop";
}

std::string launchAgentFile(std::string_view home) {
    return std::string(home) + "/Library/LaunchAgents/com.pelorin.manager.plist";
}

} // namespace pelorin
