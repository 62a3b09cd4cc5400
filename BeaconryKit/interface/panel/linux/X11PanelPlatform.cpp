#include "BeaconryKit/interface/panel/linux/X11PanelPlatform.h"

#include "BeaconryKit/platform/linux/X11Requests.h"

#include <QByteArray>
#include <QWindow>

namespace pelorin {

X11PanelPlatform::X11PanelPlatform(xcb_connection_t* connection, int screenNumber)
    : m_connection(connection), m_screenNumber(screenNumber) {
}

void X11PanelPlatform::prepare(QWindow&) {
}

bool X11PanelPlatform::isCompositing() const {
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(m_screenNumber);
    const auto owner = take(xcb_get_selection_owner_reply(
        m_connection, xcb_get_selection_owner(m_connection, internAtom(m_connection, name.constData())), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void X11PanelPlatform::takeKeyboard(QWindow& window) {
    const std::uint32_t own = static_cast<std::uint32_t>(window.winId());
    const std::uint32_t focused = focusedWindow();
    if (focused != own) {
        m_previousFocus = focused;
        m_previousActive = activeWindow();
    }
    window.setFlag(Qt::WindowDoesNotAcceptFocus, false);
    window.requestActivate();
}

void X11PanelPlatform::giveKeyboardBack(QWindow& window) {
    window.setFlag(Qt::WindowDoesNotAcceptFocus, true);
    // Where the user has gone to another window by now, the keyboard is there already.
    if (focusedWindow() != static_cast<std::uint32_t>(window.winId()))
        return;
    // The window that had it may be gone. Then the pointer decides, as when nobody ever had it.
    if (!focus(m_previousFocus) && !focus(m_previousActive))
        focus(XCB_INPUT_FOCUS_POINTER_ROOT);
}

std::uint32_t X11PanelPlatform::activeWindow() const {
    return numberProperty(m_connection, screenOf(m_connection, m_screenNumber)->root, "_NET_ACTIVE_WINDOW",
                          XCB_ATOM_WINDOW);
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
