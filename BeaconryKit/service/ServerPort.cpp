#include "BeaconryKit/service/ServerPort.h"

#include <algorithm>
#include <limits>

namespace pelorin {

quint16 serverPort(QByteArrayView value) {
    const bool isNegative = value.startsWith('-');
    const QByteArrayView digits = isNegative || value.startsWith('+') ? value.sliced(1) : value;
    if (digits.isEmpty())
        return defaultServerPort;
    quint32 port = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return defaultServerPort;
        port = port * 10 + static_cast<quint32>(digit - '0');
        if (port > (isNegative ? 0 : std::numeric_limits<quint16>::max()))
            return defaultServerPort;
    }
    return static_cast<quint16>(port);
}

} // namespace pelorin
