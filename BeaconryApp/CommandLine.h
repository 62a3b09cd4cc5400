#pragma once

#include <QStringList>

#include <optional>

namespace pelorin {

/// What the program says to a command line that is not a plain start.
struct CommandLineAnswer {
    QString text;
    int exitStatus = 0;
};

/// Reads the arguments, the program's name first. Nothing when the application is to be started or reached; an answer
/// for
/// `--help`, `--version` and for anything that is not known (exit status 2).
std::optional<CommandLineAnswer> answerCommandLine(const QStringList& arguments);

/// Whether the arguments ask for the manager window: a copy that runs already is to bring it forward, else this one
/// starts with it.
bool asksForManager(const QStringList& arguments);

} // namespace pelorin
