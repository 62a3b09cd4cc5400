#pragma once

#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/terminal/TerminalRunner.h"
#include "BeaconryKit/terminal/TmuxSocket.h"

#include <optional>

namespace pelorin {

/// A session's terminal, to be looked at and typed into key by key. A value over a runner, which must outlive it. Every
/// call blocks for as long as the runner does.
class SessionTerminal {
public:
    SessionTerminal(SessionTarget target, const TmuxSocket& server, TerminalRunner& runner);

    /// What it shows. Nothing when that cannot be read.
    std::optional<QString> screen() const;

    /// Whether keys would reach what it shows: tmux keeps them for itself while the user scrolls back in the pane.
    bool takesKeys() const;

    /// Types the text as it stands, without Return.
    void type(const QString& text) const;
    void pressReturn() const;

    /// Whether the described commands reach the same terminal.
    bool isOnDefaultServer() const { return m_target.tmuxPane.isEmpty() || m_server.isDefault(); }
    const SessionTarget& target() const { return m_target; }
    /// Tells terminals apart.
    QString name() const;

private:
    std::optional<QString> tmux(const QStringList& command) const;
    void runScript(const QString& forITerm, const QString& forTerminal) const;

    SessionTarget m_target;
    TmuxSocket m_server;
    TerminalRunner* m_runner;
};

} // namespace pelorin
