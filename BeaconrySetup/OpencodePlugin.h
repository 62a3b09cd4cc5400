#pragma once

#include <string>
#include <string_view>

namespace pelorin::setup {

/// How every version of the file begins that opencode loads.
inline constexpr std::string_view opencodePluginStart = "// Pelorin in opencode.";

/// The file that opencode loads. What it does stands in `module`, so that it changes together with the application;
/// without that module it does nothing.
std::string opencodePluginText(std::string_view module);

} // namespace pelorin::setup
