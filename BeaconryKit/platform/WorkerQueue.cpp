#include "BeaconryKit/platform/WorkerQueue.h"

#include "BeaconryKit/platform/ThreadName.h"

#include <algorithm>

namespace pelorin {

/// Reschedules itself from each firing by the intended times, so that firings do not drift. Those that were missed are
/// not made up for.
class WorkerQueue::Timer final : public RepeatingTimer {
public:
    struct State {
        WorkerQueue* queue;
        Duration interval;
        Task task;
        // Held while the task runs, so that the destructor can promise that no firing starts after it.
        std::recursive_mutex mutex;
        bool cancelled = false;
    };

    explicit Timer(std::shared_ptr<State> state) : m_state(std::move(state)) {}
    ~Timer() override {
        const std::lock_guard lock(m_state->mutex);
        m_state->cancelled = true;
    }

    static void fire(const std::shared_ptr<State>& state, Moment due) {
        {
            const std::lock_guard lock(state->mutex);
            if (state->cancelled)
                return;
            state->task();
            if (state->cancelled)
                return;
        }
        const Duration missed = std::max(std::chrono::steady_clock::now() - due, Duration::zero());
        const Moment next = due + (missed / state->interval + 1) * state->interval;
        state->queue->runAt(next, [state, next] { fire(state, next); });
    }

private:
    std::shared_ptr<State> m_state;
};

WorkerQueue::WorkerQueue(const std::string& label) {
    m_thread = std::thread([this, label] {
        setCurrentThreadName(label);
        loop();
    });
}

WorkerQueue::~WorkerQueue() {
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void WorkerQueue::async(Task task) {
    runAt(std::chrono::steady_clock::now(), std::move(task));
}

void WorkerQueue::asyncAfter(Duration delay, Task task) {
    const Moment now = std::chrono::steady_clock::now();
    if (delay <= Duration::zero())
        runAt(now, std::move(task));
    else
        runAt(delay >= Moment::max() - now ? Moment::max() : now + delay, std::move(task));
}

std::unique_ptr<RepeatingTimer> WorkerQueue::every(Duration interval, Task task) {
    auto state = std::make_shared<Timer::State>();
    state->queue = this;
    state->interval = interval;
    state->task = std::move(task);
    const Moment first = std::chrono::steady_clock::now() + interval;
    runAt(first, [state, first] { Timer::fire(state, first); });
    return std::make_unique<Timer>(std::move(state));
}

void WorkerQueue::runAt(Moment moment, Task task) {
    bool isNext = false;
    {
        const std::lock_guard lock(m_mutex);
        const auto inserted = m_tasks.emplace(moment, std::move(task));
        isNext = inserted == m_tasks.begin();
    }
    if (isNext)
        m_wake.notify_one();
}

void WorkerQueue::loop() {
    std::unique_lock lock(m_mutex);
    while (!m_stopping) {
        if (m_tasks.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto next = m_tasks.begin();
        if (const Moment due = next->first; due > std::chrono::steady_clock::now()) {
            m_wake.wait_until(lock, due);
            continue;
        }
        const Task task = std::move(next->second);
        m_tasks.erase(next);
        lock.unlock();
        task();
        lock.lock();
    }
}

} // namespace pelorin
