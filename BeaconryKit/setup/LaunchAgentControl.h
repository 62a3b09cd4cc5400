#pragma once

#include "BeaconryKit/setup/ScriptRun.h"

#include <QString>

#include <optional>

namespace pelorin {

/// Tells whether the application is set to start at login, and puts an end to that: by the user's launch agent on
/// macOS, by the desktop's own autostart entry elsewhere. Keeps nothing. The operations may be called from any thread,
/// which they may block for a while.
class LaunchAgentControl {
public:
    /// What the operations go by.
    struct Dependencies {
        /// The file that makes the application start at login.
        QString plistPath;
        /// The program that has to stop what the file has started; nothing where there is none.
        std::optional<QString> tool;
        Environment environment;

        /// Those of this process.
        static Dependencies ofProcess();
    };

    LaunchAgentControl() = delete;

    /// The file that makes the application start at login.
    static QString plistPath(const Dependencies& dependencies = Dependencies::ofProcess());

    /// Whether it exists.
    static bool isInstalled(const Dependencies& dependencies = Dependencies::ofProcess());

    /// Stops what the file has started, and removes the file with the empty folders that were made for it. Nothing on
    /// success and when there is no such file, else a message for the user.
    static std::optional<QString> uninstall(const Dependencies& dependencies = Dependencies::ofProcess());
};

} // namespace pelorin
