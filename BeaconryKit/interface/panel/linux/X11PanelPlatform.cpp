#include "BeaconryKit/interface/panel/linux/X11PanelPlatform.h"

#include <QByteArray>
#include <QWindow>
#include <xcb/xcb.h>

#include <cstdlib>
#include <cstring>
#include <memory>

namespace pelorin {

namespace {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};

// Replies and errors come from malloc.
template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, FreeReply>;

template <class Reply>
ReplyPointer<Reply> take(Reply* reply) {
    return ReplyPointer<Reply>(reply);
}

} // namespace

X11PanelPlatform::X11PanelPlatform(xcb_connection_t* connection, int screenNumber)
    : m_connection(connection), m_screenNumber(screenNumber) {
}

void X11PanelPlatform::prepare(QWindow&) {
}

bool X11PanelPlatform::isCompositing() const {
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(m_screenNumber);
    const auto owner = take(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, atom(name.constData())), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void X11PanelPlatform::takeKeys(QWindow& window) {
    const std::uint32_t own = static_cast<std::uint32_t>(window.winId());
    const std::uint32_t focused = focusedWindow();
    if (focused != own) {
        m_previousFocus = focused;
        m_previousActive = activeWindow();
    }
    window.setFlag(Qt::WindowDoesNotAcceptFocus, false);
    window.requestActivate();
}

void X11PanelPlatform::giveKeysBack(QWindow& window) {
    window.setFlag(Qt::WindowDoesNotAcceptFocus, true);
    // Where the user has gone to another window by now, the keyboard is there already.
    if (focusedWindow() != static_cast<std::uint32_t>(window.winId()))
        return;
    // The window that had it may be gone. Then the pointer decides, as when nobody ever had it.
    if (!focus(m_previousFocus) && !focus(m_previousActive))
        focus(XCB_INPUT_FOCUS_POINTER_ROOT);
}

std::uint32_t X11PanelPlatform::atom(const char* name) const {
    const auto reply = take(xcb_intern_atom_reply(
        m_connection, xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

std::uint32_t X11PanelPlatform::rootWindow() const {
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(m_connection));
    for (int i = 0; i < m_screenNumber && screens.rem > 1; ++i)
        xcb_screen_next(&screens);
    return screens.data->root;
}

std::uint32_t X11PanelPlatform::activeWindow() const {
    const auto reply = take(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, rootWindow(), atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 0, 1), nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return XCB_WINDOW_NONE;
    std::uint32_t window = XCB_WINDOW_NONE;
    std::memcpy(&window, xcb_get_property_value(reply.get()), sizeof window);
    return window;
}

std::uint32_t X11PanelPlatform::focusedWindow() const {
    const auto reply = take(xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply ? reply->focus : static_cast<std::uint32_t>(XCB_WINDOW_NONE);
}

bool X11PanelPlatform::focus(std::uint32_t window) const {
    if (window == XCB_WINDOW_NONE)
        return false;
    const auto error = take(xcb_request_check(
        m_connection, xcb_set_input_focus_checked(m_connection, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME)));
    return !error;
}

} // namespace pelorin
