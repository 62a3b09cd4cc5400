#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace pelorin {

/// The one way to run a command of another program and to get what it prints. Keeps no state between runs.
class TerminalRunner {
public:
    virtual ~TerminalRunner() = default;
    TerminalRunner() = default;
    TerminalRunner(const TerminalRunner&) = delete;
    TerminalRunner& operator=(const TerminalRunner&) = delete;

    /// Runs the command, a name that is looked up on the search path, with the arguments as they stand: no shell reads
    /// them. Returns its standard output; nothing when it could not be run or printed what is not UTF-8. Blocks the
    /// caller until the command has ended.
    virtual std::optional<QString> run(const QString& command, const QStringList& arguments) = 0;
};

} // namespace pelorin
