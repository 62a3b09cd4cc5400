#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace pelorin {

/// Runs commands and returns what they print. Keeps no state between runs.
class TerminalRunner {
public:
    virtual ~TerminalRunner() = default;
    TerminalRunner() = default;
    TerminalRunner(const TerminalRunner&) = delete;
    TerminalRunner& operator=(const TerminalRunner&) = delete;

    /// Runs the command and returns its standard output; nothing when it could not be run or printed what is not UTF-8.
    /// The command's name is looked up on the search path, and no shell reads the arguments. Blocks the caller until
    /// the command has ended.
    virtual std::optional<QString> run(const QString& command, const QStringList& arguments) = 0;
};

} // namespace pelorin
