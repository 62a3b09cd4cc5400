#include "BeaconryKit/sessions/ScriptRun.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#if defined(__APPLE__)
// Other systems declare it.
extern char** environ;
#endif

namespace pelorin {

namespace {

/// One end of a pipe, which no child inherits.
class PipeEnd {
public:
    PipeEnd() = default;
    explicit PipeEnd(int descriptor) : m_descriptor(descriptor) { fcntl(descriptor, F_SETFD, FD_CLOEXEC); }
    PipeEnd(PipeEnd&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    PipeEnd& operator=(PipeEnd&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~PipeEnd() { close(); }

    int get() const { return m_descriptor; }
    void close() {
        if (m_descriptor >= 0)
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor = -1;
};

struct Pipe {
    PipeEnd reading;
    PipeEnd writing;

    bool open() {
        std::array<int, 2> ends{};
#ifdef __linux__
        const bool isOpen = pipe2(ends.data(), O_CLOEXEC) == 0;
#else
        const bool isOpen = pipe(ends.data()) == 0;
#endif
        if (isOpen) {
            reading = PipeEnd(ends[0]);
            writing = PipeEnd(ends[1]);
        }
        return isOpen;
    }
};

QString systemText(int error) {
    return QString::fromStdString(std::generic_category().message(error));
}

/// Reads all that is there; false at the end of the stream.
bool readAvailable(int descriptor, QByteArray& output) {
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count > 0)
            output.append(buffer.data(), count);
        else if (count == 0 || (errno != EINTR && errno != EAGAIN))
            return false;
        else if (errno == EAGAIN)
            return true;
    }
}

/// Reads until the stream ends, or, since a process that is left behind may hold it open for ever, until the other pipe
/// ends.
void drain(const PipeEnd& stream, const PipeEnd& untilEnded, QByteArray& output) {
    fcntl(stream.get(), F_SETFL, O_NONBLOCK);
    for (;;) {
        std::array<pollfd, 2> readiness{{{stream.get(), POLLIN, 0}, {untilEnded.get(), POLLIN, 0}}};
        if (poll(readiness.data(), readiness.size(), -1) < 0 && errno != EINTR)
            return;
        const bool isOpen = readAvailable(stream.get(), output);
        if (!isOpen || readiness[1].revents != 0)
            return;
    }
}

/// How the child is set up: its output joined to one pipe, no input, and nothing of our handling of signals.
class SpawnSetup {
public:
    explicit SpawnSetup(const PipeEnd& output) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, output.get(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, output.get(), STDERR_FILENO);
        posix_spawnattr_init(&m_attributes);
        sigset_t set;
        sigfillset(&set);
        posix_spawnattr_setsigdefault(&m_attributes, &set);
        sigemptyset(&set);
        posix_spawnattr_setsigmask(&m_attributes, &set);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    }
    ~SpawnSetup() {
        posix_spawn_file_actions_destroy(&m_actions);
        posix_spawnattr_destroy(&m_attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;

    const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
};

std::vector<char*> pointersTo(QList<QByteArray>& texts) {
    std::vector<char*> pointers;
    for (QByteArray& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

int waitForEnd(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

Environment processEnvironment() {
    Environment environment;
    for (char** variable = environ; *variable; ++variable) {
        const char* sign = std::strchr(*variable, '=');
        if (sign)
            environment.emplace(QByteArray(*variable, sign - *variable), QByteArray(sign + 1));
    }
    return environment;
}

tl::expected<ScriptOutcome, QString> runScript(const QByteArray& executable, const QList<QByteArray>& arguments,
                                               const Environment& environment) {
    Pipe output;
    Pipe end;
    if (!output.open() || !end.open())
        return tl::unexpected(systemText(errno));
    QList<QByteArray> command = {executable};
    command += arguments;
    QList<QByteArray> variables;
    for (const auto& [name, value] : environment)
        variables.append(name + '=' + value);

    // What the child writes counts only once it has ended, but it is read meanwhile: a child whose output fills the
    // pipe would otherwise wait for us to read it, while we wait for it to end.
    ScriptOutcome outcome;
    std::thread reader;
    try {
        reader = std::thread([&] { drain(output.reading, end.reading, outcome.output); });
    } catch (const std::system_error& error) {
        return tl::unexpected(systemText(error.code().value()));
    }
    pid_t child = 0;
    const SpawnSetup setup(output.writing);
    const int error = posix_spawn(&child, executable.constData(), setup.actions(), setup.attributes(),
                                  pointersTo(command).data(), pointersTo(variables).data());
    output.writing.close();
    if (error == 0)
        outcome.status = waitForEnd(child);
    end.writing.close();
    reader.join();
    if (error != 0)
        return tl::unexpected(systemText(error));
    return outcome;
}

} // namespace pelorin
