#pragma once

#include <cstdint>
#include <string_view>

namespace pelorin::hook {

/// The port that the application listens on unless the environment says otherwise.
inline constexpr std::uint16_t defaultServicePort = 45789;

/// The port that the value of `BEACONRY_PORT` names, read exactly as the application reads it: a whole decimal number
/// of 16 bits, with an optional "+" in front ("-" only before a zero). Anything else gives the default.
std::uint16_t servicePort(std::string_view variableValue);

} // namespace pelorin::hook
