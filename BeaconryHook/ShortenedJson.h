#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace pelorin::hook {

/// The least number of bytes that a value can be asked to be shortened to.
inline constexpr std::size_t leastShortenedSize = 32;

/// The JSON value in at most `size` bytes. Long strings lose their middle, for which " […] " stands; of members and
/// elements that are too many the middle ones go. A value that is short enough stays as it stands.
std::string shortenedJson(std::string_view value, std::size_t size);

} // namespace pelorin::hook
