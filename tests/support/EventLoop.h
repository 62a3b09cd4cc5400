#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace pelorin {

/// Turns the calling thread's event loop until the condition holds; false when it does not in 20 seconds.
template <class Condition>
bool eventually(Condition condition) {
    const QDeadlineTimer deadline(std::chrono::seconds(20));
    // Conditions may depend on other threads, which wake nobody here.
    QTimer look;
    look.start(std::chrono::milliseconds(1));
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

} // namespace pelorin
