#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <sys/types.h>

namespace pelorin {

/// The process that leads the session on the terminal device (as "/dev/pts/3"): as a rule the shell that the terminal
/// program started in it. Nothing when the path is no terminal's or nobody's controlling terminal.
std::optional<pid_t> terminalSessionLeader(const QString& devicePath);

/// The process's parent; 0 when it has none or has ended.
pid_t parentProcess(pid_t process);

/// The value that the variable had when the process's program was started; nothing when it was not set, or when the
/// process is somebody else's.
std::optional<QByteArray> initialVariable(pid_t process, const QByteArray& name);

} // namespace pelorin
