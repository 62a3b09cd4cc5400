#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

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

/// The server's number for a name; none when the server does not answer.
inline xcb_atom_t internAtom(xcb_connection_t* connection, const char* name) {
    const auto reply = take(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

/// The screen of that number, or the last one there is.
inline const xcb_screen_t* screenOf(xcb_connection_t* connection, int screenNumber) {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.data;
}

/// The first number that a property of a window holds; 0 when there is none of this type.
inline std::uint32_t numberProperty(xcb_connection_t* connection, xcb_window_t window, const char* name,
                                    xcb_atom_t type) {
    const auto reply = take(xcb_get_property_reply(
        connection, xcb_get_property(connection, 0, window, internAtom(connection, name), type, 0, 1), nullptr));
    std::uint32_t number = 0;
    if (reply && reply->format == 32 && xcb_get_property_value_length(reply.get()) >= 4)
        std::memcpy(&number, xcb_get_property_value(reply.get()), sizeof number);
    return number;
}

} // namespace pelorin
