#pragma once

#include <QtGlobal>

namespace pelorin {

/// Makes the operating system notice by itself that the peer of a long-lived TCP connection is gone: a connection that
/// carries nothing is probed after 30 seconds, then every 10, and ends after three probes without an answer; data that
/// stays unacknowledged for a minute ends it too, where the system can do that. A peer whose machine still answers is
/// never taken for gone. `descriptor` is a connected TCP socket; failures change nothing.
void watchForVanishedPeer(qintptr descriptor);

} // namespace pelorin
