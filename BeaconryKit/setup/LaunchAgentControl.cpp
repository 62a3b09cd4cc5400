#include "BeaconryKit/setup/LaunchAgentControl.h"

#include "BeaconryBase/MadeFolders.h"
#include "BeaconryBase/UserFolders.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace pelorin {

namespace {

// Of what stands in the entry's place, no more is read.
constexpr qint64 entrySizeLimit = 65536;

} // namespace

LaunchAgentControl::Dependencies LaunchAgentControl::Dependencies::ofProcess() {
    Dependencies dependencies;
    dependencies.environment = processEnvironment();
    const std::string home = QFile::encodeName(QDir::homePath()).toStdString();
#ifdef Q_OS_MACOS
    dependencies.plistPath = QFile::decodeName(launchAgentFile(home).c_str());
    dependencies.tool = QStringLiteral("/bin/launchctl");
#else
    const std::string folder = configFolder(qgetenv("XDG_CONFIG_HOME").toStdString(), home);
    dependencies.plistPath = QFile::decodeName(autostartFile(folder).c_str());
#endif
    return dependencies;
}

QString LaunchAgentControl::plistPath(const Dependencies& dependencies) {
    return dependencies.plistPath;
}

bool LaunchAgentControl::isInstalled(const Dependencies& dependencies) {
    return QFileInfo::exists(dependencies.plistPath);
}

std::optional<QString> LaunchAgentControl::uninstall(const Dependencies& dependencies) {
    const QString& path = dependencies.plistPath;
    if (!isInstalled(dependencies))
        return std::nullopt;
    if (dependencies.tool) {
        // What the tool says, and whether it is content, does not matter: the file goes in any case.
        const auto outcome = runScript(QFile::encodeName(*dependencies.tool), {"unload", QFile::encodeName(path)},
                                       dependencies.environment);
        if (!outcome)
            return outcome.error();
    }
    QFile file(path);
    // Opening what is no ordinary file may wait for ever.
    const bool isRead = QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly);
    const std::size_t folders = isRead ? madeFolders(file.read(entrySizeLimit).toStdString()) : 0;
    file.close();
    if (file.remove()) {
        removeEmptyFolders(QFile::encodeName(path).toStdString(), folders);
        return std::nullopt;
    }
    return QStringLiteral("Stopped the login auto-start but couldn't delete %1: %2").arg(path, file.errorString());
}

} // namespace pelorin
