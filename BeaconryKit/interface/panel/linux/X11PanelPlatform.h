#pragma once

#include "BeaconryKit/interface/panel/PanelPlatform.h"

#include <cstdint>

struct xcb_connection_t;

namespace pelorin {

/// The panel on an X server, with any window manager or none: the window bypasses the manager, so it asks the server
/// itself who has the keyboard and gives it back there.
class X11PanelPlatform final : public PanelPlatform {
public:
    /// The connection must outlive the object.
    X11PanelPlatform(xcb_connection_t* connection, int screenNumber);

    void prepare(QWindow& window) override;
    bool isCompositing() const override;
    void takeKeyboard(QWindow& window) override;
    void giveKeyboardBack(QWindow& window) override;

private:
    std::uint32_t activeWindow() const;
    std::uint32_t focusedWindow() const;
    bool focus(std::uint32_t window) const;

    xcb_connection_t* m_connection;
    int m_screenNumber;
    // Who had the keyboard: the very window, and the client's top-level window as the manager knows it.
    std::uint32_t m_previousFocus = 0;
    std::uint32_t m_previousActive = 0;
};

} // namespace pelorin
