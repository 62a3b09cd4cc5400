#pragma once

#include <optional>
#include <string>

namespace pelorin::setup {

/// What would become of the file at the path, as `diff -u` shows it, with a line end behind the last line. Nothing for
/// a text means that there is no file. Where the program diff is missing or fails, a line says so instead.
std::string unifiedDifference(const std::string& path, const std::optional<std::string>& before,
                              const std::optional<std::string>& after);

} // namespace pelorin::setup
