#include "BeaconryKit/platform/Debouncer.h"

#include <algorithm>
#include <utility>

namespace pelorin {

// Deadlines cannot be taken back, so a burst must not hand in one for each of its triggers: one is under way at a time,
// and when it comes too early it hands in the next.
struct Debouncer::State : std::enable_shared_from_this<State> {
    using Moment = std::chrono::steady_clock::time_point;

    State(Dispatch& itsDispatch, TaskQueue& itsQueue, Duration itsQuiet, Task itsTask, Duration itsPatience)
        : dispatch(itsDispatch), queue(itsQueue), quiet(itsQuiet), task(std::move(itsTask)), patience(itsPatience) {}

    void checkAfter(Duration delay) {
        queue.asyncAfter(delay, [weak = weak_from_this()] {
            if (const auto state = weak.lock())
                state->check();
        });
    }

    void trigger() {
        const Moment now = dispatch.monotonicNow();
        if (std::exchange(isWaiting, true)) {
            due = std::min(now + quiet, latest);
            return;
        }
        latest = patience < Moment::max() - now ? now + patience : Moment::max();
        due = std::min(now + quiet, latest);
        checkAfter(due - now);
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
    const Duration patience;
    Moment due;
    Moment latest;
    bool isWaiting = false;
};

Debouncer::Debouncer(Dispatch& dispatch, TaskQueue& queue, Duration quiet, Task task, Duration patience)
    : m_state(std::make_shared<State>(dispatch, queue, quiet, std::move(task), patience)) {
}

Debouncer::~Debouncer() = default;

void Debouncer::trigger() {
    m_state->trigger();
}

void Debouncer::triggerWithoutDelay() {
    if (!m_state->isWaiting)
        m_state->trigger();
}

} // namespace pelorin
