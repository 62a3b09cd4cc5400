#include "BeaconryKit/terminal/PtyShell.h"

#include "BeaconryKit/platform/BackgroundWriter.h"
#include "BeaconryKit/platform/ChildProcess.h"
#include "BeaconryKit/platform/Guarded.h"
#include "BeaconryKit/platform/ProgrammingError.h"
#include "BeaconryKit/platform/PseudoTerminal.h"
#include "BeaconryKit/platform/ReadSource.h"

#include <QLoggingCategory>

#include <atomic>
#include <cerrno>
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

/// Whether the shell's exit has yet to be told.
struct PtyShell::Ending {
    std::atomic<bool> isDue = false;
};

/// One shell and its terminal. Whoever takes it out of the state ends it; it does not change before that.
struct PtyShell::Session {
    Session(std::shared_ptr<const FileDescriptor> terminalMaster, ChildProcess shell, std::shared_ptr<Ending> itsEnding)
        : master(std::move(terminalMaster)),
          writer(std::make_shared<BackgroundWriter>(master, writeAhead)),
          process(std::move(shell)),
          ending(std::move(itsEnding)) {}

    const std::shared_ptr<const FileDescriptor> master;
    const std::shared_ptr<BackgroundWriter> writer;
    const ChildProcess process;
    const std::shared_ptr<Ending> ending;
    std::unique_ptr<ReadSource> readSource;

    /// Interactive shells ignore the polite request; losing their terminal is what ends them.
    ~Session() {
        readSource.reset();
        process.terminate();
    }
};

struct PtyShell::State : std::enable_shared_from_this<State> {
    using Master = std::shared_ptr<const FileDescriptor>;
    enum class Reading { more, nothingMore, held };

    /// What several threads share.
    struct Shared {
        std::unique_ptr<Session> session;
        qsizetype held = 0;

        bool isHeld() const { return held >= mostHeld; }
        /// Needs a session that is complete.
        void followHeld() const {
            if (!session)
                return;
            if (isHeld())
                session->readSource->suspend();
            else
                session->readSource->resume();
        }
    };

    explicit State(Output output, TaskQueue* taskQueue) : onOutput(std::move(output)), queue(taskQueue) {}

    const Output onOutput;
    // None once the shell object is going.
    Guarded<TaskQueue*> queue;
    mutable Guarded<Shared> shared;

    /// Runs the task on the queue, as long as there is one.
    void later(std::function<void(State&)> task) {
        queue.with([&](TaskQueue* taskQueue) {
            if (!taskQueue)
                return;
            taskQueue->async([weak = weak_from_this(), task = std::move(task)] {
                if (const auto state = weak.lock())
                    task(*state);
            });
        });
    }

    Master master() const {
        return shared.with([](const Shared& now) { return now.session ? now.session->master : nullptr; });
    }

    void count(qsizetype size) {
        std::shared_ptr<Ending> exited;
        std::weak_ptr<const FileDescriptor> terminal;
        shared.with([&](Shared& now) {
            const bool wasHeld = now.isHeld();
            now.held += size;
            if (now.isHeld() == wasHeld)
                return;
            now.followHeld();
            if (wasHeld && now.session && now.session->ending->isDue) {
                exited = now.session->ending;
                terminal = now.session->master;
            }
        });
        // There may be nothing more to read that would bring the notice.
        if (exited)
            later([terminal, exited](State& state) { state.readWhatIsThere(terminal, *exited); });
    }

    /// Makes the session the current one, none for null. The one before ends outside the lock.
    void replaceSession(std::unique_ptr<Session> next) {
        shared.with([&](Shared& now) {
            std::swap(now.session, next);
            if (now.isHeld())
                now.followHeld();
        });
        // Nothing is read of it any more, so that nothing else brings the notice.
        if (next && next->ending->isDue)
            later([ending = next->ending](State& state) { state.sayExit(*ending); });
    }

    /// Ends the session of this terminal, unless another has taken its place.
    void endSession(const FileDescriptor* terminal) {
        std::unique_ptr<Session> ended;
        shared.with([&](Shared& now) {
            if (now.session && now.session->master.get() == terminal)
                std::swap(now.session, ended);
        });
    }

    /// Reads once and hands on what came. A terminal that is no longer the current one has nothing more.
    Reading readOnce(const std::weak_ptr<const FileDescriptor>& source) {
        QByteArray bytes;
        {
            // Let go of before the callback: a callback that blocks must not keep the terminal open.
            const Master terminal = source.lock();
            const bool isHeld = shared.with([](const Shared& now) { return now.isHeld(); });
            if (!terminal || terminal != master())
                return Reading::nothingMore;
            if (isHeld)
                return Reading::held;
            bytes.resize(readSize);
            const ssize_t count = read(terminal->number(), bytes.data(), readSize);
            if (count < 0 && (errno == EAGAIN || errno == EINTR))
                return Reading::nothingMore;
            if (count <= 0) {
                endSession(terminal.get());
                return Reading::nothingMore;
            }
            bytes.truncate(count);
        }
        onOutput(bytes);
        return Reading::more;
    }

    /// Reads as long as there is something, but not for ever: other tasks wait in the queue, and a job that a shell has
    /// left behind may print on and on.
    void readWhatIsThere(const std::weak_ptr<const FileDescriptor>& source, Ending& ending) {
        constexpr int mostReads = 64;
        Reading last = Reading::more;
        for (int reads = 0; reads < mostReads && last == Reading::more; ++reads)
            last = readOnce(source);
        // What the shell printed last comes first.
        if (last != Reading::held)
            sayExit(ending);
    }

    void sayExit(Ending& ending) const {
        if (ending.isDue.exchange(false))
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
    const auto ending = std::make_shared<Ending>();

    ChildProcess::Launch launch;
    launch.executable = shellPath();
    launch.arguments = {QByteArrayLiteral("-il")};
    launch.environment = shellEnvironment();
    launch.standardInput = terminal->slave.number();
    launch.standardOutput = terminal->slave.number();
    launch.standardError = terminal->slave.number();
    launch.group = ChildProcess::Group::ownSession;
    launch.onExit = [weakState, weakMaster, ending] {
        if (const auto current = weakState.lock())
            current->later([weakMaster, ending](State& present) {
                ending->isDue = true;
                present.readWhatIsThere(weakMaster, *ending);
            });
    };

    auto process = ChildProcess::start(std::move(launch));
    if (!process) {
        qCDebug(log) << "the shell could not be started:" << process.error().message().c_str();
        return nullptr;
    }
    auto session = std::make_unique<Session>(master, std::move(*process), ending);
    state->queue.with([&](TaskQueue* taskQueue) {
        session->readSource = ReadSource::start(master, *taskQueue, [weakState, weakMaster, ending] {
            if (const auto current = weakState.lock())
                current->readWhatIsThere(weakMaster, *ending);
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
    const auto writer =
        m_state->shared.with([](const auto& now) { return now.session ? now.session->writer : nullptr; });
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
    return m_state->shared.with([](const auto& now) { return now.session && now.session->process.isRunning(); });
}

Task PtyShell::hold(qsizetype size) {
    m_state->count(size);
    return [weak = std::weak_ptr(m_state), size] {
        if (const auto state = weak.lock())
            state->count(-size);
    };
}

} // namespace pelorin
