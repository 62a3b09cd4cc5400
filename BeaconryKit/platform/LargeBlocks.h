#pragma once

namespace pelorin {

/// From here on large blocks of memory go back to the system as soon as they are freed. The GNU library keeps them in
/// its heap otherwise, from the first one that is freed on, where a small one that is still in use holds up all below
/// it. To be called before other threads are started.
void giveLargeBlocksBack();

} // namespace pelorin
