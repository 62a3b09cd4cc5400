#include "BeaconryKit/relay/ReservedName.h"

namespace pelorin {

bool isReservedName(const QString& host) {
    const QString name = host.endsWith(u'.') ? host.chopped(1) : host;
    const QString last = name.section(u'.', -1);
    return last.compare(QLatin1String("example"), Qt::CaseInsensitive) == 0 ||
           last.compare(QLatin1String("invalid"), Qt::CaseInsensitive) == 0;
}

} // namespace pelorin
