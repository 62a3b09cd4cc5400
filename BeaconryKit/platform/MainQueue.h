#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <QObject>

#include <deque>
#include <mutex>

namespace pelorin {

/// The queue of a thread that runs an event loop, the one it is made on: the application's main thread, or an
/// EventLoopThread. A burst of tasks costs one event: tasks handed in while a batch runs wait for the next turn of the
/// loop.
class MainQueue final : public QObject, public TaskQueue {
    Q_OBJECT

public:
    MainQueue();
    ~MainQueue() override;

    void async(Task task) override;
    void asyncAfter(Duration delay, Task task) override;
    std::unique_ptr<RepeatingTimer> every(Duration interval, Task task) override;

protected:
    bool event(QEvent* event) override;

private:
    void runBatch();

    std::mutex m_mutex;
    std::deque<Task> m_tasks;
    bool m_eventPosted = false;
};

} // namespace pelorin
