#include "BeaconryKit/platform/ReadSource.h"

#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"

#include "BeaconryKit/platform/DescriptorLoop.h"
#include "BeaconryKit/platform/WorkerQueue.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <semaphore>
#include <unistd.h>

namespace pelorin {
namespace {

struct SharedPipe {
    std::shared_ptr<const FileDescriptor> readEnd;
    FileDescriptor writeEnd;

    SharedPipe() {
        auto pipe = Pipe::make();
        if (!pipe)
            std::abort();
        readEnd = std::make_shared<const FileDescriptor>(std::move(pipe->readEnd));
        writeEnd = std::move(pipe->writeEnd);
    }

    void put() const { EXPECT_EQ(write(writeEnd.number(), "x", 1), 1); }
    void take() const {
        char byte = 0;
        EXPECT_EQ(read(readEnd->number(), &byte, 1), 1);
    }
};

TEST(ReadSource, RunsItsTaskOnTheQueueWhileThereIsSomethingToRead) {
    SharedPipe pipe;
    WorkerQueue queue("com.pelorin.test");
    std::promise<std::thread::id> queueThread;
    queue.async([&] { queueThread.set_value(std::this_thread::get_id()); });
    const std::thread::id expectedThread = queueThread.get_future().get();
    std::counting_semaphore<> runs(0);
    std::atomic<bool> isOnQueue = true;
    const auto source = ReadSource::start(pipe.readEnd, queue, [&] {
        isOnQueue = isOnQueue && std::this_thread::get_id() == expectedThread;
        pipe.take();
        runs.release();
    });
    ASSERT_TRUE(source);
    pipe.put();
    runs.acquire();
    // Three bytes at once are three runs, for each run takes one.
    pipe.put();
    pipe.put();
    pipe.put();
    for (int run = 0; run < 3; ++run)
        runs.acquire();
    EXPECT_TRUE(isOnQueue);
    EXPECT_FALSE(runs.try_acquire());
}

TEST(ReadSource, RunsItsTaskAtTheEndOfTheFile) {
    SharedPipe pipe;
    WorkerQueue queue("com.pelorin.test");
    std::promise<ssize_t> count;
    std::unique_ptr<ReadSource> source;
    std::promise<void> isSet;
    source = ReadSource::start(pipe.readEnd, queue, [&, set = isSet.get_future().share()] {
        set.wait();
        // Destroyed by its own task.
        source.reset();
        char byte = 0;
        count.set_value(read(pipe.readEnd->number(), &byte, 1));
    });
    isSet.set_value();
    pipe.writeEnd.reset();
    EXPECT_EQ(count.get_future().get(), 0);
}

TEST(ReadSource, WaitsForATaskThatTakesLong) {
    SharedPipe pipe;
    WorkerQueue queue("com.pelorin.test");
    std::counting_semaphore<> begun(0);
    std::counting_semaphore<> go(0);
    std::atomic<int> runs = 0;
    const auto source = ReadSource::start(pipe.readEnd, queue, [&] {
        ++runs;
        begun.release();
        go.acquire();
        pipe.take();
    });
    for (int byte = 0; byte < 100; ++byte)
        pipe.put();
    begun.acquire();
    // Whatever comes meanwhile, no second run is handed to the queue: this one is the only one behind the first.
    std::promise<void> behind;
    queue.async([&] { behind.set_value(); });
    go.release();
    behind.get_future().wait();
    EXPECT_LE(runs, 2);
    for (int run = 1; run < 100; ++run)
        go.release();
    EXPECT_TRUE(eventually([&] { return runs == 100; }));
}

TEST(ReadSource, StartsNoRunOnceItIsDestroyed) {
    for (int round = 0; round < 200; ++round) {
        SharedPipe pipe;
        WorkerQueue queue("com.pelorin.test");
        std::atomic<bool> isDestroyed = false;
        std::atomic<bool> ranTooLate = false;
        // Holds back the queue, so that the run is still waiting.
        std::counting_semaphore<> go(0);
        queue.async([&] { go.acquire(); });
        auto source = ReadSource::start(pipe.readEnd, queue, [&] { ranTooLate = ranTooLate || isDestroyed; });
        pipe.put();
        source.reset();
        isDestroyed = true;
        go.release();
        std::promise<void> drained;
        queue.async([&] { drained.set_value(); });
        drained.get_future().wait();
        EXPECT_FALSE(ranTooLate);
    }
}

TEST(ReadSource, StartsNoRunWhileItIsSuspended) {
    SharedPipe pipe;
    WorkerQueue queue("com.pelorin.test");
    std::atomic<bool> isSuspended = false;
    std::atomic<bool> ranSuspended = false;
    std::counting_semaphore<> runs(0);
    std::unique_ptr<ReadSource> source;
    source = ReadSource::start(pipe.readEnd, queue, [&] {
        ranSuspended = ranSuspended || isSuspended;
        pipe.take();
        // Within its own run, as somebody does who has read enough.
        isSuspended = true;
        source->suspend();
        runs.release();
    });
    constexpr int bytes = 100;
    for (int byte = 0; byte < bytes; ++byte)
        pipe.put();
    for (int run = 0; run < bytes; ++run) {
        runs.acquire();
        std::promise<void> behind;
        queue.async([&] { behind.set_value(); });
        behind.get_future().wait();
        EXPECT_FALSE(runs.try_acquire());
        isSuspended = false;
        if (run + 1 < bytes)
            source->resume();
    }
    EXPECT_FALSE(ranSuspended);
    source.reset();
}

TEST(ReadSource, RunsAtOnceWhenItGoesOn) {
    SharedPipe pipe;
    WorkerQueue queue("com.pelorin.test");
    std::counting_semaphore<> runs(0);
    std::atomic<ReadSource*> started = nullptr;
    auto source = ReadSource::start(pipe.readEnd, queue, [&] {
        started.load()->suspend();
        runs.release();
    });
    started = source.get();
    pipe.put();
    runs.acquire();
    pipe.take();
    source->resume();
    runs.acquire();
    // Not twice, however often it is said.
    std::promise<void> behind;
    queue.async([&] { behind.set_value(); });
    behind.get_future().wait();
    EXPECT_FALSE(runs.try_acquire());
    source.reset();
}

TEST(ReadSource, LetsGoOfTheDescriptorEvenWhileItsTaskIsStuck) {
    SharedPipe pipe;
    WorkerQueue queue("com.pelorin.test");
    std::counting_semaphore<> begun(0);
    std::counting_semaphore<> go(0);
    auto source = ReadSource::start(pipe.readEnd, queue, [&] {
        begun.release();
        go.acquire();
    });
    const std::weak_ptr watched = pipe.readEnd;
    pipe.put();
    begun.acquire();
    pipe.readEnd.reset();
    EXPECT_FALSE(watched.expired());
    source.reset();
    EXPECT_TRUE(eventually([&] { return watched.expired(); }));
    go.release();
}

TEST(ReadSource, LeavesNothingOpen) {
    WorkerQueue queue("com.pelorin.test");
    // The loop's own descriptors stay.
    ASSERT_TRUE(descriptorLoop());
    const QStringList before = openDescriptors();
    for (int round = 0; round < 50; ++round) {
        SharedPipe pipe;
        ReadSource::start(pipe.readEnd, queue, [] {});
    }
    EXPECT_TRUE(onlyLeavesOpen(before));
}

} // namespace
} // namespace pelorin
