#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <thread>

namespace pelorin {

/// A serial queue with a thread of its own. Deadlines are exact to the scheduler's precision: the thread sleeps until
/// the nearest one and never polls.
class WorkerQueue final : public TaskQueue {
public:
    explicit WorkerQueue(const std::string& label);
    ~WorkerQueue() override;

    void async(Task task) override;
    void asyncAfter(Duration delay, Task task) override;
    std::unique_ptr<RepeatingTimer> every(Duration interval, Task task) override;

private:
    using Moment = std::chrono::steady_clock::time_point;
    class Timer;

    void runAt(Moment moment, Task task);
    void loop();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    // A multimap keeps tasks of one due time in the order in which they came.
    std::multimap<Moment, Task> m_tasks;
    bool m_stopping = false;
    std::thread m_thread;
};

} // namespace pelorin
