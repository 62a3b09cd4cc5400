#pragma once

#include <QPoint>
#include <QSize>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct wl_display;
struct wl_seat;
struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace pelorin {

/// A pointer and a keyboard on a compositor that lets a client move them. They are there as long as this is.
class WaylandHands {
public:
    /// Fails the test when the compositor is not there or has no such thing.
    explicit WaylandHands(const std::string& socketPath);
    ~WaylandHands();
    WaylandHands(const WaylandHands&) = delete;
    WaylandHands& operator=(const WaylandHands&) = delete;

    /// Presses the left button once, at this place of a desktop of that size.
    void click(const QPoint& place, const QSize& desktop);

    /// Presses a key once, by the number that the kernel gives it.
    void pressKey(std::uint32_t code);

    /// Types small letters of the Latin alphabet and blanks.
    void type(std::string_view text);

private:
    void sendKeymap();

    wl_display* m_connection = nullptr;
    wl_seat* m_seat = nullptr;
    zwlr_virtual_pointer_manager_v1* m_pointers = nullptr;
    zwp_virtual_keyboard_manager_v1* m_keyboards = nullptr;
    zwlr_virtual_pointer_v1* m_pointer = nullptr;
    zwp_virtual_keyboard_v1* m_keyboard = nullptr;
};

} // namespace pelorin
