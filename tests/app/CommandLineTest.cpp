#include "tests/app/RunningApplication.h"

#include <gmock/gmock.h>

namespace pelorin {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

const std::string application = PELORIN_BINARY_DIR "/pelorin";

TEST(CommandLine, TellsTheVersionWithoutADisplay) {
    const auto answer = runProgram({application, "--version"}, {});
    EXPECT_EQ(answer.exit, exited(0));
    EXPECT_THAT(answer.output, MatchesRegex("pelorin [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(answer.errors, "");
}

TEST(CommandLine, TellsItsUse) {
    const auto answer = runProgram({application, "--help"}, {});
    EXPECT_EQ(answer.exit, exited(0));
    EXPECT_THAT(answer.output, StartsWith("usage: pelorin"));
    EXPECT_THAT(answer.output, HasSubstr("BEACONRY_PORT"));
    EXPECT_THAT(answer.output, HasSubstr("--manager"));
    EXPECT_EQ(answer.errors, "");
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    const auto answer = runProgram({application, "--verzion"}, {});
    EXPECT_EQ(answer.exit, exited(2));
    EXPECT_EQ(answer.output, "");
    EXPECT_THAT(answer.errors, StartsWith("pelorin: --verzion is no option of this program.\nusage: pelorin"));
}

TEST(CommandLine, LooksAtEveryArgument) {
    const auto answer = runProgram({application, "--manager", "--verzion"}, {});
    EXPECT_EQ(answer.exit, exited(2));
    EXPECT_THAT(answer.errors, StartsWith("pelorin: --verzion is no option of this program.\n"));
}

} // namespace
} // namespace pelorin
