#include "BeaconrySetup/UnifiedDifference.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace pelorin::setup {
namespace {

TEST(UnifiedDifference, ShowsWhatComesAndGoes) {
    EXPECT_EQ(unifiedDifference("/a/b.json", "a\nb\nc\nd\ne\nf\n", "a\nb\nc\nd\nx\nf\n"), "--- /a/b.json\n"
                                                                                          "+++ /a/b.json\n"
                                                                                          "@@ -2,5 +2,5 @@\n"
                                                                                          " b\n"
                                                                                          " c\n"
                                                                                          " d\n"
                                                                                          "-e\n"
                                                                                          "+x\n"
                                                                                          " f\n");
}

TEST(UnifiedDifference, ShowsThatAFileComesOrGoes) {
    EXPECT_EQ(unifiedDifference("/f", std::nullopt, "a\nb\n"), "--- /dev/null\n"
                                                               "+++ /f\n"
                                                               "@@ -0,0 +1,2 @@\n"
                                                               "+a\n"
                                                               "+b\n");
    EXPECT_EQ(unifiedDifference("/f", "a\nb\n", std::nullopt), "--- /f\n"
                                                               "+++ /dev/null\n"
                                                               "@@ -1,2 +0,0 @@\n"
                                                               "-a\n"
                                                               "-b\n");
}

TEST(UnifiedDifference, TakesTextsThatFillNoPipe) {
    std::string before;
    std::string after;
    for (int line = 0; line < 100'000; ++line) {
        before += "old " + std::to_string(line) + "\n";
        after += "new " + std::to_string(line) + "\n";
    }
    const std::string difference = unifiedDifference("/f", before, after);
    EXPECT_TRUE(difference.starts_with("--- /f\n+++ /f\n@@ -1,100000 +1,100000 @@\n-old 0\n"));
    EXPECT_TRUE(difference.ends_with("+new 99999\n"));
}

TEST(UnifiedDifference, SaysThatTheProgramIsMissing) {
    const std::string path = std::getenv("PATH");
    setenv("PATH", "/nowhere", 1);
    EXPECT_EQ(unifiedDifference("/f", "a\n", "b\n"),
              "The lines can't be shown: the program diff is missing, or has failed.\n");
    setenv("PATH", path.c_str(), 1);
}

} // namespace
} // namespace pelorin::setup
