#include "BeaconryKit/platform/ChildProcess.h"

#include "BeaconryBase/FileDescriptor.h"

#include "BeaconryKit/platform/ThreadName.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

#if defined(__APPLE__)
// Other systems declare it.
extern char** environ;
#endif

namespace pelorin {

namespace {

/// Everything that the child needs between fork and exec, where it must not allocate or lock.
struct Preparation {
    const char* executable = nullptr;
    std::vector<char*> arguments;
    std::vector<char*> environment;
    std::array<int, 3> streams{};
    ChildProcess::Group group = ChildProcess::Group::ours;
    int errorPipe = -1;
};

char* mutableText(const QByteArray& text) {
    // exec takes pointers to mutable text but does not write to it.
    return const_cast<char*>(text.constData());
}

void resetSignals() {
    struct sigaction defaultAction {};
    defaultAction.sa_handler = SIG_DFL;
    for (int signal = 1; signal < NSIG; ++signal)
        sigaction(signal, &defaultAction, nullptr);
    sigset_t none;
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

void closeOnExecAboveStandardStreams() {
    constexpr int first = STDERR_FILENO + 1;
#if defined(__linux__)
    if (close_range(first, UINT_MAX, CLOSE_RANGE_CLOEXEC) == 0)
        return;
#endif
    rlimit limit{};
    const bool isKnown = getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur <= INT_MAX;
    const int end = isKnown ? static_cast<int>(limit.rlim_cur) : 65536;
    for (int number = first; number < end; ++number)
        fcntl(number, F_SETFD, FD_CLOEXEC);
}

/// Gives the streams to the child. None of their numbers is that of a standard stream.
bool placeStreams(const std::array<int, 3>& streams) {
    for (int number = 0; number < 3; ++number) {
        if (streams[static_cast<std::size_t>(number)] >= 0 &&
            dup2(streams[static_cast<std::size_t>(number)], number) < 0)
            return false;
    }
    return true;
}

bool enterGroup(ChildProcess::Group group) {
    switch (group) {
    case ChildProcess::Group::ours:
        return true;
    case ChildProcess::Group::own:
        return setpgid(0, 0) == 0;
    case ChildProcess::Group::ownSession:
        break;
    }
    return setsid() >= 0 && ioctl(STDIN_FILENO, TIOCSCTTY, 0) == 0;
}

[[noreturn]] void runChild(const Preparation& preparation) {
    if (placeStreams(preparation.streams) && enterGroup(preparation.group)) {
        closeOnExecAboveStandardStreams();
        resetSignals();
        execve(preparation.executable, preparation.arguments.data(), preparation.environment.data());
    }
    const int error = errno;
    // Should this fail, the parent sees the child end at once, which is as good.
    [[maybe_unused]] const ssize_t written = write(preparation.errorPipe, &error, sizeof error);
    _exit(127);
}

/// Forks with all signals blocked, so that none of our handlers runs in the child.
pid_t forkChild(const Preparation& preparation) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = fork();
    if (child == 0)
        runChild(preparation);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return child;
}

/// Whether the child reached its program: the pipe then closes without a word.
bool programStarted(const FileDescriptor& errorPipe) {
    int error = 0;
    ssize_t count = -1;
    do {
        count = read(errorPipe.number(), &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    return count == 0;
}

} // namespace

struct ChildProcess::State {
    std::mutex mutex;
    std::condition_variable changed;
    // 0 until the fork, -1 when there will be no child.
    pid_t processId = 0;
    bool keepsNumberUntilReleased = false;
    bool isReleased = false;
    bool hasEnded = false;
    bool isReaped = false;
};

void ChildProcess::watch(const std::shared_ptr<State>& state, const std::function<void()>& onExit) {
    pid_t child = 0;
    {
        std::unique_lock lock(state->mutex);
        state->changed.wait(lock, [&] { return state->processId != 0; });
        child = state->processId;
    }
    if (child < 0)
        return;
    // Waits without reaping: until the lock is held, another thread may still signal the number.
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
    }
    {
        std::unique_lock lock(state->mutex);
        state->hasEnded = true;
        state->changed.notify_all();
        if (state->keepsNumberUntilReleased)
            state->changed.wait(lock, [&] { return state->isReleased; });
        waitpid(child, nullptr, 0);
        state->isReaped = true;
        state->changed.notify_all();
    }
    if (onExit)
        onExit();
}

std::unique_ptr<ChildProcess> ChildProcess::start(Launch launch) {
    auto errorPipe = Pipe::make();
    if (!errorPipe)
        return nullptr;

    Preparation preparation;
    preparation.executable = launch.executable.constData();
    preparation.arguments.push_back(mutableText(launch.executable));
    for (const QByteArray& argument : std::as_const(launch.arguments))
        preparation.arguments.push_back(mutableText(argument));
    preparation.arguments.push_back(nullptr);
    if (launch.environment) {
        for (const QByteArray& variable : std::as_const(*launch.environment))
            preparation.environment.push_back(mutableText(variable));
    } else {
        for (char** variable = environ; *variable; ++variable)
            preparation.environment.push_back(*variable);
    }
    preparation.environment.push_back(nullptr);
    preparation.group = launch.group;
    preparation.errorPipe = errorPipe->writeEnd.number();

    std::array<FileDescriptor, 3> duplicates;
    const std::array<int, 3> given{launch.standardInput, launch.standardOutput, launch.standardError};
    for (std::size_t stream = 0; stream < given.size(); ++stream) {
        preparation.streams[stream] = given[stream];
        if (given[stream] < 0 || given[stream] > STDERR_FILENO)
            continue;
        duplicates[stream] = FileDescriptor(fcntl(given[stream], F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        preparation.streams[stream] = duplicates[stream].number();
        if (!duplicates[stream].isOpen())
            return nullptr;
    }

    const auto state = std::make_shared<State>();
    state->keepsNumberUntilReleased = launch.group == Group::own;
    // The watcher comes first: a child that nobody could wait for must not be started.
    try {
        std::thread([state, onExit = std::move(launch.onExit)] {
            setCurrentThreadName("com.pelorin.child");
            watch(state, onExit);
        }).detach();
    } catch (const std::system_error&) {
        return nullptr;
    }

    const pid_t child = forkChild(preparation);
    errorPipe->writeEnd.reset();
    const bool started = child > 0 && programStarted(errorPipe->readEnd);
    if (child > 0 && !started)
        waitpid(child, nullptr, 0);
    {
        const std::lock_guard lock(state->mutex);
        state->processId = started ? child : -1;
    }
    state->changed.notify_all();
    return started ? std::unique_ptr<ChildProcess>(new ChildProcess(state)) : nullptr;
}

ChildProcess::ChildProcess(std::shared_ptr<State> state) : m_state(std::move(state)) {
}

ChildProcess::~ChildProcess() {
    std::unique_lock lock(m_state->mutex);
    m_state->isReleased = true;
    m_state->changed.notify_all();
    // Whoever saw the child end finds no zombie after letting go of it.
    if (m_state->hasEnded)
        m_state->changed.wait(lock, [this] { return m_state->isReaped; });
}

int ChildProcess::processId() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->processId;
}

bool ChildProcess::isRunning() const {
    const std::lock_guard lock(m_state->mutex);
    return !m_state->hasEnded;
}

void ChildProcess::terminate() {
    const std::lock_guard lock(m_state->mutex);
    if (!m_state->hasEnded)
        kill(m_state->processId, SIGTERM);
}

void ChildProcess::killGroup() {
    const std::lock_guard lock(m_state->mutex);
    if (m_state->keepsNumberUntilReleased)
        kill(-m_state->processId, SIGKILL);
}

bool ChildProcess::waitUntil(std::chrono::steady_clock::time_point deadline) {
    std::unique_lock lock(m_state->mutex);
    return m_state->changed.wait_until(lock, deadline, [this] { return m_state->hasEnded; });
}

namespace {

using Moment = std::chrono::steady_clock::time_point;

/// Reads to the end of file. False at the deadline, beyond the limit, and when reading fails.
bool readToEnd(const FileDescriptor& descriptor, Moment deadline, qsizetype limit, QByteArray& bytes) {
    constexpr qsizetype chunk = 65536;
    while (true) {
        const qsizetype size = bytes.size();
        bytes.resize(size + chunk);
        const ssize_t count = read(descriptor.number(), bytes.data() + size, chunk);
        bytes.resize(size + std::max<ssize_t>(count, 0));
        if (count == 0)
            return true;
        if (bytes.size() > limit)
            return false;
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return false;
        pollfd ready{descriptor.number(), POLLIN, 0};
        if (count < 0)
            poll(&ready, 1, static_cast<int>(std::min<std::int64_t>(left.count(), INT_MAX)));
    }
}

} // namespace

std::optional<QByteArray> collectOutput(ChildProcess::Launch launch, Duration timeout, qsizetype limit) {
    const Moment deadline = std::chrono::steady_clock::now() + timeout;
    auto pipe = Pipe::make();
    const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (!pipe || !nowhere.isOpen() || !makeNonBlocking(pipe->readEnd))
        return std::nullopt;
    launch.standardOutput = pipe->writeEnd.number();
    launch.standardError = nowhere.number();
    launch.group = ChildProcess::Group::own;
    const auto child = ChildProcess::start(std::move(launch));
    if (!child)
        return std::nullopt;
    pipe->writeEnd.reset();

    QByteArray bytes;
    if (readToEnd(pipe->readEnd, deadline, limit, bytes) && child->waitUntil(deadline))
        return bytes;
    child->killGroup();
    // A killed child is gone in no time, unless the system itself is stuck; its watcher then goes on without us.
    child->waitUntil(std::chrono::steady_clock::now() + std::chrono::milliseconds(100));
    return std::nullopt;
}

} // namespace pelorin
