#include "BeaconryBase/UserFolders.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

TEST(FolderFrom, PassesOverWhatIsNoAbsolutePath) {
    EXPECT_EQ(folderFrom("/named", "/usual"), "/named");
    for (const std::string_view value : {"", "relative", "./named", "~/named", " /named"})
        EXPECT_EQ(folderFrom(value, "/usual"), "/usual") << value;
}

TEST(ConfigFolder, IsTheVariablesOrStandsInTheHome) {
    EXPECT_EQ(configFolder("", "/home/u"), "/home/u/.config");
    EXPECT_EQ(configFolder("relative", "/home/u"), "/home/u/.config");
    EXPECT_EQ(configFolder("/else where", "/home/u"), "/else where");
}

TEST(ClaudeFolder, IsTheVariablesOrStandsInTheHome) {
    EXPECT_EQ(claudeSettingsFile(claudeFolder("", "/home/u")), "/home/u/.claude/settings.json");
    EXPECT_EQ(claudeSettingsFile(claudeFolder("relative", "/home/u")), "/home/u/.claude/settings.json");
    EXPECT_EQ(claudeSettingsFile(claudeFolder("/else where", "/home/u")), "/else where/settings.json");
}

TEST(LoginFiles, StandWhereTheSystemsLook) {
    EXPECT_EQ(autostartFile("/home/u/.config"), "/home/u/.config/autostart/com.pelorin.manager.desktop");
    EXPECT_EQ(launchAgentFile("/Users/u"), "/Users/u/Library/LaunchAgents/com.pelorin.manager.plist");
}

} // namespace
} // namespace pelorin
