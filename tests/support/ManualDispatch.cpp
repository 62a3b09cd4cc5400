#include "tests/support/ManualDispatch.h"

namespace pelorin {

class ManualDispatch::Queue final : public TaskQueue {
public:
    Queue(std::shared_ptr<Schedule> schedule, std::string label)
        : m_schedule(std::move(schedule)), m_label(std::move(label)) {}

    void async(Task task) override { asyncAfter(Duration::zero(), std::move(task)); }

    void asyncAfter(Duration delay, Task task) override {
        const Moment now = m_schedule->monotonic;
        const Moment due = delay <= Duration::zero() ? now : delay >= Moment::max() - now ? Moment::max() : now + delay;
        m_schedule->tasks.emplace(due, Entry{std::move(task), m_alive, m_label});
    }

    std::unique_ptr<RepeatingTimer> every(Duration interval, Task task) override {
        auto timer = std::make_unique<Timer>();
        repeat(interval, std::make_shared<Task>(std::move(task)), timer->alive);
        return timer;
    }

private:
    struct Timer final : RepeatingTimer {
        std::shared_ptr<const void> alive = std::make_shared<const char>();
    };

    void repeat(Duration interval, const std::shared_ptr<Task>& task, const std::weak_ptr<const void>& timer) {
        m_schedule->tasks.emplace(m_schedule->monotonic + interval, Entry{[this, interval, task, timer] {
                                                                              (*task)();
                                                                              if (!timer.expired())
                                                                                  repeat(interval, task, timer);
                                                                          },
                                                                          timer, m_label});
    }

    std::shared_ptr<Schedule> m_schedule;
    const std::string m_label;
    std::shared_ptr<const void> m_alive = std::make_shared<const char>();
};

ManualDispatch::ManualDispatch()
    : m_schedule(std::make_shared<Schedule>()),
      m_main(std::make_unique<Queue>(m_schedule, "main")),
      m_global(std::make_unique<Queue>(m_schedule, "global")) {
    // Some ordinary moment, so that neither clock reads zero.
    m_schedule->wall = WallTime(std::chrono::seconds(1'700'000'000));
    m_schedule->monotonic = Moment(std::chrono::hours(1));
}

ManualDispatch::~ManualDispatch() = default;

TaskQueue& ManualDispatch::mainQueue() {
    return *m_main;
}

TaskQueue& ManualDispatch::globalQueue() {
    return *m_global;
}

std::unique_ptr<TaskQueue> ManualDispatch::makeSerialQueue(const std::string& label) {
    return std::make_unique<Queue>(m_schedule, label);
}

WallTime ManualDispatch::now() const {
    return m_schedule->wall;
}

std::chrono::steady_clock::time_point ManualDispatch::monotonicNow() const {
    return m_schedule->monotonic;
}

void ManualDispatch::runDue() {
    while (!m_schedule->tasks.empty() && m_schedule->tasks.begin()->first <= m_schedule->monotonic) {
        const Entry next = std::move(m_schedule->tasks.begin()->second);
        m_schedule->tasks.erase(m_schedule->tasks.begin());
        if (next.owner.expired())
            continue;
        m_schedule->runningQueue = next.queue;
        next.task();
        m_schedule->runningQueue.clear();
    }
}

void ManualDispatch::advance(Duration duration) {
    const Moment end = m_schedule->monotonic + duration;
    runDue();
    while (!m_schedule->tasks.empty() && m_schedule->tasks.begin()->first <= end) {
        const Moment due = m_schedule->tasks.begin()->first;
        m_schedule->wall += std::chrono::duration_cast<WallTime::duration>(due - m_schedule->monotonic);
        m_schedule->monotonic = due;
        runDue();
    }
    m_schedule->wall += std::chrono::duration_cast<WallTime::duration>(end - m_schedule->monotonic);
    m_schedule->monotonic = end;
}

std::size_t ManualDispatch::waitingTasks() const {
    return m_schedule->tasks.size();
}

void ManualDispatch::setNow(WallTime now) {
    m_schedule->wall = now;
}

} // namespace pelorin
