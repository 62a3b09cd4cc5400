#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace pelorin {

/// What the system knows about a process.
struct ProcessFacts {
    pid_t parent = 0;
    /// The name of its controlling terminal, without "/dev/"; empty when it has none.
    std::string terminal = {};
    /// When it was started, in a measure of the system's own; 0 when that is not known. Together with its id this names
    /// a process for ever.
    std::uint64_t startTime = 0;
    /// The process that leads its session.
    pid_t session = 0;
    /// The device of its controlling terminal.
    dev_t terminalDevice = 0;
};

/// Asks the system about a process; nothing when there is no such process. On Linux this starts no process.
std::optional<ProcessFacts> lookUpProcess(pid_t process);

/// The name of the terminal with this number, as Linux counts them in /proc/PID/stat. Empty for 0 and for a device that
/// is not known to be a terminal.
std::string linuxTerminalName(unsigned long number);

/// Reads the text of a /proc/PID/stat of Linux; nothing when it is malformed.
std::optional<ProcessFacts> parseProcessStat(std::string_view stat);

} // namespace pelorin
