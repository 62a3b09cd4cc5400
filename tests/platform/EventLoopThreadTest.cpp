#include "BeaconryKit/platform/EventLoopThread.h"

#include <QTimer>
#include <gmock/gmock.h>

#include <atomic>
#include <future>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

TEST(EventLoopThread, RunsTasksInOrderOnItsOwnThread) {
    EventLoopThread thread("com.pelorin.test");
    std::vector<int> order;
    std::promise<std::thread::id> ranOn;
    thread.queue().async([&] { order.push_back(1); });
    thread.queue().asyncAfter(1ms, [&] {
        order.push_back(3);
        ranOn.set_value(std::this_thread::get_id());
    });
    thread.queue().async([&] { order.push_back(2); });
    EXPECT_EQ(ranOn.get_future().get(), thread.id());
    EXPECT_NE(thread.id(), std::this_thread::get_id());
    EXPECT_THAT(order, ::testing::ElementsAre(1, 2, 3));
}

TEST(EventLoopThread, CarriesTheToolkitsTimers) {
    EventLoopThread thread("com.pelorin.test");
    std::promise<void> fired;
    thread.queue().async([&] { QTimer::singleShot(1, [&] { fired.set_value(); }); });
    fired.get_future().wait();
}

TEST(EventLoopThread, RunsWhatWasHandedInBeforeItsEndAndDropsWhatIsNotDue) {
    std::atomic<int> ran = 0;
    std::atomic<bool> deleted = false;
    {
        EventLoopThread thread("com.pelorin.test");
        thread.queue().asyncAfter(1h, [&] { ran += 100; });
        thread.queue().async([&] { ++ran; });
        thread.queue().async([&] {
            auto* object = new QObject;
            QObject::connect(object, &QObject::destroyed, [&] { deleted = true; });
            object->deleteLater();
        });
    }
    EXPECT_EQ(ran, 1);
    EXPECT_TRUE(deleted);
}

} // namespace
} // namespace pelorin
