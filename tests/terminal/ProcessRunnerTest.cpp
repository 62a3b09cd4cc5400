#include "BeaconryKit/terminal/ProcessRunner.h"

#include "BeaconryBase/FileDescriptor.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/RecordingPrograms.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;

std::optional<QString> shell(const QString& script) {
    return ProcessRunner().run("sh", {"-c", script});
}

TEST(ProcessRunner, ReturnsWhatTheCommandPrints) {
    EXPECT_EQ(ProcessRunner().run("echo", {"two", "words"}), "two words\n");
}

TEST(ProcessRunner, DoesNotLookAtTheExitStatus) {
    EXPECT_EQ(shell("echo text; exit 9"), "text\n");
    EXPECT_EQ(shell("exit 9"), "");
    EXPECT_EQ(shell("kill -9 $$"), "");
}

TEST(ProcessRunner, HasNothingToShowForACommandThatDoesNotExist) {
    // env itself was started, and printed nothing but an error.
    EXPECT_EQ(ProcessRunner().run("no-such-program-anywhere", {"x"}), "");
    EXPECT_EQ(ProcessRunner().run("", {}), "");
}

TEST(ProcessRunner, FindsTheCommandOnTheSearchPath) {
    RecordingPrograms programs({"wezterm"});
    programs.setOutput("from the path\n");
    EXPECT_EQ(ProcessRunner().run("wezterm", {"a", "", "b c"}), "from the path\n");
    EXPECT_THAT(programs.runs(), ElementsAre(QStringList{"wezterm", "a", "", "b c"}));
}

TEST(ProcessRunner, PassesArgumentsUnchanged) {
    const QStringList arguments{"%3", "two words", "$HOME", "*", ";exit", "a\"b'c\\d", "line\nline", "é❯😀", "-n", ""};
    EXPECT_EQ(ProcessRunner().run("printf", QStringList("[%s]") + arguments), "[" + arguments.join("][") + "]");
}

TEST(ProcessRunner, InheritsStandardInput) {
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    const FileDescriptor kept(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
    dup2(pipe->readEnd.number(), STDIN_FILENO);
    ASSERT_EQ(write(pipe->writeEnd.number(), "typed\n", 6), 6);
    const auto line = shell("read line; echo \"$line\"");
    dup2(kept.number(), STDIN_FILENO);
    EXPECT_EQ(line, "typed\n");
}

struct Bytes {
    /// As printf writes it.
    const char* format;
    std::optional<QString> text;
};

class ProcessOutput : public ::testing::TestWithParam<Bytes> {};

TEST_P(ProcessOutput, IsUtf8OrNothing) {
    EXPECT_EQ(ProcessRunner().run("printf", {GetParam().format}), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(ProcessRunner, ProcessOutput,
                         ::testing::Values(Bytes{"\\342\\235\\257 \\360\\237\\230\\200", "❯ 😀"},
                                           // A byte order mark and a NUL are characters like any other.
                                           Bytes{"\\357\\273\\277x", QString(QChar(0xfeff)) + "x"},
                                           Bytes{"a\\0b", QString("a") + QChar(0) + "b"}, Bytes{"\\377", {}},
                                           Bytes{"text \\342\\235", {}}, Bytes{"\\300\\200", {}},
                                           Bytes{"\\355\\240\\200", {}}, Bytes{"\\364\\220\\200\\200", {}},
                                           Bytes{"\\200", {}}));

TEST(ProcessRunner, ReadsALongOutputToItsEnd) {
    const auto output = shell("yes 0123456789 | head -n 1000000; echo end");
    ASSERT_TRUE(output);
    EXPECT_EQ(output->size(), 11'000'000 + 4);
    EXPECT_TRUE(output->endsWith("\nend\n"));
}

TEST(ProcessRunner, DoesNotHangWhenTheCommandFillsItsErrorPipe) {
    EXPECT_EQ(shell("head -c 3000000 /dev/zero >&2; echo done"), "done\n");
}

TEST(ProcessRunner, EndsACommandThatTakesMoreThanTwoSeconds) {
    EXPECT_EQ(ProcessRunner::timeout, 2s);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(shell("echo text; sleep 1000 & sleep 1000"), std::nullopt);
    const auto elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(elapsed, 2s);
    EXPECT_LT(elapsed, 6s);
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
}

TEST(ProcessRunner, LeavesNothingBehind) {
    shell("exit 0");
    const QStringList before = openDescriptors();
    for (int run = 0; run < 20; ++run)
        EXPECT_EQ(shell("echo text"), "text\n");
    EXPECT_TRUE(zombies().isEmpty());
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
} // namespace pelorin
