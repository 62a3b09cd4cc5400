#pragma once

#include <string>
#include <string_view>

namespace pelorin {

/// The SHA-256 digest of the bytes, in 64 lower-case hexadecimal digits.
std::string sha256(std::string_view bytes);

} // namespace pelorin
