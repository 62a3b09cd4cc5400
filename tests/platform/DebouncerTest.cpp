#include "BeaconryKit/platform/Debouncer.h"

#include "tests/support/ManualDispatch.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

class DebouncerTest : public ::testing::Test {
protected:
    ManualDispatch dispatch;
    int runs = 0;
    std::optional<Debouncer> debouncer{std::in_place, dispatch, dispatch.mainQueue(), 60ms, [this] {
                                           ++runs;
                                       }};
};

TEST_F(DebouncerTest, RunsOnceItHasBeenQuietForTheWholeTime) {
    debouncer->trigger();
    dispatch.advance(60ms - 1ns);
    EXPECT_EQ(runs, 0);
    dispatch.advance(1ns);
    EXPECT_EQ(runs, 1);
    dispatch.advance(1h);
    EXPECT_EQ(runs, 1);
}

TEST_F(DebouncerTest, StartsTheTimeAnewWithEachTrigger) {
    for (int trigger = 0; trigger < 10; ++trigger) {
        debouncer->trigger();
        dispatch.advance(59ms);
    }
    EXPECT_EQ(runs, 0);
    dispatch.advance(1ms - 1ns);
    EXPECT_EQ(runs, 0);
    dispatch.advance(1ns);
    EXPECT_EQ(runs, 1);
}

TEST_F(DebouncerTest, MakesOneRunAndOneDeadlineOfABurst) {
    for (int trigger = 0; trigger < 1000; ++trigger)
        debouncer->trigger();
    EXPECT_EQ(dispatch.waitingTasks(), 1U);
    dispatch.advance(60ms);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

TEST_F(DebouncerTest, RunsAgainForALaterTrigger) {
    debouncer->trigger();
    dispatch.advance(60ms);
    debouncer->trigger();
    dispatch.advance(59ms);
    EXPECT_EQ(runs, 1);
    dispatch.advance(1ms);
    EXPECT_EQ(runs, 2);
}

TEST_F(DebouncerTest, ARunUnderWayDoesNotWaitForATriggerWithoutDelay) {
    debouncer->triggerWithoutDelay();
    dispatch.advance(40ms);
    debouncer->triggerWithoutDelay();
    dispatch.advance(20ms - 1ns);
    EXPECT_EQ(runs, 0);
    dispatch.advance(1ns);
    EXPECT_EQ(runs, 1);
    // Between a trigger and its run it changes nothing, either.
    debouncer->trigger();
    dispatch.advance(59ms);
    debouncer->triggerWithoutDelay();
    dispatch.advance(1ms);
    EXPECT_EQ(runs, 2);
    dispatch.advance(1h);
    EXPECT_EQ(runs, 2);
}

TEST_F(DebouncerTest, TriggersHoldARunBackNoLongerThanItsPatience) {
    Debouncer patient(
        dispatch, dispatch.mainQueue(), 60ms, [this] { ++runs; }, 500ms);
    const auto triggerFor = [&](Duration time) {
        for (Duration passed{}; passed < time; passed += 50ms) {
            patient.trigger();
            dispatch.advance(50ms);
        }
    };
    triggerFor(450ms);
    patient.trigger();
    dispatch.advance(50ms - 1ns);
    EXPECT_EQ(runs, 0);
    dispatch.advance(1ns);
    EXPECT_EQ(runs, 1);
    // The patience begins anew with the next trigger.
    triggerFor(450ms);
    EXPECT_EQ(runs, 1);
    dispatch.advance(10ms);
    EXPECT_EQ(runs, 2) << "It has been quiet.";
    triggerFor(500ms);
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(dispatch.waitingTasks(), 0U);
}

TEST_F(DebouncerTest, NoticesATriggerOutOfItsOwnRun) {
    int own = 0;
    Debouncer* self = nullptr;
    Debouncer again(dispatch, dispatch.mainQueue(), 60ms, [&] {
        if (++own == 1)
            self->trigger();
    });
    self = &again;
    again.trigger();
    dispatch.advance(60ms);
    EXPECT_EQ(own, 1);
    dispatch.advance(60ms);
    EXPECT_EQ(own, 2);
}

TEST_F(DebouncerTest, DropsARunThatIsDueWhenItIsDestroyed) {
    debouncer->trigger();
    debouncer.reset();
    dispatch.advance(1s);
    EXPECT_EQ(runs, 0);
}

} // namespace
} // namespace pelorin
