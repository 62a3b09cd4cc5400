#include "BeaconryKit/setup/ScriptRun.h"

#include "BeaconryBase/FileDescriptor.h"

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
#include <vector>

#if defined(__APPLE__)
// Other systems declare it.
extern char** environ;
#endif

namespace pelorin {

namespace {

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
void drain(const FileDescriptor& stream, const FileDescriptor& untilEnded, QByteArray& output) {
    for (;;) {
        std::array<pollfd, 2> readiness{{{stream.number(), POLLIN, 0}, {untilEnded.number(), POLLIN, 0}}};
        if (poll(readiness.data(), readiness.size(), -1) < 0 && errno != EINTR)
            return;
        const bool isOpen = readAvailable(stream.number(), output);
        if (!isOpen || readiness[1].revents != 0)
            return;
    }
}

/// How the child is set up: its output joined to one pipe, no input, and nothing of our handling of signals.
class SpawnSetup {
public:
    explicit SpawnSetup(const FileDescriptor& output) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, output.number(), STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, output.number(), STDERR_FILENO);
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
    auto output = Pipe::make();
    auto end = Pipe::make();
    if (!output || !end || !makeNonBlocking(output->readEnd))
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
        reader = std::thread([&] { drain(output->readEnd, end->readEnd, outcome.output); });
    } catch (const std::system_error& error) {
        return tl::unexpected(systemText(error.code().value()));
    }
    pid_t child = 0;
    const SpawnSetup setup(output->writeEnd);
    const int error = posix_spawn(&child, executable.constData(), setup.actions(), setup.attributes(),
                                  pointersTo(command).data(), pointersTo(variables).data());
    output->writeEnd.reset();
    if (error == 0)
        outcome.status = waitForEnd(child);
    end->writeEnd.reset();
    reader.join();
    if (error != 0)
        return tl::unexpected(systemText(error));
    return outcome;
}

} // namespace pelorin
