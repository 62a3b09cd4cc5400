#pragma once

#include <string>

namespace pelorin::setup {

/// Whether somebody has a file open for writing; `unknown` where the system does not tell.
enum class OpenWriter { none, present, unknown };

/// Looks who has the file at the path open. It must not be open for writing here.
OpenWriter openWriterOf(const std::string& path);

} // namespace pelorin::setup
