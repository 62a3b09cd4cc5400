#pragma once

namespace pelorin {

/// Stops the program at once: a caller has broken a rule that the code relies on. Not for anything that a person, a
/// file or a network can bring about.
[[noreturn]] void programmingError(const char* rule);

} // namespace pelorin
