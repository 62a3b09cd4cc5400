#pragma once

#include <string>

namespace pelorin {

/// Names the calling thread for debuggers and `ps`. Systems that keep only a few bytes (Linux: 15) get the end of the
/// label, which is the part that tells one queue from another.
void setCurrentThreadName(const std::string& label);

} // namespace pelorin
