#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace pelorin {

/// The decimal number that the whole text is; nothing when it is none, or when `Number` cannot hold it. Without a sign,
/// but for the "-" of a number that may be negative.
template <class Number>
std::optional<Number> wholeNumber(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace pelorin
