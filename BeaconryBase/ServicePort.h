#pragma once

#include <cstdint>
#include <string_view>

namespace pelorin {

/// The port that the application listens on, and that the hooks post to, unless the environment says otherwise.
inline constexpr std::uint16_t defaultServicePort = 45789;

/// The name of the environment variable that overrides the port.
inline constexpr const char* servicePortVariable = "BEACONRY_PORT";

/// The port that the variable's value names: a whole decimal number of 16 bits, with an optional "+" in front ("-" only
/// before a zero). Anything else, and an empty value, gives the default.
std::uint16_t servicePort(std::string_view variableValue);

} // namespace pelorin
