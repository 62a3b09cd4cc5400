#pragma once

#include <csignal>

namespace pelorin {

/// From here on a write fails with an error where it would have ended the process: when nobody reads the other end any
/// more, and when a file may grow no further.
inline void surviveFailedWrites() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace pelorin
