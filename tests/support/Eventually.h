#pragma once

#include "tests/support/Patience.h"

#include <QCoreApplication>
#include <QEvent>

#include <thread>

namespace pelorin {

/// Asks a millisecond apart whether the condition holds, until it does or the time is up. Returns whether it did. The
/// calling thread's event loop, if there is one, turns meanwhile. Time is only spent when the test fails.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = patience) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        QCoreApplication::processEvents();
        // Turned by hand, the loop leaves alone what is to be deleted later.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace pelorin
