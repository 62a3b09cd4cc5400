#pragma once

struct wl_display;
struct wl_interface;

namespace pelorin {

/// Binds what a Wayland compositor offers under the interface's name, in the interface's version or the older one that
/// the compositor has; null when it offers no such thing, or the connection is broken. Waits for the compositor. What
/// is bound reports on the connection's main queue.
void* bindWaylandGlobal(wl_display* connection, const wl_interface* interface);

} // namespace pelorin
