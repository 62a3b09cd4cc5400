#include "BeaconryKit/platform/ChildProcess.h"

#include "BeaconryBase/FileDescriptor.h"
#include "tests/platform/ShellPrograms.h"
#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/SoftDescriptorLimit.h"

#include "BeaconryKit/platform/DescriptorLimit.h"
#include "BeaconryKit/platform/PseudoTerminal.h"

#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <thread>
#include <unistd.h>
#if defined(__linux__)
#include "tests/platform/WithoutSystemCalls.h"

#include <sys/syscall.h>
#endif

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using Moment = std::chrono::steady_clock::time_point;

Moment inAMoment() {
    return std::chrono::steady_clock::now() + 20s;
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

TEST(ChildProcess, SaysWhyTheProgramCannotBeStarted) {
    std::atomic<int> calls = 0;
    const std::pair<QByteArray, std::errc> table[] = {
        {"/nowhere/program", std::errc::no_such_file_or_directory},
        {"/etc/passwd", std::errc::permission_denied},
        {"/tmp", std::errc::permission_denied},
        {"relative", std::errc::no_such_file_or_directory},
        {"", std::errc::no_such_file_or_directory},
    };
    for (const auto& [program, error] : table) {
        ChildProcess::Launch launch;
        launch.executable = program;
        launch.onExit = [&] {
            ++calls;
        };
        const auto child = ChildProcess::start(launch);
        ASSERT_FALSE(child) << program.constData();
        EXPECT_EQ(child.error(), error) << program.constData();
    }
    EXPECT_TRUE(zombies().isEmpty());
    EXPECT_EQ(calls, 0);
}

TEST(ChildProcess, KnowsHowItHasEnded) {
    const std::pair<QByteArray, int> table[] = {
        {"exit 0", 0}, {"exit 3", 3}, {"exit 255", 255}, {"kill -TERM $$", 143}, {"kill -KILL $$", 137}};
    for (const auto group : {ChildProcess::Group::ours, ChildProcess::Group::own}) {
        for (const auto& [script, status] : table) {
            ChildProcess::Launch launch = shell(script);
            launch.group = group;
            const auto child = ChildProcess::start(launch);
            ASSERT_TRUE(child);
            ASSERT_TRUE(child->waitUntil(inAMoment()));
            EXPECT_EQ(child->status(), status) << script.constData();
        }
    }
    EXPECT_TRUE(zombies().isEmpty());
}

TEST(ChildProcess, ManyNeedNoThreadEach) {
    constexpr int count = 50;
    const auto pipe = Pipe::make();
    ASSERT_TRUE(pipe);
    std::atomic<int> ended = 0;
    ChildProcess::Launch launch = shell("read line");
    launch.standardInput = pipe->readEnd.number();
    launch.onExit = [&] {
        ++ended;
    };
    ASSERT_EQ(outputOf("exit 0"), "");
    const qsizetype before = threadCount();
    for (int child = 0; child < count; ++child)
        ASSERT_TRUE(ChildProcess::start(launch));
    EXPECT_EQ(threadCount(), before);
    const QByteArray lines(count, '\n');
    ASSERT_EQ(write(pipe->writeEnd.number(), lines.constData(), count), count);
    EXPECT_TRUE(eventually([&] { return ended == count; }));
    EXPECT_TRUE(zombies().isEmpty());
}

TEST(ChildProcess, IsNothingWithoutDescriptors) {
    std::error_code error;
    {
        const SoftDescriptorLimit none(0);
        const auto child = ChildProcess::start(shell("exit 0"));
        ASSERT_FALSE(child);
        error = child.error();
        EXPECT_FALSE(outputOf("echo x"));
    }
    EXPECT_EQ(error, std::errc::too_many_files_open);
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

TEST(ChildProcess, GetsTheLimitOfDescriptorsThatWeWereStartedWith) {
    const SoftDescriptorLimit low(256);
    EXPECT_EQ(outputOf("ulimit -n"), "256\n");
    raiseDescriptorLimit();
    EXPECT_EQ(SoftDescriptorLimit::present(), low.hardLimit());
    EXPECT_EQ(outputOf("ulimit -Sn; ulimit -Hn"), "256\n" + std::to_string(low.hardLimit()) + '\n');
}

#if defined(__linux__)
TEST(ChildProcess, WorksOnSystemsThatHaveNoDescriptorsOfProcesses) {
    // Open, and not marked to be closed.
    const FileDescriptor careless(open("/dev/null", O_RDONLY));
    const FileDescriptor high(fcntl(careless.number(), F_DUPFD, 700));
    std::thread([] {
        if (!denySystemCalls({SYS_close_range, SYS_pidfd_open}))
            GTEST_SKIP() << "System calls cannot be denied here.";
        EXPECT_EQ(outputOf("exec ls /proc/self/fd"), "0\n1\n2\n3\n");
        std::atomic<int> ended = 0;
        ChildProcess::Launch quick = shell("exit 3");
        quick.onExit = [&] {
            ++ended;
        };
        // Runs on, and so does one that has ended and keeps its number: neither may hide the end of another.
        const auto slow = ChildProcess::start(shell("exec sleep 1000"));
        ChildProcess::Launch keptLaunch = shell("exit 5");
        keptLaunch.group = ChildProcess::Group::own;
        const auto kept = ChildProcess::start(keptLaunch);
        ASSERT_TRUE(slow && kept);
        ASSERT_TRUE(kept->waitUntil(inAMoment()));
        for (int round = 1; round <= 20; ++round) {
            const auto child = ChildProcess::start(quick);
            ASSERT_TRUE(child);
            EXPECT_TRUE(child->waitUntil(inAMoment()));
            EXPECT_EQ(child->status(), 3);
        }
        EXPECT_TRUE(eventually([&] { return ended == 20; }));
        EXPECT_TRUE(slow->isRunning());
        slow->terminate();
        EXPECT_TRUE(slow->waitUntil(inAMoment()));
        EXPECT_EQ(slow->status(), 143);
        EXPECT_EQ(kept->status(), 5);
    }).join();
    EXPECT_TRUE(zombies().isEmpty());
}
#endif

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

} // namespace
} // namespace pelorin
