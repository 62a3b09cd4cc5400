#pragma once

#include "tests/support/Patience.h"
#include "tests/support/TestDescriptor.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace pelorin {

/// How to start a `TestProcess`.
struct ChildOptions {
    /// What the child's standard input, output and error are.
    enum class Channels { pipes, sockets };

    /// The program's path, and its arguments.
    std::vector<std::string> command = {};
    /// The whole environment, as "NAME=value".
    std::vector<std::string> environment = {};
    Channels channels = Channels::pipes;
    /// The device that becomes the controlling terminal; empty for none.
    std::string controllingTerminal = {};
    /// Empty for the test's own.
    std::string workingDirectory = {};
};

/// How a child ended.
struct ChildExit {
    /// The exit status; nothing when a signal ended the child.
    std::optional<int> status;
    /// The signal that ended the child, or 0.
    int signal = 0;

    bool operator==(const ChildExit&) const = default;
};

/// The end of a child that exits with this status.
inline ChildExit exited(int status) {
    return {status, 0};
}

/// The end of a child that is ended by this signal.
inline ChildExit killedBy(int signal) {
    return {std::nullopt, signal};
}

std::ostream& operator<<(std::ostream& stream, const ChildExit& exit);

/// A real process of a test, in a session and process group of its own. What is left of the group when the child's end
/// has been waited for, or when this is destroyed, is killed.
class TestProcess {
public:
    /// Starts the child. Nothing when the system has no room for it; a program that can't be run exits with 127.
    static std::unique_ptr<TestProcess> start(const ChildOptions& options);

    ~TestProcess();
    TestProcess(const TestProcess&) = delete;
    TestProcess& operator=(const TestProcess&) = delete;

    pid_t processId() const { return m_processId; }

    /// Writes to the child's input; false when the child does not take it all in time, or has closed it.
    bool writeInput(std::string_view text, std::chrono::milliseconds limit = patience);

    /// Ends the child's input.
    void closeInput() { m_input.close(); }

    /// Leaves as the reader of the child's output.
    void closeOutput() { m_output.close(); }

    /// Leaves as the reader of the child's errors.
    void closeErrors() { m_errors.close(); }

    /// Sends a signal to the child alone. False once it has ended.
    bool sendSignal(int signal);

    /// Sends a signal to the child's whole process group.
    bool sendSignalToGroup(int signal);

    /// Reads output until the child has ended, and what is there then. Nothing when it has not ended in time.
    std::optional<ChildExit> waitForExit(std::chrono::milliseconds limit = patience);

    /// Reads output until it is as wanted. False when it never is: the time is up, or all of the output has come.
    bool waitForOutput(const std::function<bool(const std::string& output)>& isWanted,
                       std::chrono::milliseconds limit = patience);

    /// What the child has written so far, as far as a wait has read it.
    const std::string& output() const { return m_outputText; }
    const std::string& errors() const { return m_errorText; }

    /// Whether nobody can write to the output any more; to be asked after `waitForExit`. If not, the child has left
    /// behind a process that still holds it.
    bool hasOutputEnded() const { return !m_output.isOpen() && !m_errors.isOpen(); }

    /// What the child and all that it has started have used of the processor; known after `waitForExit`.
    std::chrono::microseconds processorTime() const { return m_processorTime; }

private:
    TestProcess() = default;
    enum class Event { output, exit, timeout };
    Event waitForEvent(const WaitLimit& limit);
    static void readAvailable(TestDescriptor& descriptor, std::string& text);
    void readAvailable();
    void reap();

    pid_t m_processId = 0;
    TestDescriptor m_input;
    TestDescriptor m_output;
    TestDescriptor m_errors;
    // Ends when the child does: a descriptor that can be waited for together with the others.
    TestDescriptor m_exitNotice;
    std::thread m_exitWatcher;
    std::optional<ChildExit> m_exit;
    std::string m_outputText;
    std::string m_errorText;
    std::chrono::microseconds m_processorTime{};
};

} // namespace pelorin
