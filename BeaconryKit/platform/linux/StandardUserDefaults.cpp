#include "BeaconryBase/UserFolders.h"

#include "BeaconryKit/platform/FileUserDefaults.h"

#include <QDir>
#include <QFile>

namespace pelorin {

std::unique_ptr<UserDefaults> makeStandardUserDefaults() {
    const std::string folder =
        configFolder(qgetenv("XDG_CONFIG_HOME").toStdString(), QFile::encodeName(QDir::homePath()).toStdString());
    return std::make_unique<FileUserDefaults>(QFile::decodeName(folder.c_str()) +
                                              QStringLiteral("/com.pelorin.manager/defaults.json"));
}

} // namespace pelorin
