#include "BeaconryKit/interface/wayland/WaylandGlobals.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <wayland-client.h>

namespace pelorin {

namespace {

struct Wanted {
    const wl_interface* interface;
    void* bound = nullptr;
};

void bindIfWanted(void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version) {
    auto& wanted = *static_cast<Wanted*>(data);
    if (wanted.bound || std::strcmp(interface, wanted.interface->name) != 0)
        return;
    wanted.bound = wl_registry_bind(registry, name, wanted.interface,
                                    std::min(version, static_cast<std::uint32_t>(wanted.interface->version)));
}

const wl_registry_listener bindingListener{.global = bindIfWanted,
                                           .global_remove = [](void*, wl_registry*, std::uint32_t) {
                                           }};

} // namespace

void* bindWaylandGlobal(wl_display* connection, const wl_interface* interface) {
    // A queue of its own: waiting here must not handle the events of others.
    wl_event_queue* queue = wl_display_create_queue(connection);
    auto* wrapper = static_cast<wl_display*>(wl_proxy_create_wrapper(connection));
    wl_proxy_set_queue(reinterpret_cast<wl_proxy*>(wrapper), queue);
    wl_registry* registry = wl_display_get_registry(wrapper);
    wl_proxy_wrapper_destroy(wrapper);

    Wanted wanted{interface};
    wl_registry_add_listener(registry, &bindingListener, &wanted);
    wl_display_roundtrip_queue(connection, queue);
    if (wanted.bound)
        wl_proxy_set_queue(static_cast<wl_proxy*>(wanted.bound), nullptr);
    wl_registry_destroy(registry);
    wl_event_queue_destroy(queue);
    return wanted.bound;
}

} // namespace pelorin
