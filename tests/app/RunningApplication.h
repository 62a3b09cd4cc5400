#pragma once

#include "tests/support/TestProcess.h"

#include <QJsonObject>
#include <QTemporaryDir>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pelorin {

/// The real program with a home folder and a port of its own.
class RunningApplication {
public:
    enum class Screen { none, offscreen, x11 };

    /// Starts it with these settings stored and waits until it answers. `display` names the X11 display; `additional`
    /// are more variables of its environment, as "NAME=value".
    explicit RunningApplication(const QJsonObject& settings = {}, Screen screen = Screen::offscreen,
                                const std::string& display = {}, std::vector<std::string> additional = {});

    TestProcess& process() { return *m_process; }
    std::uint16_t port() const { return m_port; }

    /// A second copy on the same port and with the same home.
    std::unique_ptr<TestProcess> startAnotherCopy(const std::vector<std::string>& arguments = {}) const;

    /// Starts one of the hook scripts as a CLI does, with the payload on its input.
    std::unique_ptr<TestProcess> startHook(const std::string& script, const std::string& payload,
                                           const std::vector<std::string>& arguments = {}) const;

    /// The reply's body to one request; empty when nothing answered.
    std::string request(const std::string& path, const std::string& body = {}) const;

    /// What "/status" tells.
    QJsonObject status() const;

    /// Waits until "/status" tells this number of rows, or of sessions; false when it never does.
    bool waitForPendingAsks(int count) const { return waitForStatus("pendingAsks", count); }
    bool waitForSessions(int count) const { return waitForStatus("sessions", count); }

    /// Whether any file or folder below the home bears this name.
    bool homeContains(const QString& name) const;

private:
    bool waitForStatus(const char* key, int value) const;
    std::vector<std::string> environment() const;

    QTemporaryDir m_home;
    Screen m_screen;
    std::string m_display;
    std::vector<std::string> m_additional;
    std::uint16_t m_port;
    std::unique_ptr<TestProcess> m_process;
};

/// What Claude Code was seen to send; the name is that of a captured payload without its ending.
std::string capturedPayload(const char* name);

/// What the permission hook prints when the request was allowed, and when it was denied.
extern const std::string allowedByHook;
extern const std::string deniedByHook;

/// The variables, as NAME=value, in which sanitizers look for their options. A program that is given an environment of
/// its own needs them.
std::vector<std::string> sanitizerOptions();

/// Runs a program to its end.
struct FinishedProgram {
    ChildExit exit;
    std::string output;
    std::string errors;
};
FinishedProgram runProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment);

} // namespace pelorin
