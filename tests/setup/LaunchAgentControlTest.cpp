#include "BeaconryKit/setup/LaunchAgentControl.h"

#include "tests/support/TemporaryDirectory.h"

#include <QDir>
#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

namespace pelorin {
namespace {

namespace fs = std::filesystem;
using testing::Optional;

class LaunchAgentControlTest : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(folder() / "agents");
        // Tells what it was asked to do, and finds as much fault with it as it can.
        writeTool("echo \"$*\" >>\"$OUT\"\nline=0123456789\nwhile [ ${#line} -lt 200000 ]; do line=$line$line; done\n"
                  "echo \"$line\"; exit 5\n");
    }

    const fs::path& folder() const { return m_directory.path(); }
    fs::path agent() const { return folder() / "agents/agent.plist"; }

    void writeTool(const std::string& script) {
        std::ofstream(folder() / "tool") << "#!/bin/bash\n" << script;
        fs::permissions(folder() / "tool", fs::perms::owner_all);
    }

    LaunchAgentControl::Dependencies dependencies() const {
        return {.plistPath = QString::fromStdString(agent().string()),
                .tool = QString::fromStdString((folder() / "tool").string()),
                .environment = {{"OUT", (folder() / "out").string().c_str()}}};
    }

    std::string toldTool() const {
        std::ifstream file(folder() / "out");
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    TemporaryDirectory m_directory;
};

TEST_F(LaunchAgentControlTest, KnowsItsFile) {
#ifdef Q_OS_MACOS
    EXPECT_EQ(LaunchAgentControl::plistPath(), QDir::homePath() + "/Library/LaunchAgents/com.pelorin.manager.plist");
    EXPECT_EQ(LaunchAgentControl::Dependencies::ofProcess().tool, "/bin/launchctl");
#else
    const QByteArray before = qgetenv("XDG_CONFIG_HOME");
    qunsetenv("XDG_CONFIG_HOME");
    const QString usual = QDir::homePath() + "/.config/autostart/com.pelorin.manager.desktop";
    EXPECT_EQ(LaunchAgentControl::plistPath(), usual);
    qputenv("XDG_CONFIG_HOME", "relative");
    EXPECT_EQ(LaunchAgentControl::plistPath(), usual);
    qputenv("XDG_CONFIG_HOME", "/else where");
    EXPECT_EQ(LaunchAgentControl::plistPath(), "/else where/autostart/com.pelorin.manager.desktop");
    before.isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", before);
    EXPECT_EQ(LaunchAgentControl::Dependencies::ofProcess().tool, std::nullopt);
#endif
}

TEST_F(LaunchAgentControlTest, IsInstalledWhenTheFileExists) {
    EXPECT_FALSE(LaunchAgentControl::isInstalled(dependencies()));
    std::ofstream(agent()) << "";
    EXPECT_TRUE(LaunchAgentControl::isInstalled(dependencies()));
}

TEST_F(LaunchAgentControlTest, StartsNothingWhenThereIsNothingToRemove) {
    EXPECT_EQ(LaunchAgentControl::uninstall(dependencies()), std::nullopt);
    EXPECT_EQ(toldTool(), "");
}

TEST_F(LaunchAgentControlTest, RemovesTheEmptyFoldersThatWereMadeForTheFile) {
    const auto folders = folder() / "made/for/it";
    auto deep = dependencies();
    deep.plistPath = QString::fromStdString((folders / "agent.plist").string());
    fs::create_directories(folders);
    // The installer tells by empty lines how many folders it has made.
    std::ofstream(folders / "agent.plist") << "text\n\n\n";
    EXPECT_EQ(LaunchAgentControl::uninstall(deep), std::nullopt);
    EXPECT_FALSE(fs::exists(folder() / "made/for"));
    EXPECT_TRUE(fs::exists(folder() / "made"));
    fs::create_directories(folders);
    std::ofstream(folders / "agent.plist") << "text\n\n";
    std::ofstream(folders / "other") << "";
    EXPECT_EQ(LaunchAgentControl::uninstall(deep), std::nullopt);
    EXPECT_TRUE(fs::exists(folders / "other"));
}

TEST_F(LaunchAgentControlTest, UnloadsAndRemovesTheFileWhateverTheToolSays) {
    std::ofstream(agent()) << "";
    EXPECT_EQ(LaunchAgentControl::uninstall(dependencies()), std::nullopt);
    EXPECT_EQ(toldTool(), "unload " + agent().string() + "\n");
    EXPECT_FALSE(fs::exists(agent()));
}

TEST_F(LaunchAgentControlTest, RemovesTheFileWithoutATool) {
    std::ofstream(agent()) << "";
    auto places = dependencies();
    places.tool = std::nullopt;
    EXPECT_EQ(LaunchAgentControl::uninstall(places), std::nullopt);
    EXPECT_EQ(toldTool(), "");
    EXPECT_FALSE(fs::exists(agent()));
}

TEST_F(LaunchAgentControlTest, LeavesTheFileWhenTheToolCannotBeStarted) {
    std::ofstream(agent()) << "";
    auto places = dependencies();
    places.tool = "/no/such/tool";
    EXPECT_THAT(LaunchAgentControl::uninstall(places), Optional(QStringLiteral("No such file or directory")));
    EXPECT_TRUE(fs::exists(agent()));
}

TEST_F(LaunchAgentControlTest, SaysThatTheFileCannotBeDeleted) {
    // Not even the superuser can delete a file that has gone meanwhile.
    std::ofstream(agent()) << "";
    writeTool("rm \"$2\"\n");
    auto places = dependencies();
    places.environment["PATH"] = "/usr/bin:/bin";
    EXPECT_THAT(LaunchAgentControl::uninstall(places), Optional("Stopped the login auto-start but couldn't delete " +
                                                                places.plistPath + ": No such file or directory"));
}

} // namespace
} // namespace pelorin
