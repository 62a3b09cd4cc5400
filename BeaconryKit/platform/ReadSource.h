#pragma once

#include "BeaconryBase/FileDescriptor.h"

#include "BeaconryKit/platform/Dispatch.h"

#include <memory>

namespace pelorin {

/// Runs a task on a queue whenever a descriptor has something to read, its end or an error included. At most one run is
/// under way or waiting at any time, so that a slow task slows down the reading instead of piling up work. Destroying
/// the source cancels it: no run starts after that, but one that has begun may still be under way. The source may be
/// destroyed on any thread, by its own task too; it must be destroyed before its queue.
class ReadSource {
public:
    /// Starts watching. The descriptor, which can have one source at a time, stays open as long as the source is there.
    /// Nothing when the system has no more descriptors or threads.
    static std::unique_ptr<ReadSource> start(std::shared_ptr<const FileDescriptor> descriptor, TaskQueue& queue,
                                             Task onReadable);

    ~ReadSource();

    /// Starts no run before `resume`, but for one that has begun. Any thread.
    void suspend();
    /// Goes on where `suspend` has stopped, with a run at once, whether or not there is something to read: what came
    /// meanwhile was not looked at. Any thread.
    void resume();

    ReadSource(const ReadSource&) = delete;
    ReadSource& operator=(const ReadSource&) = delete;

private:
    struct State;

    explicit ReadSource(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace pelorin
