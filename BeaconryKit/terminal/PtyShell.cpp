#include "BeaconryKit/terminal/PtyShell.h"

#include "BeaconryKit/platform/BackgroundWriter.h"
#include "BeaconryKit/platform/ChildProcess.h"
#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/platform/ProgrammingError.h"
#include "BeaconryKit/platform/PseudoTerminal.h"
#include "BeaconryKit/platform/ReadSource.h"

#include <QLoggingCategory>

#include <cerrno>
#include <poll.h>
#include <unistd.h>

#if defined(__APPLE__)
// Other systems declare it.
extern char** environ;
#endif

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(log, "pelorin.terminal.shell", QtWarningMsg)

TerminalSize checkedSize(int columns, int rows) {
    if (!PtyShell::isPossibleSize(columns, rows))
        programmingError("a terminal's size fits in 16 bits");
    return {static_cast<std::uint16_t>(columns), static_cast<std::uint16_t>(rows)};
}

/// Our own environment, and what tells programs about the terminal.
QList<QByteArray> shellEnvironment() {
    QList<QByteArray> environment;
    for (char** variable = environ; *variable; ++variable) {
        const QByteArray entry(*variable);
        if (!entry.startsWith("TERM=") && !entry.startsWith("COLORTERM=") && !entry.startsWith("CLICOLOR="))
            environment.append(entry);
    }
    environment.append("TERM=xterm-256color");
    environment.append("COLORTERM=truecolor");
    environment.append("CLICOLOR=1");
    if (!qEnvironmentVariableIsSet("LANG"))
        environment.append("LANG=en_US.UTF-8");
    return environment;
}

QByteArray shellPath() {
    // A variable that is set to nothing names no shell, and starting it fails.
    return qEnvironmentVariableIsSet("SHELL") ? qgetenv("SHELL") : QByteArrayLiteral("/bin/zsh");
}

} // namespace

/// One shell and its terminal. Whoever takes it out of the state ends it; it does not change before that.
struct PtyShell::Session {
    Session(std::shared_ptr<const FileDescriptor> terminalMaster, ChildProcess shell)
        : master(std::move(terminalMaster)),
          writer(std::make_shared<BackgroundWriter>(master, writeAhead)),
          process(std::move(shell)) {}

    const std::shared_ptr<const FileDescriptor> master;
    const std::shared_ptr<BackgroundWriter> writer;
    const ChildProcess process;
    std::unique_ptr<ReadSource> readSource;

    /// Interactive shells ignore the polite request; losing their terminal is what ends them.
    ~Session() {
        readSource.reset();
        process.terminate();
    }
};

struct PtyShell::State {
    using Master = std::shared_ptr<const FileDescriptor>;

    explicit State(Output output, TaskQueue* taskQueue) : onOutput(std::move(output)), queue(taskQueue) {}

    const Output onOutput;
    // None once the shell object is going.
    Guarded<TaskQueue*> queue;
    mutable Guarded<std::unique_ptr<Session>> session;

    Master master() const {
        return session.with([](const auto& current) { return current ? current->master : nullptr; });
    }

    /// Makes the session the current one, none for null. The one before ends outside the lock.
    void replaceSession(std::unique_ptr<Session> next) {
        session.with([&](auto& current) { std::swap(current, next); });
    }

    /// Ends the session of this terminal, unless another has taken its place.
    void endSession(const FileDescriptor* terminal) {
        std::unique_ptr<Session> ended;
        session.with([&](auto& current) {
            if (current && current->master.get() == terminal)
                std::swap(current, ended);
        });
    }

    /// Reads once and hands on what came. False when there is nothing (more) to read, or the terminal is no longer the
    /// current one.
    bool readOnce(const std::weak_ptr<const FileDescriptor>& source) {
        QByteArray bytes;
        {
            // Let go of before the callback: a callback that blocks must not keep the terminal open.
            const Master terminal = source.lock();
            if (!terminal || terminal != master())
                return false;
            bytes.resize(readSize);
            const ssize_t count = read(terminal->number(), bytes.data(), readSize);
            if (count < 0 && (errno == EAGAIN || errno == EINTR))
                return false;
            if (count <= 0) {
                endSession(terminal.get());
                return false;
            }
            bytes.truncate(count);
        }
        onOutput(bytes);
        return true;
    }

    /// Waits a moment until there is more to read.
    static void awaitMore(const std::weak_ptr<const FileDescriptor>& source) {
        constexpr int milliseconds = 1;
        if (const Master terminal = source.lock()) {
            pollfd more{terminal->number(), POLLIN, 0};
            poll(&more, 1, milliseconds);
        }
    }

    /// Reads as long as there is something, but not for ever: other tasks wait in the queue. The next piece of a flood
    /// is there in no time, and coming back by way of the queue for each would cost more than reading it.
    void readWhatIsThere(const std::weak_ptr<const FileDescriptor>& source) {
        constexpr int mostReads = 64;
        for (int reads = 0; reads < mostReads && readOnce(source); ++reads)
            awaitMore(source);
    }

    /// The shell has exited. What it printed last comes first; a job that it left behind may print on for ever.
    void noteExit(const std::weak_ptr<const FileDescriptor>& source) {
        readWhatIsThere(source);
        onOutput(QByteArrayLiteral("\r\n[shell exited]\r\n"));
    }

    static std::unique_ptr<Session> launch(const std::shared_ptr<State>& state, TerminalSize size);
};

std::unique_ptr<PtyShell::Session> PtyShell::State::launch(const std::shared_ptr<State>& state, TerminalSize size) {
    auto terminal = PseudoTerminal::open(size);
    // Writing to a shell that does not read must not hold up the caller.
    if (!terminal || !makeNonBlocking(terminal->master)) {
        qCDebug(log) << "no pseudo-terminal";
        return nullptr;
    }
    const auto master = std::make_shared<const FileDescriptor>(std::move(terminal->master));
    const std::weak_ptr weakState = state;
    const std::weak_ptr weakMaster = master;

    ChildProcess::Launch launch;
    launch.executable = shellPath();
    launch.arguments = {QByteArrayLiteral("-il")};
    launch.environment = shellEnvironment();
    launch.standardInput = terminal->slave.number();
    launch.standardOutput = terminal->slave.number();
    launch.standardError = terminal->slave.number();
    launch.group = ChildProcess::Group::ownSession;
    launch.onExit = [weakState, weakMaster] {
        const auto strongState = weakState.lock();
        if (!strongState)
            return;
        strongState->queue.with([&](TaskQueue* taskQueue) {
            if (!taskQueue)
                return;
            taskQueue->async([weakState, weakMaster] {
                if (const auto current = weakState.lock())
                    current->noteExit(weakMaster);
            });
        });
    };

    auto process = ChildProcess::start(std::move(launch));
    if (!process) {
        qCDebug(log) << "the shell could not be started:" << process.error().message().c_str();
        return nullptr;
    }
    auto session = std::make_unique<Session>(master, std::move(*process));
    state->queue.with([&](TaskQueue* taskQueue) {
        session->readSource = ReadSource::start(master, *taskQueue, [weakState, weakMaster] {
            if (const auto current = weakState.lock())
                current->readWhatIsThere(weakMaster);
        });
    });
    return session->readSource ? std::move(session) : nullptr;
}

PtyShell::PtyShell(Dispatch& dispatch, Output onOutput)
    : m_queue(dispatch.makeSerialQueue("com.pelorin.pty")),
      m_state(std::make_shared<State>(std::move(onOutput), m_queue.get())) {
}

PtyShell::~PtyShell() {
    stop();
    m_state->queue.set(nullptr);
    // The queue goes first: it waits for a callback under way, which still uses the state.
    m_queue.reset();
}

bool PtyShell::isPossibleSize(qint64 columns, qint64 rows) {
    return columns >= 0 && columns <= largestSize && rows >= 0 && rows <= largestSize;
}

void PtyShell::start(int columns, int rows) {
    stop();
    m_state->replaceSession(State::launch(m_state, checkedSize(columns, rows)));
}

void PtyShell::stop() {
    m_state->replaceSession(nullptr);
}

void PtyShell::send(const QString& text) {
    write(text.toUtf8());
}

void PtyShell::write(const QByteArray& bytes) {
    // The lock is not held while writing; a session that ends meanwhile drops what it was given.
    const auto writer = m_state->session.with([](const auto& current) { return current ? current->writer : nullptr; });
    if (writer)
        writer->write(bytes);
}

void PtyShell::resize(int columns, int rows) {
    const auto master = m_state->master();
    if (!master || columns < 1 || rows < 1)
        return;
    PseudoTerminal::resize(*master, checkedSize(columns, rows));
}

bool PtyShell::isRunning() const {
    return m_state->session.with([](const auto& current) { return current && current->process.isRunning(); });
}

} // namespace pelorin
