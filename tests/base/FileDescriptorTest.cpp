#include "BeaconryBase/FileDescriptor.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace pelorin {
namespace {

bool isOpen(int number) {
    return fcntl(number, F_GETFD) >= 0;
}

bool closesOnExec(const FileDescriptor& descriptor) {
    return (fcntl(descriptor.number(), F_GETFD) & FD_CLOEXEC) != 0;
}

TEST(FileDescriptor, ClosesWhatItOwnsOnce) {
    auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    const int number = pipe->readEnd.number();
    {
        FileDescriptor first = std::move(pipe->readEnd);
        EXPECT_FALSE(pipe->readEnd.isOpen());
        FileDescriptor second;
        second = std::move(first);
        EXPECT_EQ(second.number(), number);
        EXPECT_TRUE(isOpen(number));
    }
    EXPECT_FALSE(isOpen(number));
    const int other = pipe->writeEnd.number();
    pipe->writeEnd.reset();
    EXPECT_FALSE(isOpen(other));
    EXPECT_EQ(pipe->writeEnd.number(), -1);
}

TEST(FileDescriptor, IsNotPassedToChildren) {
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    EXPECT_TRUE(closesOnExec(pipe->readEnd));
    EXPECT_TRUE(closesOnExec(pipe->writeEnd));
    EXPECT_TRUE(closesOnExec(pipe->readEnd.duplicate()));
}

TEST(FileDescriptor, LeavesTheNumbersOfClosedStandardStreamsAlone) {
    const FileDescriptor kept(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
    ASSERT_TRUE(kept.isOpen());
    close(STDIN_FILENO);
    const auto pipe = Pipe::make();
    const bool inputIsFree = !isOpen(STDIN_FILENO);
    dup2(kept.number(), STDIN_FILENO);
    ASSERT_TRUE(pipe);
    EXPECT_TRUE(inputIsFree);
    EXPECT_GT(pipe->readEnd.number(), STDERR_FILENO);
    EXPECT_GT(pipe->writeEnd.number(), STDERR_FILENO);
}

TEST(FileDescriptor, ReportsThatThereAreNoMore) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const auto pipe = Pipe::make();
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(pipe);
    EXPECT_FALSE(FileDescriptor().duplicate().isOpen());
}

TEST(FileDescriptor, CanBeReadWithoutWaiting) {
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe && makeNonBlocking(pipe->readEnd));
    char byte = 0;
    EXPECT_EQ(read(pipe->readEnd.number(), &byte, 1), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_FALSE(makeNonBlocking(FileDescriptor()));
}

} // namespace
} // namespace pelorin
