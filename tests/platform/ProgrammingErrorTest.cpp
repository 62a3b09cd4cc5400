#include "BeaconryKit/platform/ProgrammingError.h"

#include <gtest/gtest.h>

namespace pelorin {
namespace {

TEST(ProgrammingErrorDeathTest, StopsTheProgramAndSaysWhichRuleWasBroken) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(programmingError("numbers are small"), "Programming error: numbers are small");
}

} // namespace
} // namespace pelorin
