#pragma once

#include "BeaconryKit/model/SessionInfo.h"
#include "BeaconryKit/terminal/TerminalRunner.h"

namespace pelorin {

/// Reads what a session's terminal shows. Pure functions over a runner.
class TerminalCapture {
public:
    TerminalCapture() = delete;

    /// The visible text of the session's terminal, as the terminal's own tool prints it. Nothing when the runner has no
    /// result, and, without running anything, for a terminal that cannot be read. Of iTerm2 and Terminal the front
    /// window is read, whichever session it shows: it is the session's only right after that was brought to the front.
    static std::optional<QString> screen(const SessionTarget& target, TerminalRunner& runner);
};

} // namespace pelorin
