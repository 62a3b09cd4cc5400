#pragma once

#include <QString>
#include <QStringList>

namespace pelorin {

/// Starts other programs and forgets them: nobody learns whether they started, what they print or how they end. Keeps
/// no state between calls.
class CommandLauncher {
public:
    virtual ~CommandLauncher() = default;
    CommandLauncher() = default;
    CommandLauncher(const CommandLauncher&) = delete;
    CommandLauncher& operator=(const CommandLauncher&) = delete;

    /// Starts the program and returns at once. The path is not looked up anywhere, and no shell reads the arguments.
    virtual void start(const QString& path, const QStringList& arguments) = 0;
};

} // namespace pelorin
