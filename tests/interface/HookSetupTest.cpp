#include "BeaconryKit/interface/manager/HookSetup.h"

#include "tests/support/HookInstallation.h"
#include "tests/support/ManualDispatch.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

// What stands behind the manager window's buttons, with the scripts that are shipped.
namespace pelorin {
namespace {

namespace fs = std::filesystem;

TEST(HookSetup, UninstallsClaudeCodeAndTheStartAtLoginAndNothingElse) {
    const HookInstallation installation;
    const TemporaryDirectory home;
    fs::create_directories(installation.prefix() / "bin");
    std::ofstream(installation.prefix() / "bin/pelorin").flush();
    fs::permissions(installation.prefix() / "bin/pelorin", fs::perms::owner_all);
    const HookInstaller::Dependencies installer{
        .home = QString::fromStdString(home.path()),
        .resourceDirectory = QString::fromStdString(installation.scripts()),
        .currentDirectory = QStringLiteral("/"),
        .environment = {{"PATH", "/usr/bin:/bin"}, {"HOME", QByteArray::fromStdString(home.path())}}};
    const auto shell = runScript("/bin/bash",
                                 {QByteArray::fromStdString(installation.scripts() / "install-hooks.sh"), "--login",
                                  "--cli", "claude", "--cli", "codex"},
                                 installer.environment);
    ASSERT_TRUE(shell && shell->status == 0);
    const fs::path entry = home.path() / ".config/autostart/com.pelorin.manager.desktop";
    ASSERT_TRUE(fs::exists(entry));

    ManualDispatch dispatch;
    HookSetup setup(dispatch, {installer, {.plistPath = QString::fromStdString(entry), .tool = {}, .environment = {}}});
    setup.refresh();
    EXPECT_TRUE(setup.isInstalled());
    setup.uninstall();
    dispatch.runDue();
    EXPECT_EQ(setup.message(), QStringLiteral("Removed the Claude Code hooks. Removing login auto-start…"));
    EXPECT_FALSE(setup.isInstalled());
    EXPECT_TRUE(fs::exists(entry));
    dispatch.advance(HookSetup::launchAgentDelay);
    EXPECT_EQ(setup.message(), QStringLiteral("Removed the Claude Code hooks and login auto-start."));
    // The folders were made for the entry.
    EXPECT_FALSE(fs::exists(home.path() / ".config"));
    EXPECT_TRUE(fs::exists(home.path() / ".codex/hooks.json"));
}

} // namespace
} // namespace pelorin
