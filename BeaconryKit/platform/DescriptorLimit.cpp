#include "BeaconryKit/platform/DescriptorLimit.h"

#include <algorithm>
#include <climits>
#include <sys/resource.h>

namespace pelorin {

void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
#if defined(__APPLE__)
    // macOS reports an unlimited hard limit but refuses a soft one above OPEN_MAX.
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, OPEN_MAX);
#endif
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace pelorin
