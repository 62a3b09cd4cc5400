#pragma once

#include <string>
#include <string_view>

namespace pelorin {

/// The SHA-256 digest of the bytes, in 64 lower-case hexadecimal digits.
///
/// This is our own, and not a library's: the helper is static and starts for every hook, so that it links nothing but
/// the system, and a cryptographic library does far more, at its start too, than this one function. What is hashed is
/// no secret: the digest tells calls apart and names a file.
std::string sha256(std::string_view bytes);

} // namespace pelorin
