#pragma once

#include <QByteArray>

#include <chrono>
#include <optional>

namespace pelorin {

/// What a Wayland compositor has, as far as it matters to where Pelorin shows itself.
struct WaylandOffer {
    /// Surfaces may hang over everything on all workspaces.
    bool layerShell = false;
    /// There is, or will be, something to point or type with.
    bool seat = false;

    bool operator==(const WaylandOffer&) const = default;
};

/// How long a compositor may take to answer.
constexpr std::chrono::milliseconds compositorPatience{2000};

/// Asks the compositor behind the socket. Nothing when there is none; an empty offer when it has not answered in time.
/// Needs no application object; any thread.
std::optional<WaylandOffer> askWaylandCompositor(const QByteArray& socketPath,
                                                 std::chrono::milliseconds limit = compositorPatience);

/// The path of the compositor's socket by the two variables `WAYLAND_DISPLAY` and `XDG_RUNTIME_DIR`; empty without one.
QByteArray waylandSocketPath(const QByteArray& display, const QByteArray& runtimeFolder);

} // namespace pelorin
