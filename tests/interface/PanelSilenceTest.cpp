#include "tests/interface/PanelFixture.h"

namespace pelorin {
namespace {

using PanelSilenceTest = PanelFixture;

TEST_F(PanelSilenceTest, IsHiddenWhileSilencedAndComesBackAfterwards) {
    show({permission(a)});
    EXPECT_FALSE(controller->silenced());
    controller->setSilenced(true);
    EXPECT_TRUE(controller->silenced());
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::leaving);
    settle();
    EXPECT_FALSE(panel().isVisible());
    store.upsert(permission(b));
    settle();
    EXPECT_FALSE(panel().isVisible());
    controller->setSilenced(false);
    EXPECT_TRUE(isShown());
    settleAndArm();
    EXPECT_NE(row(b), nullptr);
    click(a, allow);
    ASSERT_EQ(reports.size(), 1U);
}

TEST_F(PanelSilenceTest, StaysHiddenAfterSilenceWhenNothingIsWaiting) {
    controller->setSilenced(true);
    store.upsert(permission(a));
    dispatch.runDue();
    store.remove(a);
    dispatch.runDue();
    controller->setSilenced(false);
    settle();
    EXPECT_EQ(panel().phase(), NotchPanel::Phase::hidden);
}

TEST_F(PanelSilenceTest, TakesNoClicksWhileItFades) {
    show({permission(a)});
    const QPoint place = middle(a, allow);
    controller->setSilenced(true);
    click(place);
    EXPECT_TRUE(reports.empty());
}

} // namespace
} // namespace pelorin
