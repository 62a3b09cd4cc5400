#include "BeaconryKit/terminal/PtyShell.h"

#include "tests/support/Eventually.h"
#include "tests/support/Processes.h"
#include "tests/support/SoftDescriptorLimit.h"

#include "BeaconryKit/platform/DescriptorLimit.h"
#include "BeaconryKit/platform/DescriptorLoop.h"
#include "BeaconryKit/terminal/Utf8Stream.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <pthread.h>
#include <semaphore>
#include <thread>
#include <unistd.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

const QByteArray notice = "\r\n[shell exited]\r\n";
const QString interrupt{QChar(3)};
const QString suspend{QChar(26)};

/// What the shell printed, for the test's thread to wait for.
class Screen {
public:
    void append(const QByteArray& bytes) {
        {
            const std::lock_guard lock(m_mutex);
            m_bytes.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
            m_longestPiece = std::max(m_longestPiece, bytes.size());
            m_largestBuffer = std::max(m_largestBuffer, bytes.capacity());
            char name[32] = {};
            pthread_getname_np(pthread_self(), name, sizeof name);
            m_threadName = name;
        }
        m_changed.notify_all();
    }

    /// Waits until the text shows. Whether it did.
    bool shows(const QByteArray& text) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, 20s, [&] { return m_bytes.find(text.toStdString()) != std::string::npos; });
    }

    /// Waits until the number shows that stands between the two texts; 0 when it does not come.
    int numberBetween(const QByteArray& before, const QByteArray& after) {
        const QRegularExpression pattern(QRegularExpression::escape(before) + "(\\d+)" +
                                         QRegularExpression::escape(after));
        std::unique_lock lock(m_mutex);
        QRegularExpressionMatch match;
        m_changed.wait_for(lock, 20s, [&] {
            match = pattern.match(QString::fromStdString(m_bytes));
            return match.hasMatch();
        });
        return match.captured(1).toInt();
    }

    std::string text() {
        const std::lock_guard lock(m_mutex);
        return m_bytes;
    }

    void clear() {
        const std::lock_guard lock(m_mutex);
        m_bytes.clear();
    }

    qsizetype longestPiece() {
        const std::lock_guard lock(m_mutex);
        return m_longestPiece;
    }

    /// The most room that there was for a piece when it was read.
    qsizetype largestBuffer() {
        const std::lock_guard lock(m_mutex);
        return m_largestBuffer;
    }

    std::string threadName() {
        const std::lock_guard lock(m_mutex);
        return m_threadName;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    // No text of the toolkit, whose reference counting between threads ThreadSanitizer cannot see.
    std::string m_bytes;
    qsizetype m_longestPiece = 0;
    qsizetype m_largestBuffer = 0;
    std::string m_threadName;
};

class PtyShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        // The person's own start-up files are not part of the test.
        qputenv("HOME", home.path().toUtf8());
        qputenv("SHELL", "/bin/bash");
        qputenv("LANG", "C.UTF-8");
        write(".bash_profile", "PS1='$ '; unset PROMPT_COMMAND HISTFILE; bind 'set enable-bracketed-paste off'");
        write(".zshrc", "PS1='$ '");
        // The loop's own descriptors stay.
        ASSERT_TRUE(descriptorLoop());
        // The shell starts where we are.
        QDir::setCurrent(home.path());
    }
    void TearDown() override { QDir::setCurrent("/"); }

    void write(const QString& name, const QByteArray& contents) {
        QFile file(home.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents + '\n');
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    /// Starts the shell and waits for its prompt.
    void start(int columns = 80, int rows = 24) {
        shell.start(columns, rows);
        ASSERT_TRUE(shell.isRunning());
        ASSERT_TRUE(screen.shows("$ ")) << screen.text();
    }

    /// The number that the shell gives for the expression.
    int number(const QString& expression) {
        screen.clear();
        // What is typed is shown, so it must not look like the answer.
        shell.send(QString("echo 'the'number=%1.\n").arg(expression));
        return screen.numberBetween("thenumber=", ".");
    }

    QTemporaryDir home;
    Screen screen;
    std::unique_ptr<Dispatch> dispatch = makeSystemDispatch();
    PtyShell shell{*dispatch, [this](const QByteArray& bytes) {
                       screen.append(bytes);
                   }};
};

TEST_F(PtyShellTest, DoesNothingBeforeItIsStarted) {
    const QStringList before = openDescriptors();
    shell.send("text");
    shell.write("bytes");
    shell.resize(80, 24);
    shell.resize(70000, 24);
    shell.stop();
    shell.stop();
    EXPECT_FALSE(shell.isRunning());
    EXPECT_EQ(screen.text(), "");
    EXPECT_TRUE(onlyLeavesOpen(before));
    EXPECT_TRUE(runningChildren().isEmpty());
}

TEST_F(PtyShellTest, TypesTextAndShowsOutputOnItsOwnQueue) {
    start();
    shell.send("echo $((6 * 7))é\n");
    EXPECT_TRUE(screen.shows("42é\r\n")) << screen.text();
    EXPECT_EQ(screen.threadName(), "com.pelorin.pty");
}

TEST_F(PtyShellTest, TypesRawBytes) {
    start();
    shell.send("stty raw -echo; echo rea''dy; head -c 5 | od -An -tx1; stty sane\n");
    ASSERT_TRUE(screen.shows("ready"));
    shell.write(QByteArray("\xff\x00\x03\xc3\x0a", 5));
    EXPECT_TRUE(screen.shows(" ff 00 03 c3 0a")) << screen.text();
}

TEST_F(PtyShellTest, HasTheSizeThatItIsStartedWith) {
    start(101, 37);
    shell.send("stty size\n");
    EXPECT_TRUE(screen.shows("37 101\r\n")) << screen.text();
}

TEST_F(PtyShellTest, TellsTheShellOfANewSize) {
    start();
    shell.send("trap 'echo now $(stty size)' WINCH; echo rea''dy\n");
    ASSERT_TRUE(screen.shows("ready\r\n$ "));
    ASSERT_TRUE(eventually([] { return descendantStates() == "S"; }));
    shell.resize(90, 20);
    EXPECT_TRUE(screen.shows("now 20 90\r\n")) << screen.text();
    shell.resize(65535, 65535);
    shell.send("stty size\n");
    EXPECT_TRUE(screen.shows("65535 65535\r\n")) << screen.text();
}

TEST_F(PtyShellTest, KeepsItsSizeWhenAValueIsBelowOne) {
    start();
    shell.resize(0, 24);
    shell.resize(80, 0);
    shell.resize(-5, 24);
    // Not even an impossible other value counts then.
    shell.resize(0, 70000);
    shell.resize(70000, -1);
    shell.send("stty size\n");
    EXPECT_TRUE(screen.shows("24 80\r\n")) << screen.text();
}

TEST_F(PtyShellTest, MayBeStartedWithoutASize) {
    start(0, 0);
    shell.send("stty size\n");
    EXPECT_TRUE(screen.shows("0 0\r\n")) << screen.text();
    start(65535, 65535);
    shell.send("stty size\n");
    EXPECT_TRUE(screen.shows("65535 65535\r\n")) << screen.text();
}

TEST_F(PtyShellTest, KnowsWhichSizesArePossible) {
    EXPECT_TRUE(PtyShell::isPossibleSize(0, 65535));
    EXPECT_TRUE(PtyShell::isPossibleSize(65535, 0));
    EXPECT_FALSE(PtyShell::isPossibleSize(65536, 24));
    EXPECT_FALSE(PtyShell::isPossibleSize(80, 65536));
    EXPECT_FALSE(PtyShell::isPossibleSize(-1, 24));
    EXPECT_FALSE(PtyShell::isPossibleSize(80, -1));
    EXPECT_FALSE(PtyShell::isPossibleSize(qint64(1) << 32, 24));
}

using PtyShellDeathTest = PtyShellTest;

TEST_F(PtyShellDeathTest, StopsTheProgramAtAnImpossibleSize) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(shell.start(65536, 24), "Programming error: a terminal's size");
    EXPECT_DEATH(shell.start(80, 65536), "Programming error: a terminal's size");
    EXPECT_DEATH(shell.start(-1, 24), "Programming error: a terminal's size");
    EXPECT_DEATH(shell.start(80, -1), "Programming error: a terminal's size");
    const auto resizeRunning = [this](int columns, int rows) {
        shell.start(80, 24);
        shell.resize(columns, rows);
    };
    EXPECT_DEATH(resizeRunning(65536, 24), "Programming error: a terminal's size");
    EXPECT_DEATH(resizeRunning(80, 65536), "Programming error: a terminal's size");
}

TEST_F(PtyShellTest, TellsTheShellWhatTheTerminalCan) {
    qputenv("TERM", "dumb");
    qputenv("COLORTERM", "none");
    qputenv("CLICOLOR", "0");
    qputenv("LANG", "C");
    qputenv("PELORIN_SHELL_TEST", "kept");
    start();
    shell.send("echo \"<$TERM|$COLORTERM|$CLICOLOR|$LANG|$PELORIN_SHELL_TEST>\"; env | grep -c ^TERM=\n");
    EXPECT_TRUE(screen.shows("<xterm-256color|truecolor|1|C|kept>\r\n1\r\n")) << screen.text();
    qunsetenv("LANG");
    start();
    shell.send("echo \"<$LANG>\"\n");
    EXPECT_TRUE(screen.shows("<en_US.UTF-8>")) << screen.text();
    // A variable that is set to nothing is set.
    qputenv("LANG", "");
    start();
    shell.send("echo \"<${LANG-unset}>\"\n");
    EXPECT_TRUE(screen.shows("<>\r\n")) << screen.text();
    for (const char* name : {"TERM", "COLORTERM", "CLICOLOR", "PELORIN_SHELL_TEST"})
        qunsetenv(name);
}

TEST_F(PtyShellTest, GivesTheShellTheLimitOfDescriptorsThatWeWereStartedWith) {
    const SoftDescriptorLimit low(256);
    raiseDescriptorLimit();
    start();
    EXPECT_EQ(number("$(ulimit -n)"), 256);
}

TEST_F(PtyShellTest, NeedsNoThreadOfItsOwn) {
    const qsizetype before = threadCount();
    start();
    shell.write(QByteArray(100'000, 'x'));
    EXPECT_EQ(threadCount(), before);
}

TEST_F(PtyShellTest, StartsTheUsersShellAsAnInteractiveLoginShell) {
    write("shell", "#!/bin/sh\nprintf '[%s]' \"$0\" \"$@\"; tty; sleep 1000");
    const QByteArray path = home.filePath("shell").toUtf8();
    qputenv("SHELL", path);
    shell.start(80, 24);
    EXPECT_TRUE(screen.shows("[" + path + "][-il]/dev/")) << screen.text();
}

TEST_F(PtyShellTest, StartsZshWhereTheUserHasNoShell) {
    qunsetenv("SHELL");
    start();
    shell.send("echo \"<$ZSH_NAME ${options[login]} ${options[interactive]}>\"\n");
    EXPECT_TRUE(screen.shows("<zsh on on>")) << screen.text();
}

TEST_F(PtyShellTest, StaysSilentWhenTheShellCannotBeStarted) {
    const QStringList before = openDescriptors();
    for (const QByteArray& path : {QByteArray("/nowhere/shell"), QByteArray("/etc/passwd"), QByteArray("")}) {
        qputenv("SHELL", path);
        shell.start(80, 24);
        EXPECT_FALSE(shell.isRunning());
        shell.send("text");
        shell.resize(80, 24);
    }
    EXPECT_EQ(screen.text(), "");
    EXPECT_TRUE(onlyLeavesOpen(before));
    EXPECT_TRUE(zombies().isEmpty());
    // A later try with a shell works.
    qputenv("SHELL", "/bin/bash");
    start();
}

TEST_F(PtyShellTest, SaysOnceThatTheShellHasExited) {
    const QStringList before = openDescriptors();
    start();
    shell.send("echo last''words; exit\n");
    ASSERT_TRUE(screen.shows(notice)) << screen.text();
    EXPECT_TRUE(eventually([&] { return !shell.isRunning(); }));
    EXPECT_TRUE(onlyLeavesOpen(before));
    const QByteArray text = QByteArray::fromStdString(screen.text());
    // Everything that the shell printed comes before the notice.
    EXPECT_THAT(text.toStdString(), EndsWith(notice.toStdString()));
    EXPECT_LT(text.indexOf("lastwords"), text.indexOf(notice));
    EXPECT_EQ(text.count("[shell exited]"), 1);
    EXPECT_TRUE(zombies().isEmpty());
    // The next input finds no shell, and the application starts another.
    shell.send("text");
    EXPECT_FALSE(shell.isRunning());
    screen.clear();
    start();
    EXPECT_THAT(screen.text(), Not(HasSubstr("[shell exited]")));
}

TEST_F(PtyShellTest, SaysThatTheShellHasExitedAfterALongOutputToo) {
    write("shell", "#!/bin/sh\nhead -c 60000 /dev/zero | tr '\\0' x");
    qputenv("SHELL", home.filePath("shell").toUtf8());
    shell.start(80, 24);
    ASSERT_TRUE(screen.shows(notice));
    EXPECT_EQ(screen.text(), std::string(60000, 'x') + notice.toStdString());
}

TEST_F(PtyShellTest, SaysThatTheShellHasExitedWhenItIsStoppedOrReplaced) {
    start();
    shell.stop();
    EXPECT_FALSE(shell.isRunning());
    EXPECT_TRUE(screen.shows(notice));
    screen.clear();
    start();
    start();
    EXPECT_TRUE(screen.shows(notice));
    EXPECT_TRUE(shell.isRunning());
    EXPECT_EQ(QByteArray::fromStdString(screen.text()).count("[shell exited]"), 1);
}

TEST_F(PtyShellTest, NoticesAShellThatIsKilled) {
    start();
    shell.send("kill -9 $$\n");
    EXPECT_TRUE(screen.shows(notice));
    EXPECT_TRUE(eventually([&] { return !shell.isRunning(); }));
}

TEST_F(PtyShellTest, EndsWithItsShellEvenWhenAJobStaysBehind) {
    start();
    shell.send("(trap '' HUP; exec sleep 1000) & echo job $!.; disown; exit\n");
    ASSERT_TRUE(screen.shows(notice)) << screen.text();
    EXPECT_TRUE(eventually([&] { return !shell.isRunning(); }));
    const int job = screen.numberBetween("job ", ".");
    ASSERT_GT(job, 1) << screen.text();
    // The person asked for it to go on.
    EXPECT_TRUE(isRunningProcess(job));
    screen.clear();
    start();
    kill(job, SIGKILL);
}

TEST_F(PtyShellTest, StopEndsTheShellAndWhatRunsInIt) {
    const QStringList before = openDescriptors();
    start();
    const int process = number("$$");
    ASSERT_TRUE(isRunningProcess(process));
    shell.send("sh -c 'echo job $$.; exec sleep 1000'\n");
    const int job = screen.numberBetween("job ", ".");
    ASSERT_TRUE(isRunningProcess(job));
    shell.stop();
    EXPECT_FALSE(shell.isRunning());
    EXPECT_TRUE(eventually([&] { return !isRunningProcess(process) && !isRunningProcess(job); }));
    EXPECT_TRUE(eventually([] { return zombies().isEmpty(); }));
    EXPECT_TRUE(onlyLeavesOpen(before));
}

TEST_F(PtyShellTest, StopAsksAShellToEndThatOutlivesItsTerminal) {
    write("shell", "#!/bin/bash\ntrap '' HUP\ntrap 'echo asked >asked; exit' TERM\necho ready\n"
                   "while :; do sleep 0.01; done");
    qputenv("SHELL", home.filePath("shell").toUtf8());
    shell.start(80, 24);
    ASSERT_TRUE(screen.shows("ready"));
    shell.stop();
    EXPECT_TRUE(eventually([] { return QFile::exists("asked"); }));
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty(); }));
}

TEST_F(PtyShellTest, TwoStartsLeaveOneShell) {
    start();
    const int first = number("$$");
    start(100, 30);
    EXPECT_TRUE(eventually([&] { return !isRunningProcess(first); }));
    const int second = number("$$");
    EXPECT_NE(first, second);
    EXPECT_EQ(runningChildren(), QList<pid_t>{second});
    shell.send("stty size\n");
    EXPECT_TRUE(screen.shows("30 100\r\n"));
    EXPECT_TRUE(eventually([] { return zombies().isEmpty(); }));
}

TEST_F(PtyShellTest, StartsOnManyThreadsLeaveOneShell) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this] {
            for (int round = 0; round < 5; ++round) {
                shell.start(80, 24);
                shell.send("true\n");
                shell.resize(81, 25);
                shell.isRunning();
                if (round == 2)
                    shell.stop();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(shell.isRunning());
    EXPECT_TRUE(eventually([] { return runningChildren().size() == 1 && zombies().isEmpty(); }));
    shell.stop();
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
}

TEST_F(PtyShellTest, CtrlCReachesTheForegroundJob) {
    start();
    EXPECT_THAT(screen.text(), Not(HasSubstr("no job control")));
    shell.send("sh -c 'echo beg''an; exec sleep 1000'\n");
    ASSERT_TRUE(screen.shows("began"));
    shell.send(interrupt);
    shell.send("echo \"status $?.\"\n");
    EXPECT_TRUE(screen.shows("status 130.")) << screen.text();
    EXPECT_TRUE(shell.isRunning());
}

TEST_F(PtyShellTest, JobsGoToTheBackgroundAndBack) {
    start();
    shell.send("sh -c 'echo beg''an; exec tee copy'\n");
    ASSERT_TRUE(screen.shows("began"));
    shell.send("one\n");
    ASSERT_TRUE(screen.shows("one\r\none\r\n")) << screen.text();
    shell.send(suspend);
    ASSERT_TRUE(screen.shows("Stopped")) << screen.text();
    shell.send("fg\ntwo\n");
    EXPECT_TRUE(screen.shows("two\r\n")) << screen.text();
    EXPECT_TRUE(eventually([] {
        QFile copy("copy");
        return copy.open(QIODevice::ReadOnly) && copy.readAll() == "one\ntwo\n";
    })) << screen.text();
}

struct Program {
    const char* command;
    /// What it prints when it is ready for input.
    const char* lastSign;
};

class FullScreenProgram : public PtyShellTest, public ::testing::WithParamInterface<Program> {};

TEST_P(FullScreenProgram, DrawsAgainWhenTheTerminalGrows) {
    QByteArray lines;
    for (int line = 1; line <= 200; ++line)
        lines += "this is line " + QByteArray::number(line) + ".\n";
    write("text", lines);
    start(80, 24);
    shell.send(QString(GetParam().command) + " text\n");
    ASSERT_TRUE(screen.shows("line 23.")) << screen.text();
    ASSERT_TRUE(screen.shows(GetParam().lastSign)) << screen.text();
    // Shell and program sleep: the program waits for keys. (One of them misses a notice that comes just before.)
    ASSERT_TRUE(eventually([] { return descendantStates() == "SS"; })) << descendantStates().toStdString();
    EXPECT_THAT(screen.text(), Not(HasSubstr("line 39.")));
    shell.resize(80, 40);
    EXPECT_TRUE(screen.shows("line 39.")) << screen.text();
}

INSTANTIATE_TEST_SUITE_P(PtyShell, FullScreenProgram,
                         ::testing::Values(Program{"less", "\033[7mtext\033[27m"},
                                           Program{"vim -u NONE -N -n", "\033[?25h"}));

TEST_F(PtyShellTest, GivesTheShellNothingOfOursButTheTerminal) {
    QFile secret(home.filePath("secret"));
    ASSERT_TRUE(secret.open(QIODevice::ReadWrite));
    // Open, and not marked to be closed.
    ASSERT_GE(dup2(secret.handle(), 57), 0);
    start();
    shell.send("for f in /proc/$$/fd/*; do readlink $f; done | sort -u | tr '\\n' ' '; tty; echo e''nd\n");
    ASSERT_TRUE(screen.shows("end\r\n"));
    close(57);
    // One thing alone is open, and it is the terminal.
    const QByteArray text = QByteArray::fromStdString(screen.text());
    const QList<QByteArray> words = text.first(text.indexOf("\r\nend")).simplified().split(' ');
    ASSERT_GE(words.size(), 2);
    EXPECT_EQ(words.at(words.size() - 1), words.at(words.size() - 2)) << text.toStdString();
    EXPECT_FALSE(words.at(words.size() - 3).startsWith('/')) << text.toStdString();
}

TEST_F(PtyShellTest, HandsOnALongOutputInSmallPieces) {
    start();
    shell.send("stty -opost; head -c 1000000 /dev/zero | tr '\\0' '\\170'; echo e''nd\n");
    ASSERT_TRUE(screen.shows("end"));
    EXPECT_EQ(QByteArray::fromStdString(screen.text()).count('x'), 1'000'000);
    EXPECT_LE(screen.longestPiece(), 16384);
    // Some systems never give as much at once: there the room tells how much was asked for.
    EXPECT_GE(screen.largestBuffer(), 16384);
    EXPECT_LT(screen.largestBuffer(), 2 * 16384);
    EXPECT_EQ(PtyShell::readSize, 16384);
}

/// A shell that prints 100,000,000 bytes at once: the sixteen digits, over and over.
class FloodTest : public PtyShellTest {
protected:
    static constexpr qint64 size = 100'000'000;

    void SetUp() override {
        PtyShellTest::SetUp();
        write("shell", "#!/bin/sh\nstty -opost\nyes 0123456789ABCDE | head -c 100000000 | tr '\\n' F\nsleep 1000");
        qputenv("SHELL", home.filePath("shell").toUtf8());
    }
};

TEST_F(FloodTest, ArrivesWholeWithoutPilingUp) {
    const qint64 before = residentMemory();
    qint64 most = before;
    qint64 count = 0;
    qint64 wrong = 0;
    std::binary_semaphore done(0);
    PtyShell flooding(*dispatch, [&](const QByteArray& bytes) {
        for (const char byte : bytes)
            wrong += byte == "0123456789ABCDEF"[count++ % 16] ? 0 : 1;
        if (count % 256 == 0)
            most = std::max(most, residentMemory());
        if (count == size)
            done.release();
    });
    flooding.start(80, 24);
    ASSERT_TRUE(done.try_acquire_for(50s));
    EXPECT_EQ(wrong, 0);
    if (memoryIsMeasurable) {
        EXPECT_LT(most - before, 8 * 1024 * 1024);
    }
}

TEST_F(FloodTest, WaitsInTheShellWhileNobodyTakesIt) {
    std::atomic<qint64> count = 0;
    std::counting_semaphore<> begun(0);
    std::counting_semaphore<> go(0);
    PtyShell flooding(*dispatch, [&](const QByteArray& bytes) {
        count += bytes.size();
        begun.release();
        go.acquire();
    });
    flooding.start(80, 24);
    begun.acquire();
    // The shell and the pipes before it fill up and then sleep; nothing comes over to this side.
    EXPECT_TRUE(eventually([] { return descendantStates() == "SSSS"; })) << descendantStates().toStdString();
    EXPECT_LE(count, PtyShell::readSize);
    EXPECT_TRUE(flooding.isRunning());
    // Stopping does not wait for the callback, and the shell ends although that is still stuck.
    flooding.stop();
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty(); }));
    go.release(1'000'000);
}

/// Holds everything that it is given, until the test lets go of it.
class HoldingShell {
public:
    explicit HoldingShell(Dispatch& dispatch)
        : shell(dispatch, [this](const QByteArray& bytes) {
              screen.append(bytes);
              const std::lock_guard lock(m_mutex);
              m_held.push_back(shell.hold(bytes.size()));
          }) {}

    /// Lets go of what is held now. Whether that was anything.
    bool letGo() {
        std::vector<Task> held;
        {
            const std::lock_guard lock(m_mutex);
            held.swap(m_held);
        }
        for (const Task& task : held)
            task();
        return !held.empty();
    }

    Screen screen;

private:
    std::mutex m_mutex;
    std::vector<Task> m_held;

public:
    PtyShell shell;
};

class HeldOutput : public PtyShellTest {
protected:
    static constexpr std::size_t most = PtyShell::mostHeld + PtyShell::readSize;

    void startFlood(const QByteArray& end) {
        write("shell", "#!/bin/sh\nstty -opost\nhead -c 1000000 /dev/zero | tr '\\0' x\n" + end);
        qputenv("SHELL", home.filePath("shell").toUtf8());
        holding.shell.start(80, 24);
    }
    bool fillsUp() {
        return eventually([&] { return holding.screen.text().size() >= PtyShell::mostHeld; });
    }

    HoldingShell holding{*dispatch};
};

TEST_F(HeldOutput, WaitsInTheShellAndComesWhole) {
    startFlood("printf end; sleep 1000");
    ASSERT_TRUE(fillsUp());
    EXPECT_TRUE(eventually([] { return descendantStates() == "SSS"; })) << descendantStates().toStdString();
    EXPECT_LT(holding.screen.text().size(), most);
    while (!QByteArray::fromStdString(holding.screen.text()).endsWith("end")) {
        const std::size_t before = holding.screen.text().size();
        if (holding.letGo()) {
            EXPECT_LT(holding.screen.text().size(), before + 2 * most);
        }
        std::this_thread::yield();
    }
    EXPECT_EQ(holding.screen.text(), std::string(1'000'000, 'x') + "end");
}

TEST_F(HeldOutput, OfAShellThatHasExitedComesBeforeTheNotice) {
    startFlood("");
    ASSERT_TRUE(fillsUp());
    while (!QByteArray::fromStdString(holding.screen.text()).endsWith(notice)) {
        holding.letGo();
        std::this_thread::yield();
    }
    EXPECT_EQ(holding.screen.text(), std::string(1'000'000, 'x') + notice.toStdString());
}

TEST_F(HeldOutput, ALastPieceThatFillsItUpDoesNotSwallowTheNotice) {
    write("shell", "#!/bin/sh\nprintf last");
    qputenv("SHELL", home.filePath("shell").toUtf8());
    const Task other = holding.shell.hold(PtyShell::mostHeld);
    holding.shell.start(80, 24);
    ASSERT_TRUE(eventually([&] { return !holding.shell.isRunning() && zombies().isEmpty(); }));
    EXPECT_EQ(holding.screen.text(), "");
    other();
    EXPECT_TRUE(holding.screen.shows("last" + notice)) << holding.screen.text();
}

TEST_F(HeldOutput, AStopTellsOfTheExitThatWaitedForIt) {
    write("shell", "#!/bin/sh\nprintf last");
    qputenv("SHELL", home.filePath("shell").toUtf8());
    const Task other = holding.shell.hold(PtyShell::mostHeld);
    holding.shell.start(80, 24);
    ASSERT_TRUE(eventually([&] { return !holding.shell.isRunning() && zombies().isEmpty(); }));
    holding.shell.stop();
    EXPECT_TRUE(holding.screen.shows(notice));
    EXPECT_EQ(holding.screen.text(), notice.toStdString());
    other();
}

TEST_F(HeldOutput, CtrlCStillReachesTheProgram) {
    holding.shell.start(80, 24);
    ASSERT_TRUE(holding.screen.shows("$ "));
    holding.shell.send("yes\n");
    ASSERT_TRUE(fillsUp());
    ASSERT_TRUE(eventually([] { return descendantStates() == "SS"; }));
    holding.shell.send(interrupt);
    EXPECT_TRUE(eventually([] { return descendantStates() == "S"; })) << descendantStates().toStdString();
}

TEST_F(HeldOutput, MayBeLetGoOfWhenTheShellIsGone) {
    auto going = std::make_unique<PtyShell>(*dispatch, [](const QByteArray&) {});
    const Task held = going->hold(1);
    going.reset();
    held();
}

TEST_F(PtyShellTest, DoesNotHoldUpTypingIntoAShellThatDoesNotRead) {
    start();
    shell.send("sh -c 'echo beg''an; exec sleep 1000'\n");
    ASSERT_TRUE(screen.shows("began"));
    // More than any terminal takes ahead; a write that waited would never come back.
    const qint64 before = residentMemory();
    for (int write = 0; write < 40; ++write)
        shell.write(QByteArray(1'000'000, 'x'));
    if (memoryIsMeasurable) {
        EXPECT_LT(residentMemory() - before, 8 * 1024 * 1024);
    }
    EXPECT_TRUE(shell.isRunning());
    const int process = runningChildren().value(0);
    shell.stop();
    EXPECT_TRUE(eventually([&] { return !isRunningProcess(process); }));
}

TEST_F(PtyShellTest, TakesALongPasteWhole) {
    start();
    shell.send("stty raw -echo; echo rea''dy; head -c 600000 | md5sum; stty sane\n");
    ASSERT_TRUE(screen.shows("ready"));
    // In pieces and in order.
    QByteArray paste;
    for (int line = 0; line < 60'000; ++line)
        paste += QByteArray::number(100'000'000 + line) + '\n';
    shell.write(paste.first(1));
    shell.write(paste.sliced(1, 400'000));
    shell.write(paste.sliced(400'001));
    const QByteArray expected = QCryptographicHash::hash(paste, QCryptographicHash::Md5).toHex();
    EXPECT_TRUE(screen.shows(expected)) << screen.text();
}

TEST_F(PtyShellTest, DamagesNoCharacterOnItsWay) {
    Utf8Stream stream;
    QString text;
    std::binary_semaphore done(0);
    PtyShell printing(*dispatch, [&](const QByteArray& bytes) {
        text += stream.decode(bytes);
        if (text.endsWith("end"))
            done.release();
    });
    write("shell", "#!/bin/sh\nyes 'é❯😀' | head -n 50000 | tr -d '\\n'; printf end; sleep 1000");
    qputenv("SHELL", home.filePath("shell").toUtf8());
    printing.start(80, 24);
    ASSERT_TRUE(done.try_acquire_for(20s));
    EXPECT_TRUE(text == QString("é❯😀").repeated(50000) + "end");
}

TEST_F(PtyShellTest, IsSilentOnceItIsDestroyed) {
    std::atomic<bool> isDestroyed = false;
    std::atomic<bool> spokeTooLate = false;
    std::binary_semaphore began(0);
    auto talking = std::make_unique<PtyShell>(*dispatch, [&](const QByteArray&) {
        spokeTooLate = spokeTooLate || isDestroyed;
        began.release();
    });
    write("shell", "#!/bin/sh\nyes");
    qputenv("SHELL", home.filePath("shell").toUtf8());
    talking->start(80, 24);
    began.acquire();
    talking.reset();
    isDestroyed = true;
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
    EXPECT_FALSE(spokeTooLate);
}

TEST_F(PtyShellTest, LeavesNothingBehind) {
    start();
    shell.stop();
    ASSERT_TRUE(screen.shows(notice));
    ASSERT_TRUE(eventually([] { return zombies().isEmpty(); }));
    const QStringList before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        shell.start(80, 24);
        shell.stop();
    }
    EXPECT_TRUE(onlyLeavesOpen(before));
    EXPECT_TRUE(eventually([] { return runningChildren().isEmpty() && zombies().isEmpty(); }));
}

} // namespace
} // namespace pelorin
