#include "BeaconryKit/platform/ChildProcess.h"

#include "BeaconryBase/FileDescriptor.h"

#include "BeaconryKit/platform/DescriptorLimit.h"
#include "BeaconryKit/platform/ExitWatch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <sys/ioctl.h>
#include <sys/wait.h>
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
    // Empty where the system can close descriptors without knowing which there are.
    std::vector<int> openDescriptors;
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

/// Marks all numbers from `first` on at once. False where the system cannot do that.
bool closeOnExecFrom([[maybe_unused]] unsigned first) {
#if defined(__linux__)
    return close_range(first, UINT_MAX, CLOSE_RANGE_CLOEXEC) == 0;
#else
    return false;
#endif
}

/// The system's own list of what we have open, by number.
std::vector<int> listDescriptors() {
#if defined(__linux__)
    constexpr auto folder = "/proc/self/fd";
#else
    constexpr auto folder = "/dev/fd";
#endif
    std::vector<int> numbers;
    DIR* const list = opendir(folder);
    if (!list)
        return numbers;
    while (const dirent* const entry = readdir(list)) {
        // The folder's own entries are no numbers and give 0, a standard stream.
        if (const int number = std::atoi(entry->d_name); number > STDERR_FILENO)
            numbers.push_back(number);
    }
    closedir(list);
    return numbers;
}

/// What another thread has opened since the list was made is of our own making, and marked already.
void closeOnExecAboveStandardStreams(const std::vector<int>& openDescriptors) {
    if (closeOnExecFrom(STDERR_FILENO + 1))
        return;
    for (const int number : openDescriptors)
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
        closeOnExecAboveStandardStreams(preparation.openDescriptors);
        putDescriptorLimitBack();
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

/// Why the child did not reach its program; 0 when it did: the pipe then closes without a word.
int startError(const FileDescriptor& errorPipe) {
    int error = 0;
    ssize_t count = -1;
    do {
        count = read(errorPipe.number(), &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    return count < 0 ? errno : error;
}

tl::unexpected<std::error_code> failure(int error) {
    return tl::unexpected(std::error_code(error, std::generic_category()));
}

/// How the child has ended, which it must have.
int statusOf(pid_t child) {
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
    return info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
}

} // namespace

struct ChildProcess::State {
    State(pid_t child, bool keepsNumber) : processId(child), keepsNumberUntilReleased(keepsNumber) {}

    const pid_t processId;
    const bool keepsNumberUntilReleased;
    std::mutex mutex;
    std::condition_variable changed;
    bool isReleased = false;
    // There once the child has ended.
    std::optional<int> status;

    void noteExit() {
        const std::lock_guard lock(mutex);
        status = statusOf(processId);
        if (!keepsNumberUntilReleased || isReleased)
            waitpid(processId, nullptr, 0);
        changed.notify_all();
    }

    void release() {
        const std::lock_guard lock(mutex);
        isReleased = true;
        if (keepsNumberUntilReleased && status)
            waitpid(processId, nullptr, 0);
    }
};

tl::expected<ChildProcess, std::error_code> ChildProcess::start(Launch launch) {
    auto errorPipe = Pipe::make();
    if (!errorPipe)
        return failure(errno);

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
            return failure(errno);
    }
    // Nothing has so high a number: this only asks whether the child will be able to.
    if (!closeOnExecFrom(UINT_MAX))
        preparation.openDescriptors = listDescriptors();

    const pid_t child = forkChild(preparation);
    if (child < 0)
        return failure(errno);
    errorPipe->writeEnd.reset();
    if (const int error = startError(errorPipe->readEnd)) {
        waitpid(child, nullptr, 0);
        return failure(error);
    }
    const auto state = std::make_shared<State>(child, launch.group == Group::own);
    const bool isWatched = watchForExit(child, [state, onExit = std::move(launch.onExit)] {
        state->noteExit();
        if (onExit)
            onExit();
    });
    if (!isWatched) {
        // Nobody would notice its end.
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        return failure(EAGAIN);
    }
    return ChildProcess(state);
}

ChildProcess::ChildProcess(std::shared_ptr<State> state) : m_state(std::move(state)) {
}

ChildProcess::~ChildProcess() {
    // One that was moved from has no child.
    if (m_state)
        m_state->release();
}

int ChildProcess::processId() const {
    return m_state->processId;
}

bool ChildProcess::isRunning() const {
    return !status();
}

void ChildProcess::terminate() const {
    const std::lock_guard lock(m_state->mutex);
    if (!m_state->status)
        kill(m_state->processId, SIGTERM);
}

void ChildProcess::killGroup() const {
    if (m_state->keepsNumberUntilReleased)
        kill(-m_state->processId, SIGKILL);
}

bool ChildProcess::waitUntil(std::chrono::steady_clock::time_point deadline) const {
    std::unique_lock lock(m_state->mutex);
    return m_state->changed.wait_until(lock, deadline, [this] { return m_state->status.has_value(); });
}

std::optional<int> ChildProcess::status() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->status;
}

} // namespace pelorin
