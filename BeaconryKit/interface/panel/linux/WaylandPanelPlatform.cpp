#include "BeaconryKit/interface/panel/linux/WaylandPanelPlatform.h"

#include "BeaconryKit/interface/wayland/WaylandGlobals.h"

#include <QGuiApplication>
#include <QPlatformSurfaceEvent>
#include <QScreen>
#include <QWindow>
#include <qpa/qplatformnativeinterface.h>
#include <qpa/qplatformwindow.h>

#include <layer-shell-client.h>
#include <wayland-client.h>

namespace pelorin {

namespace {

wl_surface* surfaceOf(QWindow& window) {
    return static_cast<wl_surface*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

wl_output* outputOf(const QWindow& window) {
    return static_cast<wl_output*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForScreen("output", window.screen()));
}

const zwlr_layer_surface_v1_listener placeListener{
    .configure = [](void* platform, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t,
                    std::uint32_t) { static_cast<WaylandPanelPlatform*>(platform)->configure(serial); },
    .closed =
        [](void* platform, zwlr_layer_surface_v1*) {
            static_cast<WaylandPanelPlatform*>(platform)->close();
        }};

} // namespace

std::unique_ptr<WaylandPanelPlatform> WaylandPanelPlatform::make(wl_display* connection) {
    auto* shell = static_cast<zwlr_layer_shell_v1*>(bindWaylandGlobal(connection, &zwlr_layer_shell_v1_interface));
    if (!shell)
        return nullptr;
    return std::unique_ptr<WaylandPanelPlatform>(new WaylandPanelPlatform(connection, shell));
}

WaylandPanelPlatform::WaylandPanelPlatform(wl_display* connection, zwlr_layer_shell_v1* shell)
    : m_connection(connection), m_shell(shell) {
}

WaylandPanelPlatform::~WaylandPanelPlatform() {
    dropPlace();
    if (zwlr_layer_shell_v1_get_version(m_shell) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION)
        zwlr_layer_shell_v1_destroy(m_shell);
    else
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(m_shell));
}

void WaylandPanelPlatform::prepare(QWindow& window) {
    // A panel that comes back while it fades has not left its place.
    if (hasPlaceFor(window)) {
        resize(window);
        return;
    }
    dropPlace();
    window.destroy();
    window.create();
    window.installEventFilter(this);
    wl_surface* surface = surfaceOf(window);
    m_output = outputOf(window);
    m_isClosed = false;
    m_place = zwlr_layer_shell_v1_get_layer_surface(m_shell, surface, m_output, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY,
                                                    "pelorin-panel");
    zwlr_layer_surface_v1_add_listener(m_place, &placeListener, this);
    // Anchored to one edge, the surface is centred along it.
    zwlr_layer_surface_v1_set_anchor(m_place, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP);
    // Less than none: neither makes room for the panel nor keeps it off the room that bars have made for themselves.
    zwlr_layer_surface_v1_set_exclusive_zone(m_place, -1);
    m_size = {};
    resize(window);
    setKeyboard(window, m_takesKeyboard);
    // Nothing may be drawn before the compositor has settled the size.
    wl_display_roundtrip(m_connection);
}

void WaylandPanelPlatform::place(QWindow& window) {
    if (hasPlaceFor(window)) {
        resize(window);
        return;
    }
    prepare(window);
    window.show();
}

void WaylandPanelPlatform::retire(QWindow&) {
    dropPlace();
}

bool WaylandPanelPlatform::isCompositing() const {
    return true;
}

bool WaylandPanelPlatform::isMaskForInputOnly() const {
    return true;
}

void WaylandPanelPlatform::takeKeyboard(QWindow& window) {
    window.setFlag(Qt::WindowDoesNotAcceptFocus, false);
    m_takesKeyboard = true;
    setKeyboard(window, true);
}

void WaylandPanelPlatform::giveKeyboardBack(QWindow& window) {
    window.setFlag(Qt::WindowDoesNotAcceptFocus, true);
    m_takesKeyboard = false;
    // The compositor knows who had the keyboard.
    setKeyboard(window, false);
}

void WaylandPanelPlatform::configure(std::uint32_t serial) {
    // The size is always the one that was asked for: the panel is never anchored to opposite edges.
    zwlr_layer_surface_v1_ack_configure(m_place, serial);
}

bool WaylandPanelPlatform::eventFilter(QObject* watched, QEvent* event) {
    // The place must go before its surface does, whatever makes that go.
    if (event->type() == QEvent::PlatformSurface && static_cast<QPlatformSurfaceEvent*>(event)->surfaceEventType() ==
                                                        QPlatformSurfaceEvent::SurfaceAboutToBeDestroyed)
        dropPlace();
    return QObject::eventFilter(watched, event);
}

bool WaylandPanelPlatform::hasPlaceFor(const QWindow& window) const {
    return m_place && !m_isClosed && m_output == outputOf(window);
}

void WaylandPanelPlatform::resize(const QWindow& window) {
    // The compositor's pixels, which a scale factor of the toolkit's own sets apart from the window's.
    const QSize size = window.handle()->geometry().size();
    if (m_size == size)
        return;
    m_size = size;
    // Takes effect with the next frame, which has that size.
    zwlr_layer_surface_v1_set_size(m_place, static_cast<std::uint32_t>(size.width()),
                                   static_cast<std::uint32_t>(size.height()));
}

void WaylandPanelPlatform::setKeyboard(QWindow& window, bool takesKeyboard) {
    if (!m_place)
        return;
    zwlr_layer_surface_v1_set_keyboard_interactivity(
        m_place, takesKeyboard ? ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_EXCLUSIVE
                               : ZWLR_LAYER_SURFACE_V1_KEYBOARD_INTERACTIVITY_NONE);
    wl_surface_commit(surfaceOf(window));
}

void WaylandPanelPlatform::dropPlace() {
    if (!m_place)
        return;
    zwlr_layer_surface_v1_destroy(m_place);
    m_place = nullptr;
}

} // namespace pelorin
