#pragma once

#include "BeaconryKit/model/AskEvent.h"
#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/platform/WindowRaiser.h"
#include "BeaconryKit/terminal/CommandLauncher.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

#include <QString>

#include <optional>

namespace pelorin {

/// Brings a session's terminal to the front: its pane, tab or window where the terminal program can do that, else the
/// program. `focus` waits for nothing and reports nothing: what cannot be done leaves the screen as it was. Lives on
/// the main thread; keeps no state between calls.
class TerminalFocus {
public:
    /// Where a session's terminal is. Texts are empty when nothing is known.
    struct Place {
        /// The terminal program's name as the session reported it.
        QString termProgram;
        /// The terminal's device, as "/dev/pts/3".
        std::optional<QString> ttyDevicePath;
        QString tmuxPane;
        QString weztermPane;
        QString kittyWindowId;
        /// The socket of the pane's tmux server; empty for the default one.
        QString tmuxServer;
    };

    /// Both must outlive the terminal focus.
    TerminalFocus(CommandLauncher& launcher, WindowRaiser& raiser);

    void focus(const AskEvent& ask);
    void focus(const SessionInfo& session);

    /// Has tmux, wezterm or kitty (the first of them that the place names) choose the pane or window, and then
    /// activates the application; without any of them, runs the place's AppleScript. At last, the desktop is asked to
    /// raise the window of the terminal's device.
    void focus(const Place& place);

    /// The same, and in tmux more: the client that was used last is switched to the pane's session unless one shows it
    /// already, and the client's window is raised. Blocks as long as the runner does. Returns whether there was
    /// anything that could be done.
    bool show(const Place& place, TerminalRunner& runner);

    /// The place that a session or a request tells of.
    static Place placeOf(const AskEvent& ask);
    static Place placeOf(const SessionInfo& session);

    /// The same as `focus` for a place of which no more is known.
    void focus(const QString& termProgram, const std::optional<QString>& ttyDevicePath);

    /// The AppleScript that brings the terminal to the front; nothing for a program that has none. The device's path is
    /// put in as it stands.
    static std::optional<QString> script(const QString& termProgram, const std::optional<QString>& ttyDevicePath);

    /// What `focus` would do, to read: a shell's command line for tmux, wezterm and kitty, else the AppleScript.
    static std::optional<QString> script(const Place& place);
    static std::optional<QString> script(const AskEvent& ask);

private:
    bool bringForward(const Place& place);
    void runScript(const QString& script);
    bool raiseWindow(const std::optional<QString>& ttyDevicePath);

    CommandLauncher& m_launcher;
    WindowRaiser& m_raiser;
};

} // namespace pelorin
