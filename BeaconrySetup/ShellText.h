#pragma once

#include <string>
#include <string_view>

namespace pelorin::setup {

/// The text as one word of a POSIX shell, whatever it holds.
inline std::string shellQuoted(std::string_view text) {
    std::string quoted = "'";
    for (const char byte : text) {
        if (byte == '\'')
            quoted += "'\\''";
        else
            quoted += byte;
    }
    quoted += '\'';
    return quoted;
}

} // namespace pelorin::setup
