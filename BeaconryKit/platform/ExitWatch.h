#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <sys/types.h>

namespace pelorin {

/// Calls `onExit` once, when the child of that number has ended, on a thread of the platform's that must not be held
/// up. The child is not waited for: its number stays taken until the caller does that. False when the system has no
/// more descriptors or threads; nothing is called then. May be called from any thread.
bool watchForExit(pid_t child, Task onExit);

} // namespace pelorin
