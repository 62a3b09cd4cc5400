#pragma once

#include <string>

namespace pelorin::setup {

// The files that stand beside a settings file while it is written. A run that is killed leaves its own behind.

/// A name for `mkostemp` for such a file in the folder.
std::string siblingTemplate(const std::string& folder);

/// Removes those that have been left in the folder: ordinary files of this user's that bear such a name. Nothing while
/// somebody holds the lock on the folder, who may be using his.
void removeLeftOvers(const std::string& folder);

} // namespace pelorin::setup
