#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <string>
#include <thread>

class QEventLoop;

namespace pelorin {

class MainQueue;

/// A thread that runs an event loop, for the toolkit's objects that need one and should not share the main thread's.
/// The application object must exist as long as it does.
class EventLoopThread {
public:
    /// Returns once the loop takes tasks. `label` (reverse-DNS) is the thread's name in debuggers.
    explicit EventLoopThread(const std::string& label);
    /// Runs the tasks handed in before, drops the others and waits for the thread's end. What was made on the thread
    /// must be destroyed there, by a task, before.
    ~EventLoopThread();
    EventLoopThread(const EventLoopThread&) = delete;
    EventLoopThread& operator=(const EventLoopThread&) = delete;

    /// The thread's queue; not to be used once the destructor has been called.
    TaskQueue& queue();

    /// The thread's identity.
    std::thread::id id() const { return m_thread.get_id(); }

private:
    MainQueue* m_queue = nullptr;
    QEventLoop* m_loop = nullptr;
    std::thread m_thread;
};

} // namespace pelorin
