#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <memory>

namespace pelorin {

/// Runs a task once things have been quiet for a while: a burst of a thousand triggers runs it once, after the last of
/// them. As long as triggers come faster than the quiet time, it does not run. Lives on its queue's thread, and the
/// task runs on that queue.
class Debouncer {
public:
    /// `quiet` is the time without a trigger after which the task runs. The dispatch and the queue, one of its own,
    /// must outlive the debouncer.
    Debouncer(Dispatch& dispatch, TaskQueue& queue, Duration quiet, Task task);
    /// A run that is due is dropped.
    ~Debouncer();
    Debouncer(const Debouncer&) = delete;
    Debouncer& operator=(const Debouncer&) = delete;

    /// Notes that something changed.
    void trigger();

private:
    struct State;
    std::shared_ptr<State> m_state;
};

} // namespace pelorin
