#include "BeaconryKit/platform/Debouncer.h"

#include <utility>

namespace pelorin {

// Deadlines cannot be taken back, so a burst must not hand in one for each of its triggers: one is under way at a time,
// and when it comes too early it hands in the next.
struct Debouncer::State : std::enable_shared_from_this<State> {
    State(Dispatch& itsDispatch, TaskQueue& itsQueue, Duration itsQuiet, Task itsTask)
        : dispatch(itsDispatch), queue(itsQueue), quiet(itsQuiet), task(std::move(itsTask)) {}

    void checkAfter(Duration delay) {
        queue.asyncAfter(delay, [weak = weak_from_this()] {
            if (const auto state = weak.lock())
                state->check();
        });
    }

    void check() {
        const Duration left = due - dispatch.monotonicNow();
        if (left > Duration::zero()) {
            checkAfter(left);
            return;
        }
        isWaiting = false;
        task();
    }

    Dispatch& dispatch;
    TaskQueue& queue;
    const Duration quiet;
    const Task task;
    std::chrono::steady_clock::time_point due;
    bool isWaiting = false;
};

Debouncer::Debouncer(Dispatch& dispatch, TaskQueue& queue, Duration quiet, Task task)
    : m_state(std::make_shared<State>(dispatch, queue, quiet, std::move(task))) {
}

Debouncer::~Debouncer() = default;

void Debouncer::trigger() {
    m_state->due = m_state->dispatch.monotonicNow() + m_state->quiet;
    if (!std::exchange(m_state->isWaiting, true))
        m_state->checkAfter(m_state->quiet);
}

} // namespace pelorin
