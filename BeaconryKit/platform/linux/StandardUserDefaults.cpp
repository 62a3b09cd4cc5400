#include "BeaconryKit/platform/FileUserDefaults.h"

#include <QDir>

namespace pelorin {

std::unique_ptr<UserDefaults> makeStandardUserDefaults() {
    // The base directory rules ask programs to ignore a relative path in the variable.
    QString base = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!QDir::isAbsolutePath(base))
        base = QDir::homePath() + QStringLiteral("/.config");
    return std::make_unique<FileUserDefaults>(base + QStringLiteral("/com.pelorin.manager/defaults.json"));
}

} // namespace pelorin
