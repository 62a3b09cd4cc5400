#include "BeaconryKit/platform/ReadSource.h"

#include "BeaconryKit/platform/ThreadName.h"

#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <poll.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace pelorin {

// Does not hold the descriptor: only the watching thread does, so that a run that takes long cannot keep it open.
struct ReadSource::State {
    TaskQueue* queue = nullptr;
    Task onReadable;
    // Closing the write end wakes the thread.
    Pipe wake;

    std::mutex mutex;
    std::condition_variable delivered;
    bool isDelivering = false;
    bool isCancelled = false;
};

void ReadSource::watch(const std::shared_ptr<State>& state, int descriptor) {
    while (true) {
        pollfd watched[]{{descriptor, POLLIN, 0}, {state->wake.readEnd.number(), POLLIN, 0}};
        if (poll(watched, 2, -1) < 0 && errno != EINTR)
            return;
        std::unique_lock lock(state->mutex);
        if (state->isCancelled)
            return;
        if (watched[0].revents == 0)
            continue;
        state->isDelivering = true;
        // Under the lock, so that nothing is handed to the queue once the source is cancelled.
        state->queue->async([state] { deliver(state); });
        state->delivered.wait(lock, [&] { return !state->isDelivering || state->isCancelled; });
        if (state->isCancelled)
            return;
    }
}

void ReadSource::deliver(const std::shared_ptr<State>& state) {
    {
        const std::lock_guard lock(state->mutex);
        if (state->isCancelled)
            return;
    }
    state->onReadable();
    {
        const std::lock_guard lock(state->mutex);
        state->isDelivering = false;
    }
    state->delivered.notify_one();
}

std::unique_ptr<ReadSource> ReadSource::start(std::shared_ptr<const FileDescriptor> descriptor, TaskQueue& queue,
                                              Task onReadable) {
    auto wake = Pipe::make();
    if (!wake)
        return nullptr;
    const auto state = std::make_shared<State>();
    state->queue = &queue;
    state->onReadable = std::move(onReadable);
    state->wake = std::move(*wake);
    try {
        std::thread([state, descriptor = std::move(descriptor)] {
            setCurrentThreadName("com.pelorin.reader");
            watch(state, descriptor->number());
        }).detach();
    } catch (const std::system_error&) {
        return nullptr;
    }
    return std::unique_ptr<ReadSource>(new ReadSource(state));
}

ReadSource::ReadSource(std::shared_ptr<State> state) : m_state(std::move(state)) {
}

ReadSource::~ReadSource() {
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->isCancelled = true;
    }
    m_state->delivered.notify_one();
    m_state->wake.writeEnd.reset();
}

} // namespace pelorin
