#include "BeaconryKit/model/PathText.h"

namespace pelorin {

QString unknownProjectName() {
    return QStringLiteral("unknown");
}

QString lastPathComponent(QStringView path) {
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    if (path == u"/")
        return QStringLiteral("/");
    return path.sliced(path.lastIndexOf(u'/') + 1).toString();
}

std::optional<QString> ttyDevicePath(const QString& tty) {
    if (tty.isEmpty() || tty == u"??")
        return std::nullopt;
    return QStringLiteral("/dev/") + tty;
}

} // namespace pelorin
