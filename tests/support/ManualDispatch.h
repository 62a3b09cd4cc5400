#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace pelorin {

/// Queues and clocks that move only when the test says so. All queues run on the calling thread: a task handed in while
/// another runs waits for a later turn, as on the real ones.
class ManualDispatch final : public Dispatch {
public:
    ManualDispatch();
    ~ManualDispatch() override;

    TaskQueue& mainQueue() override;
    TaskQueue& globalQueue() override;
    std::unique_ptr<TaskQueue> makeSerialQueue(const std::string& label) override;
    WallTime now() const override;
    std::chrono::steady_clock::time_point monotonicNow() const override;

    /// Runs everything that is due now on every queue, and what that leads to, until nothing is due.
    void runDue();

    /// Moves both clocks on, stopping at every due time on the way to run what is due there.
    void advance(Duration duration);

    /// The queue whose task runs now: "main", "global", or the label of a serial one. Empty outside of tasks.
    const std::string& runningQueue() const { return m_schedule->runningQueue; }

    /// How many tasks wait on all queues, timers included.
    std::size_t waitingTasks() const;

    /// Sets the wall clock alone, as a user or a time server would.
    void setNow(WallTime now);

private:
    class Queue;
    using Moment = std::chrono::steady_clock::time_point;
    struct Entry {
        Task task;
        std::weak_ptr<const void> owner;
        std::string queue;
    };
    struct Schedule {
        // In the order of due times; equal ones in the order in which they came, whichever queue they are on.
        std::multimap<Moment, Entry> tasks;
        Moment monotonic{};
        WallTime wall{};
        std::string runningQueue;
    };

    std::shared_ptr<Schedule> m_schedule;
    std::unique_ptr<Queue> m_main;
    std::unique_ptr<Queue> m_global;
};

} // namespace pelorin
