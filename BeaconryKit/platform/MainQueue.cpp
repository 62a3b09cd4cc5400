#include "BeaconryKit/platform/MainQueue.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>

#include <utility>

namespace pelorin {

namespace {

const QEvent::Type batchEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

/// Timers of the event loop count in whole milliseconds; rounding up keeps a deadline from firing early.
std::chrono::milliseconds wholeMilliseconds(Duration duration) {
    return std::chrono::ceil<std::chrono::milliseconds>(std::max(duration, Duration::zero()));
}

// What the loop's timers can count to is less than 25 days.
constexpr auto longestTimer = std::chrono::days(20);

class MainTimer final : public RepeatingTimer {
public:
    MainTimer(QObject* context, Duration interval, Task task) {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.moveToThread(context->thread());
        QObject::connect(&m_timer, &QTimer::timeout, context, std::move(task));
        m_timer.start(wholeMilliseconds(interval));
    }

private:
    QTimer m_timer;
};

} // namespace

MainQueue::MainQueue() = default;
MainQueue::~MainQueue() = default;

void MainQueue::async(Task task) {
    {
        const std::lock_guard lock(m_mutex);
        m_tasks.push_back(std::move(task));
        if (std::exchange(m_eventPosted, true))
            return;
    }
    QCoreApplication::postEvent(this, new QEvent(batchEvent));
}

void MainQueue::asyncAfter(Duration delay, Task task) {
    if (delay <= Duration::zero()) {
        async(std::move(task));
        return;
    }
    if (delay > longestTimer) {
        asyncAfter(longestTimer, [this, rest = delay - longestTimer, task = std::move(task)]() mutable {
            asyncAfter(rest, std::move(task));
        });
        return;
    }
    // Starting the timer on the main thread makes the call valid on any thread.
    async([this, delay, task = std::move(task)]() mutable {
        QTimer::singleShot(wholeMilliseconds(delay), Qt::PreciseTimer, this, std::move(task));
    });
}

std::unique_ptr<RepeatingTimer> MainQueue::every(Duration interval, Task task) {
    return std::make_unique<MainTimer>(this, interval, std::move(task));
}

bool MainQueue::event(QEvent* event) {
    if (event->type() != batchEvent)
        return QObject::event(event);
    runBatch();
    return true;
}

void MainQueue::runBatch() {
    std::deque<Task> batch;
    {
        const std::lock_guard lock(m_mutex);
        batch.swap(m_tasks);
        m_eventPosted = false;
    }
    // What a task holds goes with it, and does not wait for the whole batch.
    for (; !batch.empty(); batch.pop_front())
        batch.front()();
}

} // namespace pelorin
