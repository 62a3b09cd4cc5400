#pragma once

#include "BeaconryBase/ProcessFacts.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace pelorin::hook {

/// Tells of a process; nothing when there is no such process.
using ProcessLookup = std::optional<ProcessFacts> (*)(pid_t process);

/// The process id that an environment variable names; 0 when it names none.
pid_t processIdIn(std::string_view text);

/// The terminal of the CLI's process if that is known (0: it is not) and has one, else that of the nearest ancestor
/// that has one, beginning with `parent`. A hook itself runs without a terminal. Empty when none is found.
std::string findTerminal(pid_t cliProcess, pid_t parent, ProcessLookup lookUp);

} // namespace pelorin::hook
