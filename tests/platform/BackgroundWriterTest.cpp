#include "BeaconryKit/platform/BackgroundWriter.h"

#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"

#include "BeaconryKit/platform/DescriptorLoop.h"

#include <QByteArray>
#include <gmock/gmock.h>

#include <csignal>
#include <poll.h>
#include <thread>
#include <unistd.h>

namespace pelorin {
namespace {

constexpr qsizetype limit = 1'000'000;

class BackgroundWriterTest : public ::testing::Test {
protected:
    BackgroundWriterTest() {
        auto pipe = Pipe::make();
        if (!pipe || !makeNonBlocking(pipe->writeEnd))
            qFatal("There is no pipe.");
        readEnd = std::move(pipe->readEnd);
        writeEnd = std::make_shared<const FileDescriptor>(std::move(pipe->writeEnd));
        writer.emplace(writeEnd, limit);
    }

    /// Waits for so many bytes, or for the end.
    QByteArray read(qsizetype size) {
        QByteArray bytes(size, 0);
        qsizetype count = 0;
        ssize_t got = 1;
        while (count < size && got > 0) {
            got = ::read(readEnd.number(), bytes.data() + count, static_cast<std::size_t>(size - count));
            count += std::max<ssize_t>(got, 0);
        }
        return bytes.first(count);
    }
    bool isEmpty() const {
        pollfd ready{readEnd.number(), POLLIN, 0};
        return poll(&ready, 1, 0) == 0;
    }

    FileDescriptor readEnd;
    std::shared_ptr<const FileDescriptor> writeEnd;
    std::optional<BackgroundWriter> writer;
};

QByteArray numbers(qsizetype size, int start = 100'000'000) {
    QByteArray bytes;
    while (bytes.size() < size)
        bytes += QByteArray::number(start++);
    return bytes.first(size);
}

TEST_F(BackgroundWriterTest, WritesAtOnceWhatIsTaken) {
    writer->write("one ");
    writer->write("two");
    writer->write("");
    EXPECT_EQ(read(7), "one two");
    EXPECT_TRUE(isEmpty());
}

TEST_F(BackgroundWriterTest, WritesTheRestInOrderOnceThereIsRoom) {
    // A pipe takes 65,536 bytes.
    const QByteArray first = numbers(300'000);
    const QByteArray second = numbers(200'000, 500'000'000);
    writer->write(first);
    writer->write(second);
    writer->write("end");
    EXPECT_TRUE(read(500'003) == first + second + "end");
    EXPECT_TRUE(isEmpty());
    // And again, after a rest.
    writer->write(first);
    EXPECT_TRUE(read(300'000) == first);
}

TEST_F(BackgroundWriterTest, LosesWhatGoesBeyondTheLimit) {
    const QByteArray most = numbers(65'536 + limit);
    writer->write(most);
    writer->write(QByteArray(limit, 'x'));
    writer->write("lost");
    EXPECT_TRUE(read(most.size()) == most);
    writer->write("kept");
    EXPECT_EQ(read(4), "kept");
}

TEST_F(BackgroundWriterTest, ForgetsWhatWaitsWhenItIsDestroyed) {
    writer->write(numbers(300'000));
    const std::weak_ptr watched = writeEnd;
    writeEnd.reset();
    writer.reset();
    EXPECT_TRUE(eventually([&] { return watched.expired(); }));
    EXPECT_EQ(read(300'000).size(), 65'536);
}

TEST_F(BackgroundWriterTest, ForgetsWhatWaitsWhenNobodyCanReadIt) {
    const auto before = signal(SIGPIPE, SIG_IGN);
    writer->write(numbers(300'000));
    readEnd.reset();
    writer->write("more");
    writer.reset();
    const std::weak_ptr watched = writeEnd;
    writeEnd.reset();
    EXPECT_TRUE(eventually([&] { return watched.expired(); }));
    signal(SIGPIPE, before);
}

TEST_F(BackgroundWriterTest, KeepsEachWriteTogetherOnManyThreads) {
    constexpr qsizetype size = 1000;
    std::vector<std::thread> threads;
    for (char letter : {'a', 'b', 'c', 'd'}) {
        threads.emplace_back([this, letter] {
            for (int write = 0; write < 200; ++write)
                writer->write(QByteArray(size, letter));
        });
    }
    const QByteArray all = read(4 * 200 * size);
    for (std::thread& thread : threads)
        thread.join();
    for (qsizetype start = 0; start < all.size(); start += size)
        ASSERT_EQ(all.sliced(start, size), QByteArray(size, all[start]));
    EXPECT_EQ(all.size(), 4 * 200 * size);
}

TEST_F(BackgroundWriterTest, LeavesNothingOpen) {
    // The loop's own descriptors stay.
    ASSERT_TRUE(descriptorLoop());
    const QStringList before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        writer->write(numbers(100'000));
        read(100'000);
    }
    EXPECT_TRUE(onlyLeavesOpen(before));
}

} // namespace
} // namespace pelorin
