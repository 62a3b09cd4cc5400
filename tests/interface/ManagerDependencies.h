#pragma once

#include "tests/support/FakeHTTPTransport.h"
#include "tests/support/ManualDispatch.h"
#include "tests/support/MemoryUserDefaults.h"
#include "tests/support/TemporaryDirectory.h"

#include "BeaconryKit/interface/manager/ManagerWindowController.h"

#include <fstream>
#include <string>

namespace pelorin {

/// All that a manager window needs, made for a test: stores of its own, queues that are moved by hand, a relay that the
/// test answers for, and a home with scripts of the test's.
struct ManagerDependencies {
    ManagerDependencies() {
        write("install-hooks.sh", "");
        write("uninstall-hooks.sh", "");
    }

    ManagerParts parts() {
        return {.store = store,
                .registry = registry,
                .settings = settings,
                .dispatch = dispatch,
                .relay = relay,
                .provisioner = provisioner,
                .hooks = {{.home = path("home"),
                           .resourceDirectory = path(""),
                           .currentDirectory = path(""),
                           .environment = {{"PATH", "/usr/bin:/bin"}, {"HOME", path("home").toUtf8()}}},
                          {.plistPath = path("autostart"), .tool = std::nullopt, .environment = {}}}};
    }

    QString path(const std::string& name) const {
        return QString::fromStdString(name.empty() ? directory.path().string() : (directory.path() / name).string());
    }

    void write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories((directory.path() / name).parent_path());
        std::ofstream(directory.path() / name, std::ios::binary) << text;
    }

    /// Puts the hooks into Claude Code's settings, as the installer would.
    void markInstalled() const {
        write("home/.claude/settings.json", R"({"hooks": {"Stop": "/somewhere/hooks/claude-clear-hook.sh"}})");
    }

    TemporaryDirectory directory;
    ManualDispatch dispatch;
    MemoryUserDefaults defaults;
    NotifierSettings settings{defaults};
    SessionRegistry registry;
    AskStore store;
    FakeHTTPTransport transport;
    RelayClient relay{dispatch, transport};
    RelayProvisioner provisioner{dispatch, transport};
};

} // namespace pelorin
