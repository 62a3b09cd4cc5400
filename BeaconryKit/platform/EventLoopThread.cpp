#include "BeaconryKit/platform/EventLoopThread.h"

#include "BeaconryKit/platform/MainQueue.h"
#include "BeaconryKit/platform/ThreadName.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>

#include <future>

namespace pelorin {

EventLoopThread::EventLoopThread(const std::string& label) {
    std::promise<void> ready;
    m_thread = std::thread([this, &ready, label] {
        setCurrentThreadName(label);
        MainQueue queue;
        QEventLoop loop;
        m_queue = &queue;
        m_loop = &loop;
        ready.set_value();
        loop.exec();
        // The loop no longer turns for what still waits to be deleted.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    });
    ready.get_future().wait();
}

EventLoopThread::~EventLoopThread() {
    m_queue->async([loop = m_loop] { loop->quit(); });
    m_thread.join();
}

TaskQueue& EventLoopThread::queue() {
    return *m_queue;
}

} // namespace pelorin
