#pragma once

#include "BeaconryKit/setup/ScriptRun.h"

#include <QString>

#include <optional>

namespace pelorin {

/// Finds the shipped scripts, tells whether Claude Code's settings hold the hooks, and runs the scripts that put them
/// in and take them out. Keeps nothing. The operations may be called from any thread; those that run a script block it
/// until the script has ended, and so belong on another one than the main thread.
class HookInstaller {
public:
    /// What the operations go by.
    struct Dependencies {
        QString home;
        /// Where what is shipped with the application is, if it runs as it is shipped.
        std::optional<QString> resourceDirectory;
        QString currentDirectory;
        Environment environment;
        QString shell = QStringLiteral("/bin/bash");
        /// Where the application's program is, to find the scripts of the checkout that it was built in. Only the
        /// application tells; the other programs go by the current directory alone.
        std::optional<QString> programDirectory = std::nullopt;

        /// Those of this process.
        static Dependencies ofProcess();
    };

    HookInstaller() = delete;

    /// The directory that holds the scripts or, in a checkout, the folder of the scripts: the resource directory if the
    /// installer is in it, else the nearest of the current directory and its first five ancestors that has one, else
    /// the same for the program's directory, else the current directory.
    static QString scriptsDir(const Dependencies& dependencies = Dependencies::ofProcess());

    static QString hooksDir(const Dependencies& dependencies = Dependencies::ofProcess());

    /// Claude Code's settings file, in the folder that `CLAUDE_CONFIG_DIR` names, or else in the home.
    static QString settingsPath(const Dependencies& dependencies = Dependencies::ofProcess());

    /// The scripts; the paths are given whether or not something stands there.
    static QString installerPath(const Dependencies& dependencies = Dependencies::ofProcess());
    static QString uninstallerPath(const Dependencies& dependencies = Dependencies::ofProcess());

    /// Whether the settings name one of the hook scripts. Settings that can't be read hold no hooks.
    static bool isInstalled(const Dependencies& dependencies = Dependencies::ofProcess());

    /// Nothing on success, else a message for the user.
    static std::optional<QString> install(const Dependencies& dependencies = Dependencies::ofProcess());
    static std::optional<QString> uninstall(const Dependencies& dependencies = Dependencies::ofProcess());

    /// Runs the script with the shell, and with exactly this environment; `name` is what messages call it. Nothing on
    /// success, else a message for the user: what the script has said, if it has said anything.
    static std::optional<QString> run(const QString& path, const QString& name, const Environment& environment,
                                      const QString& shell = QStringLiteral("/bin/bash"));
};

} // namespace pelorin
