#include "BeaconryKit/platform/ResourceDirectory.h"

#include <QCoreApplication>
#include <QDir>

namespace pelorin {

namespace {

#ifdef Q_OS_MACOS
constexpr QLatin1StringView fromProgram("/../Resources");
#else
constexpr QLatin1StringView fromProgram("/../share/pelorin");
#endif

} // namespace

std::optional<QString> resourceDirectory() {
    if (!QCoreApplication::instance())
        return std::nullopt;
    const QDir directory(QCoreApplication::applicationDirPath() + fromProgram);
    if (!directory.exists())
        return std::nullopt;
    return QDir::cleanPath(directory.path());
}

} // namespace pelorin
