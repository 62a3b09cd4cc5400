#include "BeaconryKit/platform/ThreadName.h"

#include <pthread.h>

namespace pelorin {

void setCurrentThreadName(const std::string& label) {
#if defined(__APPLE__)
    pthread_setname_np(label.c_str());
#else
    constexpr std::size_t longestName = 15;
    const std::size_t start = label.size() > longestName ? label.size() - longestName : 0;
    pthread_setname_np(pthread_self(), label.c_str() + start);
#endif
}

} // namespace pelorin
