#include "BeaconryKit/interface/panel/PanelScreens.h"

#include "BeaconryKit/interface/panel/PanelPlatform.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

PanelScreen screen(int x, int topInset, bool isMain) {
    return {QRect(x, 0, 1000, 700), topInset, isMain, nullptr};
}

struct Case {
    const char* what;
    QList<PanelScreen> screens;
    // The x of the one that is wanted; -1 for none.
    int expectedX;
};

class TargetScreen : public ::testing::TestWithParam<Case> {};

TEST_P(TargetScreen, IsTheOneWithTheNotchElseTheMainOneElseTheFirst) {
    const std::optional<PanelScreen> target = targetScreen(GetParam().screens);
    EXPECT_EQ(target ? target->frame.x() : -1, GetParam().expectedX) << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Screens, TargetScreen,
    ::testing::Values(
        Case{"no screen", {}, -1}, Case{"one", {screen(0, 0, true)}, 0},
        Case{"the main one is not the first", {screen(0, 0, false), screen(1000, 0, true)}, 1000},
        Case{"a notch wins over the main one", {screen(0, 0, true), screen(1000, 32, false)}, 1000},
        Case{"the first of two notches", {screen(0, 0, true), screen(1000, 1, false), screen(2000, 38, false)}, 1000},
        Case{"the main one has the notch", {screen(0, 38, true), screen(1000, 0, false)}, 0},
        Case{"none is the main one", {screen(300, 0, false), screen(1000, 0, false)}, 300}));

TEST(PanelFrame, HangsFromTheMiddleOfTheTopEdge) {
    const PanelScreen second{QRect(1920, 200, 1280, 1024), 0, false, nullptr};
    EXPECT_EQ(panelFrame(second, {500, 123}), QRect(1920 + 390, 200, 500, 123));
}

TEST(PanelFrame, IsAtLeast460Wide) {
    const PanelScreen screen{QRect(0, 0, 1280, 800), 0, true, nullptr};
    EXPECT_EQ(minimumPanelWidth, 460);
    EXPECT_EQ(panelFrame(screen, {120, 80}), QRect(410, 0, 460, 80));
    EXPECT_EQ(panelFrame(screen, {460.5, 80}).width(), 461);
}

TEST(PanelFrame, StaysOnTheScreen) {
    const PanelScreen small{QRect(0, 0, 400, 300), 0, true, nullptr};
    EXPECT_EQ(panelFrame(small, {900, 900}), QRect(0, 0, 400, 300));
}

TEST(PanelWindowProperties, AreThoseOfAStatusWindowOnEverySpace) {
    EXPECT_EQ(PanelWindowProperties::level, 25);
    EXPECT_EQ(PanelWindowProperties::collectionBehaviour, 273U);
}

} // namespace
} // namespace pelorin
