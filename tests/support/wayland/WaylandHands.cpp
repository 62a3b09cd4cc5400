#include "tests/support/wayland/WaylandHands.h"

#include "BeaconryKit/interface/wayland/WaylandGlobals.h"

#include <gtest/gtest.h>

#include <chrono>
#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>
#include <virtual-input-client.h>
#include <wayland-client.h>

namespace pelorin {

namespace {

constexpr std::string_view keymap = R"map(xkb_keymap {
    xkb_keycodes { include "evdev+aliases(qwerty)" };
    xkb_types { include "complete" };
    xkb_compat { include "complete" };
    xkb_symbols { include "pc+us" };
};)map";

std::uint32_t now() {
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
            .count());
}

std::uint32_t keyOf(char letter) {
    struct Row {
        std::string_view letters;
        std::uint32_t first;
    };
    for (const Row& row : {Row{"qwertyuiop", KEY_Q}, Row{"asdfghjkl", KEY_A}, Row{"zxcvbnm", KEY_Z}}) {
        if (const std::size_t place = row.letters.find(letter); place != std::string_view::npos)
            return row.first + static_cast<std::uint32_t>(place);
    }
    EXPECT_EQ(letter, ' ') << "There is no key for this.";
    return KEY_SPACE;
}

} // namespace

WaylandHands::WaylandHands(const std::string& socketPath) : m_connection(wl_display_connect(socketPath.c_str())) {
    if (!m_connection) {
        ADD_FAILURE() << "Nothing answers at " << socketPath;
        return;
    }
    m_seat = static_cast<wl_seat*>(bindWaylandGlobal(m_connection, &wl_seat_interface));
    m_pointers = static_cast<zwlr_virtual_pointer_manager_v1*>(
        bindWaylandGlobal(m_connection, &zwlr_virtual_pointer_manager_v1_interface));
    m_keyboards = static_cast<zwp_virtual_keyboard_manager_v1*>(
        bindWaylandGlobal(m_connection, &zwp_virtual_keyboard_manager_v1_interface));
    if (!m_seat || !m_pointers || !m_keyboards) {
        ADD_FAILURE() << "The compositor has no virtual pointer and keyboard.";
        return;
    }
    m_pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(m_pointers, m_seat);
    m_keyboard = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(m_keyboards, m_seat);
    sendKeymap();
    wl_display_roundtrip(m_connection);
}

WaylandHands::~WaylandHands() {
    if (!m_connection)
        return;
    if (m_pointer)
        zwlr_virtual_pointer_v1_destroy(m_pointer);
    if (m_keyboard)
        zwp_virtual_keyboard_v1_destroy(m_keyboard);
    if (m_pointers)
        zwlr_virtual_pointer_manager_v1_destroy(m_pointers);
    if (m_keyboards)
        zwp_virtual_keyboard_manager_v1_destroy(m_keyboards);
    if (m_seat)
        wl_seat_destroy(m_seat);
    wl_display_disconnect(m_connection);
}

void WaylandHands::click(const QPoint& place, const QSize& desktop) {
    if (!m_pointer)
        return;
    zwlr_virtual_pointer_v1_motion_absolute(
        m_pointer, now(), static_cast<std::uint32_t>(place.x()), static_cast<std::uint32_t>(place.y()),
        static_cast<std::uint32_t>(desktop.width()), static_cast<std::uint32_t>(desktop.height()));
    zwlr_virtual_pointer_v1_frame(m_pointer);
    for (const std::uint32_t state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
        zwlr_virtual_pointer_v1_button(m_pointer, now(), BTN_LEFT, state);
        zwlr_virtual_pointer_v1_frame(m_pointer);
    }
    wl_display_roundtrip(m_connection);
}

void WaylandHands::pressKey(std::uint32_t code) {
    if (!m_keyboard)
        return;
    zwp_virtual_keyboard_v1_key(m_keyboard, now(), code, WL_KEYBOARD_KEY_STATE_PRESSED);
    zwp_virtual_keyboard_v1_key(m_keyboard, now(), code, WL_KEYBOARD_KEY_STATE_RELEASED);
    wl_display_roundtrip(m_connection);
}

void WaylandHands::type(std::string_view text) {
    for (const char letter : text)
        pressKey(keyOf(letter));
}

void WaylandHands::sendKeymap() {
    const int file = ::memfd_create("keymap", MFD_CLOEXEC);
    EXPECT_EQ(::write(file, keymap.data(), keymap.size()), static_cast<ssize_t>(keymap.size()));
    // The text's end counts, too.
    EXPECT_EQ(::ftruncate(file, static_cast<off_t>(keymap.size()) + 1), 0);
    zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, file,
                                   static_cast<std::uint32_t>(keymap.size()) + 1);
    wl_display_roundtrip(m_connection);
    ::close(file);
}

} // namespace pelorin
