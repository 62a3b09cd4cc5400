#include "tests/support/TestProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace pelorin {

namespace {

struct Channel {
    TestDescriptor ours;
    TestDescriptor childs;
};

enum class Direction { toChild, fromChild };

std::optional<Channel> makeChannel(ChildOptions::Channels kind, Direction direction) {
    std::array<int, 2> ends{};
    const int failure = kind == ChildOptions::Channels::sockets
                            ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data())
                            : pipe2(ends.data(), O_CLOEXEC);
    if (failure)
        return std::nullopt;
    // A pipe is read from its first end.
    const bool oursIsFirst = direction == Direction::fromChild;
    return Channel{TestDescriptor(oursIsFirst ? ends[0] : ends[1]), TestDescriptor(oursIsFirst ? ends[1] : ends[0])};
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

// Runs in the new process, where only what is safe in a signal handler may be called.
[[noreturn]] void becomeProgram(const ChildOptions& options, char* const* arguments, char* const* environment,
                                const Channel& input, const Channel& output, const Channel& errors) {
    constexpr int cannotRun = 127;
    setsid();
    if (!options.controllingTerminal.empty()) {
        const int terminal = open(options.controllingTerminal.c_str(), O_RDWR | O_NOCTTY);
        if (terminal < 0 || ioctl(terminal, TIOCSCTTY, 0) != 0)
            _exit(cannotRun);
        close(terminal);
    }
    if (!options.workingDirectory.empty() && chdir(options.workingDirectory.c_str()) != 0)
        _exit(cannotRun);
    if (dup2(input.childs.get(), STDIN_FILENO) < 0 || dup2(output.childs.get(), STDOUT_FILENO) < 0 ||
        dup2(errors.childs.get(), STDERR_FILENO) < 0)
        _exit(cannotRun);
    std::signal(SIGPIPE, SIG_DFL);
    execve(arguments[0], arguments, environment);
    _exit(cannotRun);
}

void doNotBlock(const TestDescriptor& descriptor) {
    fcntl(descriptor.get(), F_SETFL, fcntl(descriptor.get(), F_GETFL) | O_NONBLOCK);
}

std::chrono::microseconds duration(const timeval& time) {
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const ChildExit& exit) {
    if (exit.status)
        return stream << "exited with " << *exit.status;
    return stream << "killed by signal " << exit.signal;
}

std::unique_ptr<TestProcess> TestProcess::start(const ChildOptions& options) {
    // A child that has closed its input must not end the tests.
    std::signal(SIGPIPE, SIG_IGN);
    auto input = makeChannel(options.channels, Direction::toChild);
    auto output = makeChannel(options.channels, Direction::fromChild);
    auto errors = makeChannel(options.channels, Direction::fromChild);
    auto exitNotice = makeChannel(ChildOptions::Channels::pipes, Direction::fromChild);
    if (!input || !output || !errors || !exitNotice)
        return nullptr;
    const std::vector<char*> arguments = pointersTo(options.command);
    const std::vector<char*> environment = pointersTo(options.environment);
    const pid_t processId = fork();
    if (processId < 0)
        return nullptr;
    if (processId == 0)
        becomeProgram(options, arguments.data(), environment.data(), *input, *output, *errors);

    std::unique_ptr<TestProcess> child(new TestProcess);
    child->m_processId = processId;
    child->m_input = std::move(input->ours);
    child->m_output = std::move(output->ours);
    child->m_errors = std::move(errors->ours);
    child->m_exitNotice = std::move(exitNotice->ours);
    doNotBlock(child->m_input);
    doNotBlock(child->m_output);
    doNotBlock(child->m_errors);
    // The ended child is left in the system's table until it is reaped, so that its id can't mean another process.
    child->m_exitWatcher = std::thread([processId, end = std::move(exitNotice->childs)]() mutable {
        siginfo_t info{};
        while (waitid(P_PID, static_cast<id_t>(processId), &info, WEXITED | WNOWAIT) != 0 && errno == EINTR) {
        }
        end.close();
    });
    return child;
}

TestProcess::~TestProcess() {
    if (m_exit)
        return;
    kill(m_processId, SIGKILL);
    reap();
}

bool TestProcess::writeInput(std::string_view text, std::chrono::milliseconds limit) {
    const WaitLimit end(limit);
    while (!text.empty()) {
        const ssize_t count = write(m_input.get(), text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
            continue;
        }
        if (errno == EINTR)
            continue;
        pollfd readiness{m_input.get(), POLLOUT, 0};
        if (errno != EAGAIN || poll(&readiness, 1, end.remainingMilliseconds()) <= 0)
            return false;
    }
    return true;
}

bool TestProcess::sendSignal(int signal) {
    return !m_exit && kill(m_processId, signal) == 0;
}

bool TestProcess::sendSignalToGroup(int signal) {
    return !m_exit && kill(-m_processId, signal) == 0;
}

std::optional<ChildExit> TestProcess::waitForExit(std::chrono::milliseconds limit) {
    const WaitLimit end(limit);
    while (!m_exit) {
        switch (waitForEvent(end)) {
        case Event::timeout:
            return std::nullopt;
        case Event::exit:
            reap();
            break;
        case Event::output:
            break;
        }
    }
    return m_exit;
}

bool TestProcess::waitForOutput(const std::function<bool(const std::string& output)>& isWanted,
                                std::chrono::milliseconds limit) {
    const WaitLimit end(limit);
    while (!isWanted(m_outputText)) {
        if (m_exit || !m_output.isOpen())
            return false;
        switch (waitForEvent(end)) {
        case Event::timeout:
            return false;
        case Event::exit:
            reap();
            break;
        case Event::output:
            break;
        }
    }
    return true;
}

TestProcess::Event TestProcess::waitForEvent(const WaitLimit& limit) {
    // A descriptor below 0 is passed over.
    std::array<pollfd, 3> readiness{
        {{m_exitNotice.get(), POLLIN, 0}, {m_output.get(), POLLIN, 0}, {m_errors.get(), POLLIN, 0}}};
    const int ready = poll(readiness.data(), readiness.size(), limit.remainingMilliseconds());
    if (ready < 0 && errno == EINTR)
        return Event::output;
    if (ready <= 0)
        return Event::timeout;
    if (readiness[0].revents)
        return Event::exit;
    readAvailable();
    return Event::output;
}

void TestProcess::readAvailable(TestDescriptor& descriptor, std::string& text) {
    std::array<char, 65536> buffer;
    while (descriptor.isOpen()) {
        const ssize_t count = read(descriptor.get(), buffer.data(), buffer.size());
        if (count > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        else if (count == 0 || (errno != EINTR && errno != EAGAIN))
            descriptor.close();
        else if (errno == EAGAIN)
            return;
    }
}

void TestProcess::readAvailable() {
    readAvailable(m_output, m_outputText);
    readAvailable(m_errors, m_errorText);
}

void TestProcess::reap() {
    m_exitWatcher.join();
    readAvailable();
    // As long as the child has not been reaped, its group's id can't mean another group.
    kill(-m_processId, SIGKILL);
    int status = 0;
    rusage usage{};
    while (wait4(m_processId, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    m_exit = WIFEXITED(status) ? exited(WEXITSTATUS(status)) : killedBy(WTERMSIG(status));
    m_processorTime = duration(usage.ru_utime) + duration(usage.ru_stime);
}

} // namespace pelorin
