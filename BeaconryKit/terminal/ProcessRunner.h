#pragma once

#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

namespace pelorin {

/// Runs real commands, through `/usr/bin/env`, which looks them up. A command's exit status does not count: what it
/// printed does. Its standard input is ours, its standard error is thrown away. May be used on any thread.
class ProcessRunner final : public TerminalRunner {
public:
    /// How long a run may take. A command that has not ended by then is ended with all that it started, and the run has
    /// no result: a terminal program that hangs must not freeze the panel for longer.
    static constexpr Duration timeout = std::chrono::seconds(2);
    /// How many bytes a command may print; more counts as hanging. Far beyond any terminal's screen and history.
    static constexpr qint64 outputLimit = qint64{128} * 1024 * 1024;

    std::optional<QString> run(const QString& command, const QStringList& arguments) override;
};

} // namespace pelorin
