#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <memory>

namespace pelorin {

/// Runs a task once things have been quiet for a while: a burst of a thousand triggers runs it once, after the last of
/// them. Triggers that go on and on hold it back no longer than the patience. Lives on its queue's thread, and the task
/// runs on that queue.
class Debouncer {
public:
    /// `quiet` is the time without a trigger after which the task runs, `patience` the longest time from the first
    /// trigger to the run; without it there is no bound. The dispatch and the queue, one of its own, must outlive the
    /// debouncer.
    Debouncer(Dispatch& dispatch, TaskQueue& queue, Duration quiet, Task task, Duration patience = Duration::max());
    /// A run that is due is dropped.
    ~Debouncer();
    Debouncer(const Debouncer&) = delete;
    Debouncer& operator=(const Debouncer&) = delete;

    /// Notes that something changed.
    void trigger();
    /// Notes something after which a run is due, but which a run under way need not wait for.
    void triggerWithoutDelay();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace pelorin
