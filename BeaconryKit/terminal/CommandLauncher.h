#pragma once

#include <QString>
#include <QStringList>

namespace pelorin {

/// The one way to set off a command of another program of which nobody wants to hear again. Keeps no state between
/// commands.
class CommandLauncher {
public:
    virtual ~CommandLauncher() = default;
    CommandLauncher() = default;
    CommandLauncher(const CommandLauncher&) = delete;
    CommandLauncher& operator=(const CommandLauncher&) = delete;

    /// Starts the program at the path, which is not looked up anywhere, with the arguments as they stand: no shell
    /// reads them. Returns at once. Whether it starts, what it prints and how it ends are not told.
    virtual void start(const QString& path, const QStringList& arguments) = 0;
};

} // namespace pelorin
