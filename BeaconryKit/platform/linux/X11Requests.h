#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace pelorin {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

/// A reply or an error of the X server. They come from malloc.
template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeReply>;

/// Takes over what the X library has allocated.
template <class Reply>
ReplyPointer<Reply> take(Reply* reply) {
    return ReplyPointer<Reply>(reply);
}

/// The server's number for the name that was asked about; none when the server does not answer.
inline xcb_atom_t receiveAtom(xcb_connection_t* connection, xcb_intern_atom_cookie_t cookie) {
    const auto reply = take(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

/// The server's number for a name; none when the server does not answer.
inline xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
    return receiveAtom(connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name));
}

/// The screen of that number, or the last one there is; null where there is none.
inline const xcb_screen_t* screenOf(xcb_connection_t* connection, int screenNumber) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.rem == 0 ? nullptr : screens.data;
}

/// The numbers that the property that was asked for holds; empty when there is none of this type, or no window.
inline std::vector<std::uint32_t> receiveNumbers(xcb_connection_t* connection, xcb_get_property_cookie_t cookie) {
    const auto reply = take(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

/// The first number that a property of a window holds; 0 when there is none of this type.
inline std::uint32_t numberProperty(xcb_connection_t* connection, xcb_window_t window, const char* name,
                                    xcb_atom_t type) {
    const std::vector<std::uint32_t> numbers =
        receiveNumbers(connection, xcb_get_property(connection, 0, window, internAtom(connection, name), type, 0, 1));
    return numbers.empty() ? 0 : numbers.front();
}

} // namespace pelorin
