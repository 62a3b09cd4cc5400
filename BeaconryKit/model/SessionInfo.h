#pragma once

#include "BeaconryKit/model/HookPayload.h"

#include <QString>

#include <optional>

namespace pelorin {

/// One live session of a CLI, as its register hook announced it. A value; text fields are empty when nothing is known.
struct SessionInfo {
    /// The CLI's session identifier.
    QString sessionId;
    /// The session's working directory.
    QString cwd;
    /// The terminal device's name without "/dev/", or "??" when the hook had none.
    QString tty;
    /// The terminal program's name as the hook reports it.
    QString termProgram;
    /// The name that the user gave the session.
    QString label;
    /// Whether the session was started through the `wyrn` launcher.
    bool optIn = false;
    /// Which CLI runs in it.
    QString source = QStringLiteral("claude");
    /// The session's tmux pane, for example "%3".
    QString tmuxPane;
    /// The session's wezterm pane.
    QString weztermPane;
    /// The session's kitty window.
    QString kittyWindowId;

    bool operator==(const SessionInfo&) const = default;

    /// Decodes the body of a register hook. Fails as `AskEvent::decode` does.
    static DecodeResult<SessionInfo> decode(QByteArrayView jsonData);

    /// The session's identity.
    const QString& id() const { return sessionId; }
    /// The label, else the project's name.
    QString displayName() const;
    /// The last component of the working directory, or "unknown".
    QString projectName() const;
    /// The terminal's device path, if there is one.
    std::optional<QString> ttyDevicePath() const;
};

/// What it takes to reach a session's terminal.
struct SessionTarget {
    /// The session's tmux pane; empty outside tmux.
    QString tmuxPane;
    /// The terminal device's name or path.
    QString tty;
    /// The terminal program's name as the hook reported it.
    QString termProgram;
    /// Whether the session was started through the `wyrn` launcher.
    bool optIn = false;

    bool operator==(const SessionTarget&) const = default;
};

} // namespace pelorin
