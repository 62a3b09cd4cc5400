#include "BeaconryKit/platform/ExitWatch.h"

#include "BeaconryBase/ProcessFacts.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/TestProcess.h"

#include "BeaconryKit/platform/DescriptorLoop.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace pelorin {
namespace {

TEST(ExitWatch, TellsOnceWhenAProcessOfItsStartTimeEnds) {
    const auto process = TestProcess::start({.command = {"/bin/sleep", "600"}});
    const auto facts = lookUpProcess(process->processId());
    ASSERT_TRUE(facts);
    // The loop stays open once it has begun.
    ASSERT_TRUE(descriptorLoop());
    const QStringList before = openDescriptors();
    std::atomic<int> told = 0;
    ASSERT_TRUE(watchForExit(process->processId(), facts->startTime, [&] { ++told; }));
    EXPECT_EQ(told, 0);
    process->sendSignal(SIGKILL);
    EXPECT_TRUE(eventually([&] { return told == 1; }));
    EXPECT_TRUE(onlyLeavesOpen(before));
}

TEST(ExitWatch, RefusesAProcessThatIsNotTheOneThatIsMeant) {
    const auto own = lookUpProcess(getpid());
    ASSERT_TRUE(own);
    // The loop stays open once it has begun.
    ASSERT_TRUE(descriptorLoop());
    const QStringList before = openDescriptors();
    const auto neverCalled = [] {
        ADD_FAILURE();
    };
    EXPECT_FALSE(watchForExit(getpid(), own->startTime + 1, neverCalled));
    EXPECT_FALSE(watchForExit(getpid(), 0, neverCalled));
    EXPECT_FALSE(watchForExit(0, own->startTime, neverCalled));
    EXPECT_FALSE(watchForExit(-1, own->startTime, neverCalled));
    EXPECT_FALSE(watchForExit(1 << 30, own->startTime, neverCalled));
    EXPECT_TRUE(onlyLeavesOpen(before));
}

} // namespace
} // namespace pelorin
