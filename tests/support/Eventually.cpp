#include "tests/support/Eventually.h"

#include <poll.h>

namespace pelorin {

bool eventually(const std::function<bool()>& condition, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        poll(nullptr, 0, 1);
    }
    return true;
}

} // namespace pelorin
