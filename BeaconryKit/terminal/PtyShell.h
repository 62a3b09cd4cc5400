#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

namespace pelorin {

/// One interactive login shell of the user's on a pseudo-terminal, for a phone to drive. At most one runs at a time.
/// The shell leads a session of its own with the pseudo-terminal as its controlling terminal, so that Ctrl-C, `fg` and
/// full-screen programs work. Every failure is silent: the next input or size tries again. All operations may be called
/// from any thread, except that the object must not be destroyed from its own output callback.
class PtyShell {
public:
    /// Takes what the shell printed, raw: a character may be cut between two calls. Called on the queue
    /// "com.pelorin.pty", with at most `readSize` bytes. Nothing is read while it runs, nor while too much is held (see
    /// `hold`), and a shell whose output nobody reads waits.
    using Output = std::function<void(const QByteArray& bytes)>;

    /// The most bytes that are read at once.
    static constexpr qsizetype readSize = 16384;
    /// The most bytes that wait for a program that does not read its input: more than anybody pastes.
    static constexpr qsizetype writeAhead = qsizetype{1024} * 1024;
    /// How much output may be on its way before no more is read.
    static constexpr qsizetype mostHeld = 65536;
    /// The most columns and rows that a terminal has: the system counts them in 16 bits.
    static constexpr int largestSize = 65535;

    /// The dispatch must outlive the shell. Starts nothing but the queue.
    PtyShell(Dispatch& dispatch, Output onOutput);
    /// Stops the shell, and waits for an output callback that is under way.
    ~PtyShell();
    PtyShell(const PtyShell&) = delete;
    PtyShell& operator=(const PtyShell&) = delete;

    /// Whether a size may be given to `start` and `resize`. What a phone asks for must be put to this question.
    static bool isPossibleSize(qint64 columns, qint64 rows);

    /// Stops the shell that runs, if any, and starts one: the program that `SHELL` names (without the variable,
    /// /bin/zsh) as an interactive login shell. A size below 0 or beyond `largestSize` is a programming error and stops
    /// the program. When the shell exits, the output callback gets "\r\n[shell exited]\r\n", once.
    void start(int columns, int rows);

    /// Ends the shell and gives the pseudo-terminal back. Does nothing when no shell runs.
    void stop();

    /// Types the text, as UTF-8.
    void send(const QString& text);

    /// Types the bytes. Never waits: what the terminal does not take yet, because the program in it does not read,
    /// follows later. At most `writeAhead` bytes wait, and what goes beyond is lost. Does nothing when no shell runs.
    void write(const QByteArray& bytes);

    /// Changes the terminal's size, of which the kernel tells the foreground job. Does nothing when no shell runs or
    /// when a value is below 1; one beyond `largestSize` is a programming error and stops the program.
    void resize(int columns, int rows);

    /// Counts so much of the output as being on its way: as long as that adds up to `mostHeld` or more, nothing is
    /// read. The task counts it off again; it is to be called once, on any thread, and may outlive the shell.
    Task hold(qsizetype size);

    /// Whether a shell was started and has not exited.
    bool isRunning() const;

private:
    struct Ending;
    struct Session;
    struct State;

    std::unique_ptr<TaskQueue> m_queue;
    // Shared with the queue's tasks, which hold it weakly.
    std::shared_ptr<State> m_state;
};

} // namespace pelorin
