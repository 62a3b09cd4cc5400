#include "BeaconrySetup/LineDifference.h"

#include <gmock/gmock.h>

namespace pelorin::setup {
namespace {

TEST(LineDifference, ShowsWhatComesAndGoes) {
    EXPECT_EQ(lineDifference("", ""), "");
    EXPECT_EQ(lineDifference("a\nb\n", "a\nb\n"), "");
    EXPECT_EQ(lineDifference("", "a\nb\n"), "+ a\n+ b\n");
    EXPECT_EQ(lineDifference("a\nb", ""), "- a\n- b\n");
    EXPECT_EQ(lineDifference("a\nb\nc\nd\n", "a\nx\nb\ny\nc\nd\n"), "+ x\n+ y\n");
    EXPECT_EQ(lineDifference("a\r\nb\r\nc\r\n", "a\r\nb,\r\nd\r\nc\r\n"), "- b\n+ b,\n+ d\n");
}

TEST(LineDifference, GivesUpTheFinerPictureOfHugeTexts) {
    std::string before = "first\n";
    std::string after = "other\n";
    for (int count = 0; count < 3000; ++count) {
        before += std::to_string(count) + "\n";
        after += std::to_string(count) + "\n";
    }
    before += "last";
    after += "end";
    const std::string difference = lineDifference(before, after);
    EXPECT_TRUE(difference.starts_with("- first\n- 0\n"));
    EXPECT_TRUE(difference.ends_with("+ 2999\n+ end\n"));
}

} // namespace
} // namespace pelorin::setup
