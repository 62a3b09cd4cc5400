#pragma once

#include <initializer_list>

namespace pelorin {

/// Has the system answer these calls as one that does not know them, for the calling thread and what it starts from now
/// on. False where that cannot be done.
bool denySystemCalls(std::initializer_list<int> numbers);

} // namespace pelorin
