#pragma once

#include <string>
#include <string_view>

namespace pelorin::setup {

/// The lines in which two texts differ, those of the first marked with "- " and those of the second with "+ ".
std::string lineDifference(std::string_view before, std::string_view after);

} // namespace pelorin::setup
