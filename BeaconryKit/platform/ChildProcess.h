#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <QByteArray>
#include <QList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace pelorin {

/// A running program that we started. A thread of its own waits for it, so that no child ever stays behind as a zombie,
/// whether its handle is kept or dropped. The child gets the descriptors that it is given and no other of ours, default
/// signal actions and an empty signal mask. All operations may be called from any thread.
class ChildProcess {
public:
    /// Where the child stands among process groups and sessions.
    enum class Group {
        /// In our own group.
        ours,
        /// At the head of a group of its own in our session, so that it can be ended together with what it started. Its
        /// number stays taken until the handle is dropped.
        own,
        /// At the head of a session of its own, whose controlling terminal is the child's standard input.
        ownSession
    };

    struct Launch {
        /// The program's path; not looked up anywhere.
        QByteArray executable;
        /// What follows the program's own name, which is its path.
        QList<QByteArray> arguments;
        /// Each as NAME=value; nothing stands for our own environment.
        std::optional<QList<QByteArray>> environment;
        /// Descriptors that become the child's standard streams; -1 stands for our own. They stay open here.
        int standardInput = -1;
        int standardOutput = -1;
        int standardError = -1;
        Group group = Group::ours;
        /// Called once, on a thread of the platform's, after the child has ended.
        std::function<void()> onExit;
    };

    /// Starts the program. Nothing when that fails: no such program, or a resource that the system has no more of.
    static std::unique_ptr<ChildProcess> start(Launch launch);

    /// Lets go of the child, which runs on.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// The process id. It may be another process's once the child has ended, except for a child with a group of its
    /// own.
    int processId() const;
    bool isRunning() const;
    /// Asks the child politely to end (SIGTERM).
    void terminate();
    /// Ends the child and what it started at once (SIGKILL). Only for a child with a group of its own.
    void killGroup();
    /// Waits until the child has ended, but not beyond the deadline. Whether it has.
    bool waitUntil(std::chrono::steady_clock::time_point deadline);

private:
    struct State;

    explicit ChildProcess(std::shared_ptr<State> state);
    static void watch(const std::shared_ptr<State>& state, const std::function<void()>& onExit);

    std::shared_ptr<State> m_state;
};

/// Runs the program to its end and returns everything that it wrote to its standard output; its standard error is
/// thrown away. Nothing when it cannot be started, and when it has not ended or not closed its output after `timeout`,
/// or has written more than `limit` bytes: it is then ended, together with everything that it started. The launch's
/// output, error and group are filled in here. Blocks the calling thread.
std::optional<QByteArray> collectOutput(ChildProcess::Launch launch, Duration timeout, qsizetype limit);

} // namespace pelorin
