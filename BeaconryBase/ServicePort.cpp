#include "BeaconryBase/ServicePort.h"

namespace pelorin {

std::uint16_t servicePort(std::string_view variableValue) {
    const bool isNegative = variableValue.starts_with('-');
    std::string_view digits = variableValue;
    if (isNegative || digits.starts_with('+'))
        digits.remove_prefix(1);
    if (digits.empty())
        return defaultServicePort;
    std::uint32_t port = 0;
    for (const char digit : digits) {
        if (digit < '0' || digit > '9')
            return defaultServicePort;
        port = port * 10 + static_cast<std::uint32_t>(digit - '0');
        if (port > (isNegative ? 0U : UINT16_MAX))
            return defaultServicePort;
    }
    return static_cast<std::uint16_t>(port);
}

} // namespace pelorin
