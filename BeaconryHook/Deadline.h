#pragma once

#include <cstdint>
#include <ctime>

namespace pelorin::hook {

/// A moment, on the clock that nobody sets, after which there is no more waiting.
class Deadline {
public:
    static Deadline afterMilliseconds(std::int64_t milliseconds) {
        return Deadline(now() + milliseconds * nanosecondsPerMillisecond);
    }

    /// How long to wait at the most, in the way `poll` takes it: whole milliseconds, rounded up; 0 once it has passed.
    int remainingMilliseconds() const {
        const std::int64_t remaining = m_moment - now();
        if (remaining <= 0)
            return 0;
        return static_cast<int>((remaining + nanosecondsPerMillisecond - 1) / nanosecondsPerMillisecond);
    }

private:
    static constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;

    explicit Deadline(std::int64_t moment) : m_moment(moment) {}

    // The standard library's clocks would bring its whole formatting of dates with them.
    static std::int64_t now() {
        timespec time{};
        clock_gettime(CLOCK_MONOTONIC, &time);
        return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
    }

    std::int64_t m_moment;
};

} // namespace pelorin::hook
