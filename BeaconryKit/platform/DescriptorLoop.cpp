#include "BeaconryKit/platform/DescriptorLoop.h"

#include "BeaconryKit/platform/ThreadName.h"

#include <asio/executor_work_guard.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace pelorin {

namespace {

asio::io_context* startLoop() {
    try {
        auto context = std::make_unique<asio::io_context>(1);
        // What the loop itself needs of the system it gets here, or not at all: later, nobody would expect the failure.
        const asio::posix::stream_descriptor first(*context);
        std::thread([loop = context.get()] {
            setCurrentThreadName("com.pelorin.loop");
            const auto keepRunning = asio::make_work_guard(*loop);
            loop->run();
        }).detach();
        // The thread needs it to the end of the program.
        return context.release();
    } catch (const std::system_error&) {
        return nullptr;
    }
}

} // namespace

asio::io_context* descriptorLoop() {
    // Neither is ever destroyed: the loop's thread may still run when the program's last destructors do.
    static std::mutex& mutex = *new std::mutex;
    static asio::io_context* loop = nullptr;
    const std::lock_guard lock(mutex);
    if (!loop)
        loop = startLoop();
    return loop;
}

} // namespace pelorin
