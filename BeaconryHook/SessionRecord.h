#pragma once

#include "BeaconryBase/FileDescriptor.h"

#include <cstddef>
#include <string>

namespace pelorin::hook {

/// The file in which a CLI notes what happens in a session, one line for each thing. The CLI adds to it while it works.
class SessionRecord {
public:
    /// Opens the file at the first whole line of its last `tail` bytes. What is no file gives no lines.
    explicit SessionRecord(const std::string& path, std::size_t tail);

    /// The lines that have been completed since the last call, their ends included.
    std::string readLines();

    /// Gets readable when more has been written; -1 where the system does not tell. `readLines` makes it unreadable.
    int changes() const { return m_changes.number(); }

private:
    FileDescriptor m_file;
    FileDescriptor m_changes;
    std::string m_rest;
    bool m_isInFirstLine = false;
};

} // namespace pelorin::hook
