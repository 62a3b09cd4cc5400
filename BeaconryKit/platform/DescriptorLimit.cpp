#include "BeaconryKit/platform/DescriptorLimit.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <sys/resource.h>

namespace pelorin {

namespace {

// 0 as long as it has not been raised.
std::atomic<rlim_t> limitBefore = 0;

} // namespace

void raiseDescriptorLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = limit.rlim_max;
#if defined(__APPLE__)
    // macOS reports an unlimited hard limit but refuses a soft one above OPEN_MAX.
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_cur, OPEN_MAX);
#endif
    if (limit.rlim_cur > before && setrlimit(RLIMIT_NOFILE, &limit) == 0)
        limitBefore = before;
}

void putDescriptorLimitBack() {
    rlimit limit{};
    if (limitBefore == 0 || getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limitBefore;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace pelorin
