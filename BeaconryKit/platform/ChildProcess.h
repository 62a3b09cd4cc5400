#pragma once

#include "BeaconryKit/platform/Dispatch.h"

#include <QByteArray>
#include <QList>
#include <tl/expected.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <system_error>

namespace pelorin {

/// The handle of a program that we started. No child stays behind as a zombie, whether its handle is kept or dropped.
/// The child gets the descriptors that it is given and no other of ours, default signal actions, an empty signal mask,
/// and the limit of open descriptors that we were started with. All operations may be called from any thread.
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
        /// Called once, after the child has ended, on a thread of the platform's that it must not hold up.
        Task onExit;
    };

    /// Starts the program. The error is the system's: no such program, or a resource that there is no more of.
    static tl::expected<ChildProcess, std::error_code> start(Launch launch);

    /// Lets go of the child, which runs on.
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept = default;
    ChildProcess& operator=(ChildProcess&& other) = delete;

    /// The process id. It may be another process's once the child has ended, except for a child with a group of its
    /// own.
    int processId() const;
    bool isRunning() const;
    /// Asks the child politely to end (SIGTERM).
    void terminate() const;
    /// Ends the child and what it started at once (SIGKILL). Only for a child with a group of its own.
    void killGroup() const;
    /// Waits until the child has ended, but not beyond the deadline. Whether it has.
    bool waitUntil(std::chrono::steady_clock::time_point deadline) const;
    /// The exit status, or 128 and the signal's number for a child that was ended by one, as shells have it; nothing
    /// while the child runs.
    std::optional<int> status() const;

private:
    struct State;

    explicit ChildProcess(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace pelorin
