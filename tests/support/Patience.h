#pragma once

#include <algorithm>
#include <chrono>

namespace pelorin {

/// How long a test waits for something real that must happen: long enough for a busy machine, since nothing waits this
/// long unless it is about to fail.
inline constexpr std::chrono::milliseconds patience = std::chrono::seconds(20);

/// The end of a wait for several steps together.
class WaitLimit {
public:
    explicit WaitLimit(std::chrono::milliseconds fromNow) : m_moment(std::chrono::steady_clock::now() + fromNow) {}

    /// What is left, as `poll` takes it.
    int remainingMilliseconds() const {
        const auto remaining =
            std::chrono::ceil<std::chrono::milliseconds>(m_moment - std::chrono::steady_clock::now());
        return static_cast<int>(std::max<std::chrono::milliseconds::rep>(remaining.count(), 0));
    }

private:
    std::chrono::steady_clock::time_point m_moment;
};

} // namespace pelorin
