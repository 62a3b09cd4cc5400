#include "BeaconryKit/setup/LaunchAgentControl.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace pelorin {

LaunchAgentControl::Surroundings LaunchAgentControl::Surroundings::ofProcess() {
    Surroundings surroundings;
    surroundings.environment = processEnvironment();
#ifdef Q_OS_MACOS
    surroundings.plistPath = QDir::homePath() + QStringLiteral("/Library/LaunchAgents/com.pelorin.manager.plist");
    surroundings.tool = QStringLiteral("/bin/launchctl");
#else
    // The base directory rules ask programs to ignore a relative path in the variable.
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    surroundings.plistPath = base + QStringLiteral("/autostart/com.pelorin.manager.desktop");
#endif
    return surroundings;
}

QString LaunchAgentControl::plistPath(const Surroundings& surroundings) {
    return surroundings.plistPath;
}

bool LaunchAgentControl::isInstalled(const Surroundings& surroundings) {
    return QFileInfo::exists(surroundings.plistPath);
}

std::optional<QString> LaunchAgentControl::uninstall(const Surroundings& surroundings) {
    const QString& path = surroundings.plistPath;
    if (!isInstalled(surroundings))
        return std::nullopt;
    if (surroundings.tool) {
        // What the tool says, and whether it is content, does not matter: the file goes in any case.
        const auto outcome = runScript(QFile::encodeName(*surroundings.tool), {"unload", QFile::encodeName(path)},
                                       surroundings.environment);
        if (!outcome)
            return outcome.error();
    }
    QFile file(path);
    if (file.remove())
        return std::nullopt;
    return QStringLiteral("Stopped the login auto-start but couldn't delete %1: %2").arg(path, file.errorString());
}

} // namespace pelorin
