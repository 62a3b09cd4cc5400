#include "BeaconryBase/WholeNumber.h"

#include <gmock/gmock.h>

#include <cstdint>

namespace pelorin {
namespace {

TEST(WholeNumber, TakesOnlyATextThatIsANumberFromEndToEnd) {
    EXPECT_EQ(wholeNumber<int>("0"), 0);
    EXPECT_EQ(wholeNumber<int>("0017"), 17);
    EXPECT_EQ(wholeNumber<int>("-17"), -17);
    EXPECT_EQ(wholeNumber<std::uint64_t>("18446744073709551615"), UINT64_MAX);
    for (const std::string_view text : {"", " 1", "1 ", "+1", "1x", "x", "0x1", "1.0", "2147483648"})
        EXPECT_EQ(wholeNumber<int>(text), std::nullopt) << text;
    EXPECT_EQ(wholeNumber<unsigned>("-1"), std::nullopt);
    EXPECT_EQ(wholeNumber<std::uint64_t>("18446744073709551616"), std::nullopt);
}

} // namespace
} // namespace pelorin
