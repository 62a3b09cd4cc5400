#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace pelorin::setup {

/// Objects and arrays of a settings file may stand in each other this deep, the outermost one counted.
inline constexpr std::size_t settingsDepthLimit = 200;

/// Why a text is not one JSON object that every reader of plain JSON takes, and takes alike: in words that continue
/// "…, since ". Nothing when it is such an object. White space may stand around it, and a byte order mark before it.
std::optional<std::string> faultOf(std::string_view text);

/// The text without its byte order mark, if it has one.
std::string_view withoutByteOrderMark(std::string_view text);

} // namespace pelorin::setup
