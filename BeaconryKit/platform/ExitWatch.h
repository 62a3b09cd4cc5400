#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <cstdint>
#include <sys/types.h>

namespace pelorin {

/// Calls `onExit` once, when the child of that number has ended, on a thread of the platform's that must not be held
/// up. The child is not waited for: its number stays taken until the caller does that. False when the system has no
/// more descriptors or threads; nothing is called then. May be called from any thread.
bool watchForExit(pid_t child, Task onExit);

/// The same for a process that need not be a child. `startTime` is that of `ProcessFacts`: a later process that has got
/// the same number is not meant. False, too, when there is no such process, and where the system tells of children
/// only.
bool watchForExit(pid_t process, std::uint64_t startTime, Task onExit);

} // namespace pelorin
