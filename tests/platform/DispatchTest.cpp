#include "BeaconryKit/platform/Dispatch.h"

#include "tests/support/ManualDispatch.h"

#include "BeaconryKit/platform/WorkerQueue.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <limits>
#include <thread>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

TEST(SecondsToDuration, BoundsWhatDoesNotFit) {
    EXPECT_EQ(secondsToDuration(1.5), 1500ms);
    EXPECT_EQ(secondsToDuration(-2), -2s);
    EXPECT_EQ(secondsToDuration(0), 0ns);
    EXPECT_EQ(secondsToDuration(std::numeric_limits<double>::quiet_NaN()), 0ns);
    EXPECT_GT(secondsToDuration(std::numeric_limits<double>::infinity()), std::chrono::years(290));
    EXPECT_LT(secondsToDuration(-std::numeric_limits<double>::infinity()), -std::chrono::years(290));
}

TEST(WorkerQueue, RunsTasksInTheOrderOfTheirDueTimes) {
    std::vector<int> order;
    std::promise<void> done;
    WorkerQueue queue("com.pelorin.test");
    queue.asyncAfter(30ms, [&] {
        order.push_back(3);
        done.set_value();
    });
    queue.asyncAfter(10ms, [&] { order.push_back(2); });
    queue.async([&] { order.push_back(0); });
    queue.asyncAfter(-5s, [&] { order.push_back(1); });
    done.get_future().wait();
    EXPECT_THAT(order, ElementsAre(0, 1, 2, 3));
}

TEST(WorkerQueue, AFarDeadlineDoesNotHoldUpANearOne) {
    std::promise<void> done;
    WorkerQueue queue("com.pelorin.test");
    queue.asyncAfter(Duration::max(), [] { FAIL(); });
    queue.async([&] { done.set_value(); });
    done.get_future().wait();
}

TEST(WorkerQueue, RepeatsUntilTheTimerIsDestroyed) {
    std::atomic<int> firings = 0;
    std::promise<void> third;
    std::promise<void> later;
    WorkerQueue queue("com.pelorin.test");
    auto timer = queue.every(1ms, [&] {
        if (++firings == 3)
            third.set_value();
    });
    third.get_future().wait();
    timer.reset();
    const int afterDestruction = firings;
    queue.asyncAfter(20ms, [&] { later.set_value(); });
    later.get_future().wait();
    EXPECT_EQ(firings, afterDestruction);
}

TEST(WorkerQueue, DoesNotMakeUpForMissedFirings) {
    constexpr auto interval = 20ms;
    std::chrono::steady_clock::time_point heldUpUntil;
    std::promise<int> result;
    int firings = 0;
    int allowed = 0;
    WorkerQueue queue("com.pelorin.test");
    const auto timer = queue.every(interval, [&] {
        if (++firings == 1) {
            std::this_thread::sleep_for(20 * interval);
            heldUpUntil = std::chrono::steady_clock::now();
        }
        if (firings != 5)
            return;
        allowed = static_cast<int>((std::chrono::steady_clock::now() - heldUpUntil) / interval) + 2;
        result.set_value(firings);
    });
    EXPECT_LE(result.get_future().get(), allowed);
}

TEST(WorkerQueue, DropsWaitingTasksWhenItIsDestroyed) {
    auto owned = std::make_shared<int>(0);
    {
        WorkerQueue queue("com.pelorin.test");
        queue.asyncAfter(1h, [owned] { ++*owned; });
    }
    EXPECT_EQ(owned.use_count(), 1);
    EXPECT_EQ(*owned, 0);
}

TEST(SystemDispatch, RunsMainTasksOnTheMainThreadOnALaterTurn) {
    const auto dispatch = makeSystemDispatch();
    QEventLoop loop;
    std::vector<int> order;
    std::thread::id ranOn;
    std::thread caller([&] {
        dispatch->mainQueue().async([&] {
            ranOn = std::this_thread::get_id();
            order.push_back(1);
            dispatch->mainQueue().async([&] {
                order.push_back(3);
                loop.quit();
            });
            order.push_back(2);
        });
    });
    caller.join();
    EXPECT_TRUE(order.empty());
    loop.exec();
    EXPECT_EQ(ranOn, std::this_thread::get_id());
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
}

TEST(SystemDispatch, MainTasksAreLetGoOfOneByOne) {
    const auto dispatch = makeSystemDispatch();
    QEventLoop loop;
    const auto held = std::make_shared<int>(0);
    long holders = 0;
    dispatch->mainQueue().async([held] {});
    dispatch->mainQueue().async([&] {
        holders = held.use_count();
        loop.quit();
    });
    loop.exec();
    EXPECT_EQ(holders, 1);
}

TEST(SystemDispatch, MainDeadlinesDoNotComeEarly) {
    const auto dispatch = makeSystemDispatch();
    QEventLoop loop;
    const auto start = dispatch->monotonicNow();
    auto end = start;
    dispatch->mainQueue().asyncAfter(15500us, [&] {
        end = dispatch->monotonicNow();
        loop.quit();
    });
    loop.exec();
    EXPECT_GE(end - start, 15500us);
}

TEST(SystemDispatch, MainDeadlinesMayBeFarAway) {
    const auto dispatch = makeSystemDispatch();
    QEventLoop loop;
    bool hasCome = false;
    // In milliseconds these leave nothing in the lower 32 bits, and too much for any number.
    dispatch->mainQueue().asyncAfter(std::chrono::milliseconds(1LL << 32), [&] { hasCome = true; });
    dispatch->mainQueue().asyncAfter(Duration::max(), [&] { hasCome = true; });
    dispatch->mainQueue().asyncAfter(20ms, [&] { loop.quit(); });
    loop.exec();
    EXPECT_FALSE(hasCome);
}

TEST(SystemDispatch, MainTimersRepeatUntilTheyAreDestroyed) {
    const auto dispatch = makeSystemDispatch();
    QEventLoop loop;
    int firings = 0;
    std::unique_ptr<RepeatingTimer> timer = dispatch->mainQueue().every(1ms, [&] {
        if (++firings == 3)
            loop.quit();
    });
    loop.exec();
    timer.reset();
    dispatch->mainQueue().asyncAfter(20ms, [&] { loop.quit(); });
    loop.exec();
    EXPECT_EQ(firings, 3);
}

TEST(ManualDispatch, MovesTimeByHandThroughEveryDueMoment) {
    ManualDispatch dispatch;
    std::vector<std::pair<int, Duration>> seen;
    const auto start = dispatch.monotonicNow();
    const WallTime wallStart = dispatch.now();
    const auto note = [&](int mark) {
        seen.emplace_back(mark, dispatch.monotonicNow() - start);
    };
    dispatch.globalQueue().asyncAfter(2s, [&] { note(2); });
    dispatch.mainQueue().asyncAfter(1s, [&] {
        note(1);
        dispatch.mainQueue().asyncAfter(1s, [&] { note(3); });
    });
    auto timer = dispatch.mainQueue().every(1500ms, [&] { note(9); });
    dispatch.advance(3s);
    EXPECT_THAT(seen, ElementsAre(std::pair(1, 1s), std::pair(9, 1500ms), std::pair(2, 2s), std::pair(3, 2s),
                                  std::pair(9, 3s)));
    timer.reset();
    dispatch.advance(10s);
    EXPECT_EQ(seen.size(), 5U);
    EXPECT_EQ(dispatch.now() - wallStart, 13s);
}

} // namespace
} // namespace pelorin
