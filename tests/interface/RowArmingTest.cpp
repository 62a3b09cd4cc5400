#include "BeaconryKit/interface/asks/RowArming.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const RowArming::Moment later{1h};

RowArming armedRow() {
    RowArming row(later);
    EXPECT_TRUE(row.armIfDue(later));
    return row;
}

TEST(RowArmingTest, ArmsOnceWhenItIsDue) {
    RowArming row(later);
    EXPECT_FALSE(row.armIfDue(later - 1ns));
    EXPECT_FALSE(row.isArmed());
    EXPECT_EQ(row.armsAt(), later);
    EXPECT_TRUE(row.armIfDue(later));
    EXPECT_TRUE(row.isArmed());
    EXPECT_EQ(row.armsAt(), std::nullopt);
    EXPECT_FALSE(row.armIfDue(later));
}

TEST(RowArmingTest, SaysWhetherItTookClicksUntilItWasDisarmed) {
    RowArming row = armedRow();
    EXPECT_TRUE(row.disarm(later + 1s));
    EXPECT_FALSE(row.disarm(later + 2s));
    EXPECT_EQ(row.armsAt(), later + 2s);
}

TEST(RowArmingTest, IsDisarmedWhereItMovesAndNotWhereItIsFirstSeen) {
    RowArming row = armedRow();
    EXPECT_FALSE(row.moveTo(900, later + 1s));
    EXPECT_FALSE(row.moveTo(900, later + 1s));
    EXPECT_TRUE(row.isArmed());
    EXPECT_TRUE(row.moveTo(0, later + 1s));
    EXPECT_FALSE(row.moveTo(5, later + 2s));
    EXPECT_EQ(row.armsAt(), later + 2s);
}

} // namespace
} // namespace pelorin
