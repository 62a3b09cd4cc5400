#pragma once

#include <QString>
#include <QStringList>

namespace pelorin {

/// The tmux server that a session's pane belongs to, by its socket. Panes of two servers may have the same id. A value.
class TmuxSocket {
public:
    /// The server that the socket belongs to; for an empty path, the one that our own environment leads to.
    explicit TmuxSocket(QString socketPath = {});

    /// Whether a plain `tmux` talks to it.
    bool isDefault() const { return m_isDefault; }

    /// Whether it may be talked to: a socket in the file system that is our user's own. A server tells its clients what
    /// to run, so that another user's must not be asked. The default one is tmux's own business.
    bool isOurs() const;

    /// The arguments that make tmux do the command on this server.
    QStringList arguments(const QStringList& command) const;

private:
    QString m_socketPath;
    bool m_isDefault = true;
};

} // namespace pelorin
