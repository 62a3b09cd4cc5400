#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace pelorin {

/// How many folders were made for a file that is wholly ours: it tells that by the empty lines at its end.
std::size_t madeFolders(std::string_view text);

/// Removes that many of the folders above a file, from the nearest on, up to the first that is not empty.
void removeEmptyFolders(const std::string& path, std::size_t count);

} // namespace pelorin
