#include "BeaconryKit/platform/Programs.h"

#include "BeaconryBase/FileDescriptor.h"
#include "tests/platform/ShellPrograms.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/TemporaryDirectory.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <unistd.h>
#include <vector>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using Moment = std::chrono::steady_clock::time_point;

TEST(Capture, ReadsEverythingThatTheProgramPrints) {
    EXPECT_EQ(outputOf("exit 0"), "");
    EXPECT_EQ(outputOf("echo text; exit 7"), "text\n");
    const auto output = outputOf("head -c 50000000 /dev/zero");
    ASSERT_TRUE(output);
    EXPECT_EQ(output->size(), 50'000'000);
}

TEST(Capture, ThrowsErrorsAway) {
    EXPECT_EQ(outputOf("head -c 5000000 /dev/zero >&2; echo done"), "done\n");
}

TEST(Capture, EndsWhatDoesNotEndItself) {
    // Each prints the number of a process that would go on for ever.
    for (const QByteArray script : {// Goes on with its output closed, and will not be asked politely.
                                    "trap '' TERM HUP; echo $$ >&3; exec >&-; while :; do sleep 1000; done",
                                    // Has ended, but left its output to another.
                                    "sleep 1000 & echo $! >&3",
                                    // Goes on writing.
                                    "echo $$ >&3; exec yes"}) {
        const auto pipe = Pipe::make();
        ASSERT_TRUE(pipe);
        // The number comes by another way than the output, of which nothing is left.
        const QByteArray path =
            "/proc/" + QByteArray::number(getpid()) + "/fd/" + QByteArray::number(pipe->writeEnd.number());
        const Moment start = std::chrono::steady_clock::now();
        EXPECT_FALSE(outputOf("exec 3>" + path + "; " + script, 300ms, plentyOfOutput * 16)) << script.constData();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
        char text[32];
        const ssize_t count = read(pipe->readEnd.number(), text, sizeof text);
        const int process = QByteArray(text, std::max<ssize_t>(count, 0)).trimmed().toInt();
        ASSERT_GT(process, 1) << script.constData();
        EXPECT_TRUE(eventually([&] { return !isRunningProcess(process); })) << script.constData();
    }
    EXPECT_TRUE(eventually([] { return zombies().isEmpty() && runningChildren().isEmpty(); }));
}

TEST(Capture, EndsWhatPrintsBeyondTheLimit) {
    EXPECT_EQ(outputOf("head -c 100000 /dev/zero", 20s, 100'000).value_or("").size(), 100'000);
    EXPECT_FALSE(outputOf("head -c 100001 /dev/zero", 20s, 100'000));
    const Moment start = std::chrono::steady_clock::now();
    EXPECT_FALSE(outputOf("yes", 600s, 1'000'000));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty(); }));
}

TEST(Capture, LeavesNothingBehind) {
    outputOf("exit 0");
    const QStringList before = openDescriptors();
    for (int run = 0; run < 50; ++run)
        EXPECT_EQ(outputOf("echo text"), "text\n");
    // Not even for a moment.
    EXPECT_TRUE(zombies().isEmpty());
    EXPECT_EQ(openDescriptors(), before);
}

TEST(Capture, MayBeUsedOnManyThreads) {
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&right, thread] {
            for (int run = 0; run < 20; ++run) {
                const QByteArray text = QByteArray::number(thread * 1000 + run) + '\n';
                if (outputOf("echo " + text) == text.toStdString())
                    ++right;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(right, 80);
    EXPECT_TRUE(zombies().isEmpty());
}

TEST(CaptureWithoutLimit, TellsTheStatusAndBothStreamsInTheirOrder) {
    const auto outcome = capture(shell("echo one; echo two >&2; echo three; exit 7"));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->status, 7);
    EXPECT_EQ(outcome->output, "one\ntwo\nthree\n");
}

TEST(CaptureWithoutLimit, IsNotHeldUpByMoreOutputThanAPipeHolds) {
    const auto outcome = capture(shell("head -c 5000000 /dev/zero; head -c 5000000 /dev/zero >&2"));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->output.size(), 10'000'000);
}

TEST(CaptureWithoutLimit, GivesNothingToRead) {
    const auto outcome = capture(shell("read line; echo \"read $? <$line>\""));
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->output, "read 1 <>\n");
}

TEST(CaptureWithoutLimit, DoesNotWaitForWhatTheProgramLeavesBehind) {
    const auto silent = capture(shell("sleep 1000 & echo $!"));
    ASSERT_TRUE(silent);
    const int process = silent->output.trimmed().toInt();
    EXPECT_TRUE(isRunningProcess(process));
    kill(process, SIGKILL);
    // Ends by itself once nobody reads what it writes without end.
    const auto loud = capture(shell("echo begun; yes &"));
    ASSERT_TRUE(loud);
    EXPECT_TRUE(loud->output.startsWith("begun\n"));
}

TEST(CaptureWithoutLimit, SaysWhyTheProgramCannotBeStarted) {
    ASSERT_TRUE(capture(shell("exit 0")));
    const QStringList before = openDescriptors();
    ChildProcess::Launch launch;
    launch.executable = "/nowhere/program";
    const auto outcome = capture(launch);
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error(), std::errc::no_such_file_or_directory);
    EXPECT_TRUE(onlyLeavesOpen(before));
}

TEST(LaunchProgram, StartsItAndLeavesItAlone) {
    const TemporaryDirectory directory;
    const std::filesystem::path file = directory.path() / "ran";
    ChildProcess::Launch program = shell("echo > \"$0\"");
    program.arguments.append(QByteArray::fromStdString(file.string()));
    ASSERT_TRUE(launch(program));
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(file); }));
    EXPECT_TRUE(eventually([] { return zombies().isEmpty(); }));
}

TEST(LaunchProgram, TellsWhyItCannotStart) {
    const auto started = launch({.executable = "/no/such/program"});
    ASSERT_FALSE(started);
    EXPECT_EQ(started.error(), std::errc::no_such_file_or_directory);
}

} // namespace
} // namespace pelorin
