#include "BeaconryKit/platform/LargeBlocks.h"

#include <cstdlib>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace pelorin {

void giveLargeBlocksBack() {
#if defined(__GLIBC__)
    // A request of a hook that is large at all is larger, in bytes; what the program needs again and again is smaller.
    mallopt(M_MMAP_THRESHOLD, 524'288);
#endif
}

} // namespace pelorin
