#include "BeaconryKit/platform/Dispatch.h"

#include "BeaconryKit/platform/MainQueue.h"
#include "BeaconryKit/platform/WorkerQueue.h"

#include <cmath>

namespace pelorin {

namespace {

class SystemDispatch final : public Dispatch {
public:
    TaskQueue& mainQueue() override { return m_main; }
    TaskQueue& globalQueue() override { return m_global; }
    std::unique_ptr<TaskQueue> makeSerialQueue(const std::string& label) override {
        return std::make_unique<WorkerQueue>(label);
    }
    WallTime now() const override { return std::chrono::system_clock::now(); }
    std::chrono::steady_clock::time_point monotonicNow() const override { return std::chrono::steady_clock::now(); }

private:
    MainQueue m_main;
    // One thread carries all deadlines: each is a handful of instructions, and thousands may be waiting.
    WorkerQueue m_global{"com.pelorin.global"};
};

} // namespace

Duration secondsToDuration(double seconds) {
    if (std::isnan(seconds))
        return Duration::zero();
    const double nanoseconds = seconds * 1e9;
    // The largest double below 2^63.
    constexpr double bound = 9223372036854774784.0;
    return Duration(static_cast<Duration::rep>(std::clamp(nanoseconds, -bound, bound)));
}

std::unique_ptr<Dispatch> makeSystemDispatch() {
    return std::make_unique<SystemDispatch>();
}

} // namespace pelorin
