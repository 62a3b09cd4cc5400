#pragma once

#include <string>
#include <string_view>

namespace pelorin::setup {

/// The entry by which a free desktop starts the program when the user logs in.
std::string autostartText(std::string_view program);

/// The launch agent by which macOS does.
std::string launchAgentText(std::string_view program);

} // namespace pelorin::setup
