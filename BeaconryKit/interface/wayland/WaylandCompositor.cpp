#include "BeaconryKit/interface/wayland/WaylandCompositor.h"

#include <QDeadlineTimer>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <wayland-client.h>

namespace pelorin {

namespace {

struct Disconnect {
    void operator()(wl_display* connection) const { wl_display_disconnect(connection); }
};
using Connection = std::unique_ptr<wl_display, Disconnect>;

struct Answer {
    WaylandOffer offer;
    bool isComplete = false;
};

void note(void* data, wl_registry*, std::uint32_t, const char* interface, std::uint32_t) {
    WaylandOffer& offer = static_cast<Answer*>(data)->offer;
    const std::string_view name = interface;
    offer.layerShell = offer.layerShell || name == "zwlr_layer_shell_v1";
    offer.seat = offer.seat || name == "wl_seat";
}

const wl_registry_listener registryListener{.global = note, .global_remove = [](void*, wl_registry*, std::uint32_t) {
                                            }};

const wl_callback_listener endListener{.done = [](void* data, wl_callback*, std::uint32_t) {
    static_cast<Answer*>(data)->isComplete = true;
}};

// The library's own way to connect waits without a limit for a compositor that hangs.
Connection connectWithoutWaiting(const QByteArray& path) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (path.isEmpty() || static_cast<std::size_t>(path.size()) >= sizeof address.sun_path)
        return nullptr;
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (socket < 0)
        return nullptr;
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(socket);
        return nullptr;
    }
    return Connection(wl_display_connect_to_fd(socket));
}

/// False when the time is up.
bool waitForInput(int descriptor, const QDeadlineTimer& deadline) {
    for (;;) {
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(deadline.remainingTime()));
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

/// False when there is nothing more to hear: the time is up, or the connection has broken.
bool hearMore(wl_display& connection, const QDeadlineTimer& deadline) {
    while (wl_display_prepare_read(&connection) != 0) {
        if (wl_display_dispatch_pending(&connection) < 0)
            return false;
    }
    wl_display_flush(&connection);
    if (!waitForInput(wl_display_get_fd(&connection), deadline)) {
        wl_display_cancel_read(&connection);
        return false;
    }
    return wl_display_read_events(&connection) == 0 && wl_display_dispatch_pending(&connection) >= 0;
}

} // namespace

std::optional<WaylandOffer> askWaylandCompositor(const QByteArray& socketPath, std::chrono::milliseconds limit) {
    const Connection connection = connectWithoutWaiting(socketPath);
    if (!connection)
        return std::nullopt;
    Answer answer;
    wl_registry* registry = wl_display_get_registry(connection.get());
    wl_registry_add_listener(registry, &registryListener, &answer);
    wl_callback* end = wl_display_sync(connection.get());
    wl_callback_add_listener(end, &endListener, &answer);
    const QDeadlineTimer deadline(limit);
    bool isHeard = true;
    while (!answer.isComplete && isHeard)
        isHeard = hearMore(*connection, deadline);
    wl_callback_destroy(end);
    wl_registry_destroy(registry);
    return answer.isComplete ? answer.offer : WaylandOffer{};
}

QByteArray waylandSocketPath(const QByteArray& display, const QByteArray& runtimeFolder) {
    if (display.isEmpty() || display.startsWith('/'))
        return display;
    return runtimeFolder.isEmpty() ? QByteArray() : runtimeFolder + '/' + display;
}

} // namespace pelorin
