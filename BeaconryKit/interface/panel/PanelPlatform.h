#pragma once

#include <memory>

class QWindow;

namespace pelorin {

/// What differs between windowing systems about a window that hangs over everything and keeps its hands off the
/// keyboard. Lives on the main thread.
class PanelPlatform {
public:
    virtual ~PanelPlatform() = default;
    PanelPlatform() = default;
    PanelPlatform(const PanelPlatform&) = delete;
    PanelPlatform& operator=(const PanelPlatform&) = delete;

    /// Called before the window is shown, each time.
    virtual void prepare(QWindow& window) = 0;

    /// Called after the window has got another geometry or screen while it is shown.
    virtual void place(QWindow&) {}

    /// Called before the window is hidden, each time.
    virtual void retire(QWindow&) {}

    /// Whether transparent pixels of a window show what lies beneath. Without it they are black.
    virtual bool isCompositing() const = 0;

    /// Whether a window's mask decides where it takes clicks, and cuts nothing off what is drawn.
    virtual bool isMaskForInputOnly() const { return false; }

    /// Lets the window have the keyboard, and remembers who had it.
    virtual void takeKeyboard(QWindow& window) = 0;

    /// Keeps the window off the keyboard again, and gives it back to whoever had it, unless somebody else has taken it
    /// meanwhile.
    virtual void giveKeyboardBack(QWindow& window) = 0;
};

/// The one for the windowing system that the application object runs on.
std::unique_ptr<PanelPlatform> makePanelPlatform();

/// The properties of the panel's window where the windowing system is AppKit.
struct PanelWindowProperties {
    /// The status windows' level: above normal windows and the menu bar's content.
    static constexpr int level = 25;
    /// Joins all spaces (1), stationary (16), allowed beside full-screen windows (256).
    static constexpr unsigned collectionBehaviour = 273;
};

} // namespace pelorin
