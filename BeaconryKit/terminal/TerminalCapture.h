#pragma once

#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

namespace pelorin {

/// Reads what a session's terminal shows. Pure functions over a runner.
class TerminalCapture {
public:
    TerminalCapture() = delete;

    /// The visible text of the session's terminal, as the terminal's own tool prints it. Nothing, without anything
    /// being run, for a terminal that cannot be read, and whatever the runner has no result for. iTerm2 and Terminal
    /// are read at their front window, whichever session that shows: only right after the session was brought to the
    /// front is it the session's.
    static std::optional<QString> screen(const SessionTarget& target, TerminalRunner& runner);
};

} // namespace pelorin
