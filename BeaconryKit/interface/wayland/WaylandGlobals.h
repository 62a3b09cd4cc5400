#pragma once

struct wl_display;
struct wl_interface;

namespace pelorin {

/// Binds the compositor's global of that interface, in the interface's version or in the compositor's if that is older.
/// Null when the compositor has no such global, or the connection is broken. Waits for the compositor. The bound object
/// reports on the connection's main queue.
void* bindWaylandGlobal(wl_display* connection, const wl_interface* interface);

} // namespace pelorin
