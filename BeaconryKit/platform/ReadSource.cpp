#include "BeaconryKit/platform/ReadSource.h"

#include "BeaconryKit/platform/DescriptorLoop.h"

#include <asio/posix/stream_descriptor.hpp>

#include <mutex>
#include <utility>

namespace pelorin {

struct ReadSource::State : std::enable_shared_from_this<State> {
    State(asio::io_context& loop, TaskQueue& taskQueue, Task task)
        : queue(taskQueue), onReadable(std::move(task)), stream(loop) {}

    TaskQueue& queue;
    const Task onReadable;
    std::mutex mutex;
    bool isCancelled = false;
    bool isSuspended = false;
    // Neither is anything watched, nor is a run under way or waiting.
    bool isIdle = false;
    bool isRunning = false;
    // It was resumed during the run: another one follows.
    bool isDueAgain = false;
    asio::posix::stream_descriptor stream;
    // The stream's, as long as that watches: a run that takes long must not keep it open.
    std::shared_ptr<const FileDescriptor> descriptor;

    /// Needs the lock, once others know the state.
    void watch() {
        stream.async_wait(asio::posix::descriptor_base::wait_read,
                          [self = shared_from_this()](const asio::error_code& error) {
                              if (!error)
                                  self->handOver();
                          });
    }

    void handOver() {
        // Under the lock, so that nothing is handed to the queue once the source is cancelled.
        const std::lock_guard lock(mutex);
        if (!isCancelled)
            run();
    }

    /// Needs the lock.
    void run() {
        queue.async([self = shared_from_this()] { self->deliver(); });
    }

    void deliver() {
        {
            const std::lock_guard lock(mutex);
            isIdle = isSuspended;
            if (isCancelled || isSuspended)
                return;
            isRunning = true;
        }
        onReadable();
        const std::lock_guard lock(mutex);
        isRunning = false;
        isIdle = isSuspended;
        if (isCancelled || isSuspended)
            return;
        if (std::exchange(isDueAgain, false))
            run();
        else
            watch();
    }

    void suspend() {
        const std::lock_guard lock(mutex);
        isSuspended = true;
    }

    void resume() {
        const std::lock_guard lock(mutex);
        if (!std::exchange(isSuspended, false) || isCancelled)
            return;
        if (std::exchange(isIdle, false))
            run();
        else
            isDueAgain = isRunning;
    }

    void cancel() {
        const std::lock_guard lock(mutex);
        isCancelled = true;
        stream.release();
        descriptor.reset();
    }
};

std::unique_ptr<ReadSource> ReadSource::start(std::shared_ptr<const FileDescriptor> descriptor, TaskQueue& queue,
                                              Task onReadable) {
    asio::io_context* const loop = descriptorLoop();
    if (!loop)
        return nullptr;
    const auto state = std::make_shared<State>(*loop, queue, std::move(onReadable));
    asio::error_code error;
    state->stream.assign(descriptor->number(), error);
    if (error)
        return nullptr;
    state->descriptor = std::move(descriptor);
    state->watch();
    return std::unique_ptr<ReadSource>(new ReadSource(state));
}

ReadSource::ReadSource(std::shared_ptr<State> state) : m_state(std::move(state)) {
}

ReadSource::~ReadSource() {
    m_state->cancel();
}

void ReadSource::suspend() {
    m_state->suspend();
}

void ReadSource::resume() {
    m_state->resume();
}

} // namespace pelorin
