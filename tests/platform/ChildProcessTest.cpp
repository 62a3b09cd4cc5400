#include "BeaconryKit/platform/ChildProcess.h"

#include "BeaconryBase/FileDescriptor.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"

#include "BeaconryKit/platform/PseudoTerminal.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using Moment = std::chrono::steady_clock::time_point;

constexpr qsizetype plenty = 256 * 1024 * 1024;

Moment inAMoment() {
    return std::chrono::steady_clock::now() + 20s;
}

ChildProcess::Launch shell(const QByteArray& script) {
    ChildProcess::Launch launch;
    launch.executable = "/bin/sh";
    launch.arguments = {"-c", script};
    return launch;
}

std::optional<std::string> outputOf(const ChildProcess::Launch& launch, Duration timeout = 20s,
                                    qsizetype limit = plenty) {
    const auto output = collectOutput(launch, timeout, limit);
    return output ? std::optional(output->toStdString()) : std::nullopt;
}

std::optional<std::string> outputOf(const QByteArray& script, Duration timeout = 20s, qsizetype limit = plenty) {
    return outputOf(shell(script), timeout, limit);
}

TEST(ChildProcess, RunsAndTellsOnceThatItHasEnded) {
    std::promise<void> ended;
    std::atomic<int> calls = 0;
    ChildProcess::Launch launch = shell("exit 3");
    launch.onExit = [&] {
        if (++calls == 1)
            ended.set_value();
    };
    const auto child = ChildProcess::start(launch);
    ASSERT_TRUE(child);
    ended.get_future().wait();
    EXPECT_FALSE(child->isRunning());
    EXPECT_TRUE(child->waitUntil(std::chrono::steady_clock::now()));
    EXPECT_TRUE(zombies().isEmpty());
    EXPECT_EQ(calls, 1);
}

TEST(ChildProcess, WaitsNoLongerThanTheDeadline) {
    const auto child = ChildProcess::start(shell("exec sleep 1000"));
    ASSERT_TRUE(child);
    EXPECT_FALSE(child->waitUntil(std::chrono::steady_clock::now() + 1ms));
    EXPECT_TRUE(child->isRunning());
    EXPECT_TRUE(isRunningProcess(child->processId()));
    child->terminate();
    EXPECT_TRUE(child->waitUntil(inAMoment()));
    EXPECT_FALSE(child->isRunning());
    // Asking again is harmless.
    child->terminate();
}

TEST(ChildProcess, IsNothingWhenTheProgramCannotBeStarted) {
    std::atomic<int> calls = 0;
    for (const QByteArray program : {"/nowhere/program", "/etc/passwd", "/tmp", "relative", ""}) {
        ChildProcess::Launch launch;
        launch.executable = program;
        launch.onExit = [&] {
            ++calls;
        };
        EXPECT_FALSE(ChildProcess::start(launch)) << program.constData();
    }
    EXPECT_TRUE(zombies().isEmpty());
    EXPECT_EQ(calls, 0);
}

TEST(ChildProcess, IsNothingWithoutDescriptors) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const auto child = ChildProcess::start(shell("exit 0"));
    const auto output = outputOf("echo x");
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(child);
    EXPECT_FALSE(output);
}

TEST(ChildProcess, LeavesNoZombieWhenItsHandleIsDropped) {
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    std::promise<void> ended;
    ChildProcess::Launch launch = shell("read line");
    launch.standardInput = pipe->readEnd.number();
    launch.onExit = [&] {
        ended.set_value();
    };
    pid_t process = 0;
    {
        const auto child = ChildProcess::start(launch);
        ASSERT_TRUE(child);
        process = child->processId();
    }
    EXPECT_TRUE(isRunningProcess(process));
    ASSERT_EQ(write(pipe->writeEnd.number(), "\n", 1), 1);
    ended.get_future().wait();
    EXPECT_TRUE(zombies().isEmpty());
}

TEST(ChildProcess, GetsNoDescriptorOfOursButItsStreams) {
    // Open, and not marked to be closed.
    const FileDescriptor careless(open("/dev/null", O_RDONLY));
    const FileDescriptor high(fcntl(careless.number(), F_DUPFD, 700));
    ASSERT_TRUE(careless.isOpen() && high.isOpen());
    // The listing itself has the folder open, as the fourth.
    EXPECT_EQ(outputOf("exec ls /proc/self/fd"), "0\n1\n2\n3\n");
}

TEST(ChildProcess, GetsDefaultSignals) {
    struct Restore {
        sighandler_t pipe = signal(SIGPIPE, SIG_IGN);
        sighandler_t hangup = signal(SIGHUP, SIG_IGN);
        sigset_t mask{};
        Restore() {
            sigset_t blocked;
            sigemptyset(&blocked);
            sigaddset(&blocked, SIGTERM);
            sigaddset(&blocked, SIGUSR1);
            pthread_sigmask(SIG_BLOCK, &blocked, &mask);
        }
        ~Restore() {
            pthread_sigmask(SIG_SETMASK, &mask, nullptr);
            signal(SIGPIPE, pipe);
            signal(SIGHUP, hangup);
        }
    } const restore;
    EXPECT_EQ(outputOf("exec grep -E '^Sig(Blk|Ign)' /proc/self/status"),
              "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(ChildProcess, GetsTheEnvironmentThatItIsGiven) {
    ChildProcess::Launch launch;
    launch.executable = "/usr/bin/env";
    launch.environment = QList<QByteArray>{"A=1", "B=two words"};
    EXPECT_EQ(outputOf(launch), "A=1\nB=two words\n");

    qputenv("PELORIN_CHILD_TEST", "inherited");
    EXPECT_EQ(outputOf("echo $PELORIN_CHILD_TEST"), "inherited\n");
    qunsetenv("PELORIN_CHILD_TEST");
}

TEST(ChildProcess, GetsItsArgumentsOneByOne) {
    ChildProcess::Launch launch;
    launch.executable = "/usr/bin/printf";
    launch.arguments = {"[%s]", "", "two words", "%3", "*", "$HOME", "a\"b'c\\", "é\nx"};
    EXPECT_EQ(outputOf(launch), "[][two words][%3][*][$HOME][a\"b'c\\][é\nx]");
}

TEST(ChildProcess, KeepsTheStreamsThatItIsNotGiven) {
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    const FileDescriptor kept(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
    dup2(pipe->readEnd.number(), STDIN_FILENO);
    ASSERT_EQ(write(pipe->writeEnd.number(), "from outside\n", 13), 13);
    const auto line = outputOf("read line; echo \"$line\"");
    dup2(kept.number(), STDIN_FILENO);
    EXPECT_EQ(line, "from outside\n");
}

TEST(ChildProcess, TakesStreamsThatHaveStandardNumbers) {
    // The child's output is our input, and its error our output: no stream may be overwritten before it was copied.
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    const FileDescriptor kept(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10));
    dup2(pipe->writeEnd.number(), STDIN_FILENO);
    ChildProcess::Launch launch = shell("echo out; echo error >&2");
    launch.standardInput = STDERR_FILENO;
    launch.standardOutput = STDIN_FILENO;
    launch.standardError = STDIN_FILENO;
    const auto child = ChildProcess::start(launch);
    dup2(kept.number(), STDIN_FILENO);
    ASSERT_TRUE(child);
    ASSERT_TRUE(child->waitUntil(inAMoment()));
    char text[64];
    const ssize_t count = read(pipe->readEnd.number(), text, sizeof text);
    EXPECT_EQ(QByteArray(text, count), "out\nerror\n");
}

TEST(ChildProcess, MayLeadASessionOnATerminalOfItsOwn) {
    auto terminal = PseudoTerminal::open({80, 24});
    ASSERT_TRUE(terminal);
    ChildProcess::Launch launch = shell("echo $(ps -o pid=,pgid=,sid=,tpgid= -p $$) $(tty)");
    launch.standardInput = terminal->slave.number();
    launch.standardOutput = terminal->slave.number();
    launch.standardError = terminal->slave.number();
    launch.group = ChildProcess::Group::ownSession;
    const auto child = ChildProcess::start(launch);
    ASSERT_TRUE(child);
    ASSERT_TRUE(child->waitUntil(inAMoment()));
    const QByteArray name = ttyname(terminal->slave.number());
    QByteArray line;
    char byte = 0;
    while (!line.endsWith('\n') && read(terminal->master.number(), &byte, 1) == 1)
        line += byte;
    const QByteArray number = QByteArray::number(child->processId());
    EXPECT_EQ(line.toStdString(),
              (number + ' ' + number + ' ' + number + ' ' + number + ' ' + name + "\r\n").toStdString());
}

TEST(CollectOutput, ReadsEverythingThatTheProgramPrints) {
    EXPECT_EQ(outputOf("exit 0"), "");
    EXPECT_EQ(outputOf("echo text; exit 7"), "text\n");
    const auto output = outputOf("head -c 50000000 /dev/zero");
    ASSERT_TRUE(output);
    EXPECT_EQ(output->size(), 50'000'000);
}

TEST(CollectOutput, ThrowsErrorsAway) {
    EXPECT_EQ(outputOf("head -c 5000000 /dev/zero >&2; echo done"), "done\n");
}

TEST(CollectOutput, EndsWhatDoesNotEndItself) {
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
        EXPECT_FALSE(outputOf("exec 3>" + path + "; " + script, 300ms, plenty * 16)) << script.constData();
        EXPECT_LT(std::chrono::steady_clock::now() - start, 10s);
        char text[32];
        const ssize_t count = read(pipe->readEnd.number(), text, sizeof text);
        const int process = QByteArray(text, std::max<ssize_t>(count, 0)).trimmed().toInt();
        ASSERT_GT(process, 1) << script.constData();
        EXPECT_TRUE(eventually([&] { return !isRunningProcess(process); })) << script.constData();
    }
    EXPECT_TRUE(eventually([] { return zombies().isEmpty() && runningChildren().isEmpty(); }));
}

TEST(CollectOutput, EndsWhatPrintsBeyondTheLimit) {
    EXPECT_EQ(outputOf("head -c 100000 /dev/zero", 20s, 100'000).value_or("").size(), 100'000);
    EXPECT_FALSE(outputOf("head -c 100001 /dev/zero", 20s, 100'000));
    const Moment start = std::chrono::steady_clock::now();
    EXPECT_FALSE(outputOf("yes", 600s, 1'000'000));
    EXPECT_LT(std::chrono::steady_clock::now() - start, 20s);
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty(); }));
}

TEST(CollectOutput, LeavesNothingBehind) {
    outputOf("exit 0");
    const QStringList before = openDescriptors();
    for (int run = 0; run < 50; ++run)
        EXPECT_EQ(outputOf("echo text"), "text\n");
    // Not even for a moment.
    EXPECT_TRUE(zombies().isEmpty());
    EXPECT_EQ(openDescriptors(), before);
}

TEST(CollectOutput, MayBeUsedOnManyThreads) {
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

} // namespace
} // namespace pelorin
