#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace pelorin {

/// A moment of the wall clock. Records carry it; deadlines never do (they run on the monotonic clock).
using WallTime = std::chrono::system_clock::time_point;

/// Durations of deadlines and timers.
using Duration = std::chrono::nanoseconds;

/// A unit of work handed to a queue.
using Task = std::function<void()>;

/// Seconds given as a double, as settings and the decision router hold them. Values beyond the range of Duration (about
/// 292 years) are bounded, not wrapped; NaN counts as 0.
Duration secondsToDuration(double seconds);

/// A repeating timer. It fires until it is destroyed; once the destructor has returned no further firing starts.
class RepeatingTimer {
public:
    virtual ~RepeatingTimer() = default;
    RepeatingTimer() = default;
    RepeatingTimer(const RepeatingTimer&) = delete;
    RepeatingTimer& operator=(const RepeatingTimer&) = delete;
};

/// A serial queue of tasks: tasks run one at a time, in the order of their due times and, for equal due times, in the
/// order in which they were handed in. All operations may be called from any thread. Tasks still waiting when the queue
/// is destroyed are dropped without being run.
class TaskQueue {
public:
    virtual ~TaskQueue() = default;
    TaskQueue() = default;
    TaskQueue(const TaskQueue&) = delete;
    TaskQueue& operator=(const TaskQueue&) = delete;

    /// Runs the task on a later turn of the queue, never inside this call.
    virtual void async(Task task) = 0;

    /// Runs the task once `delay` has passed on the monotonic clock; a delay of zero or less is as `async`.
    virtual void asyncAfter(Duration delay, Task task) = 0;

    /// Runs the task every `interval` (more than zero), first after one interval, until the returned timer is
    /// destroyed.
    [[nodiscard]] virtual std::unique_ptr<RepeatingTimer> every(Duration interval, Task task) = 0;
};

/// The one source of queues, timers and the present time. Nothing else in the program asks the operating system for
/// them, so that a test can hand in a manual one and move time by hand.
class Dispatch {
public:
    virtual ~Dispatch() = default;
    Dispatch() = default;
    Dispatch(const Dispatch&) = delete;
    Dispatch& operator=(const Dispatch&) = delete;

    /// The queue of the main thread: all models, all routing and the whole interface live on it.
    virtual TaskQueue& mainQueue() = 0;

    /// The queue of one-shot deadlines. It is not the main thread.
    virtual TaskQueue& globalQueue() = 0;

    /// A serial queue with a thread of its own, called `label` (reverse-DNS) in debuggers. Destroying it waits for the
    /// task that is running; it must not be destroyed from one of its own tasks.
    virtual std::unique_ptr<TaskQueue> makeSerialQueue(const std::string& label) = 0;

    /// The present wall-clock time.
    virtual WallTime now() const = 0;

    /// The present moment of the monotonic clock that deadlines run on.
    virtual std::chrono::steady_clock::time_point monotonicNow() const = 0;
};

/// The dispatch over the operating system's clocks and threads. Call it on the main thread, after the application
/// object was made; the returned object must be destroyed on the main thread too, before the application object.
std::unique_ptr<Dispatch> makeSystemDispatch();

} // namespace pelorin
