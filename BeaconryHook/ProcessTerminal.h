#pragma once

#include "BeaconryBase/ProcessFacts.h"

#include <cstdint>
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

/// A process, named for ever; 0 when it is not known.
struct NamedProcess {
    pid_t process = 0;
    std::uint64_t startTime = 0;
};

/// The CLI whose hook the process `hook` is. A CLI that starts its hooks in a session of their own, without a terminal,
/// is the nearest ancestor outside that session. Otherwise only the CLI's own word counts, `cliProcess` (0: none): a
/// shell between the two cannot be told from the CLI.
NamedProcess findCli(pid_t cliProcess, pid_t hook, ProcessLookup lookUp);

} // namespace pelorin::hook
