#pragma once

#include <asio/io_context.hpp>

namespace pelorin {

/// The one thread that waits for descriptors, "com.pelorin.loop": for children that end, pipes and pseudo-terminals.
/// It starts with the first use and stays to the program's end, asleep while nothing happens. Work on it is short and
/// never waits. Null when the system has no more threads or descriptors. May be called from any thread.
asio::io_context* descriptorLoop();

} // namespace pelorin
