#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace pelorin {

/// A real tmux server of the test's own: while the object lives, every `tmux` that the test runs, itself or through the
/// code under test, talks to it. One at a time.
class TmuxServer {
public:
    TmuxServer();
    ~TmuxServer();
    TmuxServer(const TmuxServer&) = delete;
    TmuxServer& operator=(const TmuxServer&) = delete;

    /// Opens a session of 100 by 30 characters that runs the shell command, and returns the pane's id.
    QString newSession(const QString& name, const QString& command);

    /// Opens a new window in the session and returns its pane's id. The window that was current stays so.
    QString newWindow(const QString& session, const QString& command);

    /// Divides the pane in two and returns the new pane's id. The pane that was current stays so.
    QString splitPane(const QString& pane, const QString& command);

    /// Runs tmux with the arguments and returns what it prints, blanks at the ends aside.
    QString run(const QStringList& arguments);

    /// A file in the server's folder.
    QString filePath(const QString& name) const { return m_folder.filePath(name); }

private:
    QTemporaryDir m_folder;
};

} // namespace pelorin
