#pragma once

#include "BeaconryBase/FileDescriptor.h"

#include <cstdint>
#include <optional>

namespace pelorin {

/// A terminal's size in characters.
struct TerminalSize {
    std::uint16_t columns = 0;
    std::uint16_t rows = 0;
};

/// Both sides of a pseudo-terminal, close-on-exec, with the system's default attributes. The slave side must not become
/// anybody's controlling terminal by being opened here.
struct PseudoTerminal {
    FileDescriptor master;
    FileDescriptor slave;

    /// Nothing when the system has no more of them.
    static std::optional<PseudoTerminal> open(TerminalSize size);

    /// Changes the terminal's size through its master side; the kernel tells the foreground job. False when the system
    /// refuses.
    static bool resize(const FileDescriptor& master, TerminalSize size);
};

} // namespace pelorin
