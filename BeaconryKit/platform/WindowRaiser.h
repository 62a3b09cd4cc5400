#pragma once

#include <QString>

#include <memory>

namespace pelorin {

/// Brings a terminal's window to the front, where the desktop allows one program to do that to another's windows.
/// Used on one thread at a time.
class WindowRaiser {
public:
    virtual ~WindowRaiser() = default;
    WindowRaiser() = default;
    WindowRaiser(const WindowRaiser&) = delete;
    WindowRaiser& operator=(const WindowRaiser&) = delete;

    /// Asks for the window that shows the terminal device (as "/dev/pts/3") to be shown, raised and given the keys.
    /// Does nothing, and returns false, when no such window is found.
    virtual bool raise(const QString& ttyDevicePath) = 0;
};

/// The running system's way. On X11 the window manager is asked; the window is one that belongs to a process whose
/// controlling terminal the device is, or to the nearest ancestor of such a process that has a window. Elsewhere it
/// does nothing.
std::unique_ptr<WindowRaiser> makeWindowRaiser();

} // namespace pelorin
