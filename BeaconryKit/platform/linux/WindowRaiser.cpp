#include "BeaconryKit/platform/WindowRaiser.h"

#include "BeaconryKit/platform/linux/ControllingTerminal.h"
#include "BeaconryKit/platform/linux/X11Requests.h"

#include <QLoggingCategory>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(log, "pelorin.platform.window", QtWarningMsg)

struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using Connection = std::unique_ptr<xcb_connection_t, Disconnect>;

/// A window that the window manager knows, and whose it is.
struct ManagedWindow {
    xcb_window_t window = XCB_NONE;
    pid_t process = 0;
};

/// A connection to the X server, in the words of the Extended Window Manager Hints.
class XDisplay {
public:
    /// Nothing when there is no X server.
    static std::optional<XDisplay> open();

    /// The windows of known processes, in the order in which they were first shown.
    std::vector<ManagedWindow> managedWindows();

    /// Asks the window manager to show and raise the window and to give it the keys.
    void activate(xcb_window_t window);

private:
    enum Atom : std::uint8_t { clientList, processId, activeWindow, currentDesktop, windowDesktop, atomCount };

    XDisplay(Connection connection, xcb_window_t root);
    std::vector<std::uint32_t> numbers(xcb_get_property_cookie_t cookie);
    xcb_get_property_cookie_t askFor(xcb_window_t window, Atom property, xcb_atom_t type);
    void showDesktopOf(xcb_window_t window);
    void tellManager(Atom what, xcb_window_t window, std::uint32_t first, std::uint32_t second);

    Connection m_connection;
    xcb_window_t m_root;
    std::array<xcb_atom_t, atomCount> m_atoms{};
};

std::optional<XDisplay> XDisplay::open() {
    int screenNumber = 0;
    Connection connection(xcb_connect(nullptr, &screenNumber));
    if (xcb_connection_has_error(connection.get()) != 0)
        return std::nullopt;
    const xcb_screen_t* const screen = screenOf(connection.get(), screenNumber);
    if (!screen)
        return std::nullopt;
    return XDisplay(std::move(connection), screen->root);
}

XDisplay::XDisplay(Connection connection, xcb_window_t root) : m_connection(std::move(connection)), m_root(root) {
    constexpr std::array<std::string_view, atomCount> names{"_NET_CLIENT_LIST", "_NET_WM_PID", "_NET_ACTIVE_WINDOW",
                                                            "_NET_CURRENT_DESKTOP", "_NET_WM_DESKTOP"};
    std::array<xcb_intern_atom_cookie_t, atomCount> cookies{};
    // All questions are asked before the first answer is waited for, here and below: one journey instead of many.
    std::ranges::transform(names, cookies.begin(), [this](std::string_view name) {
        return xcb_intern_atom(m_connection.get(), 1, static_cast<std::uint16_t>(name.size()), name.data());
    });
    std::ranges::transform(cookies, m_atoms.begin(),
                           [this](xcb_intern_atom_cookie_t cookie) { return receiveAtom(m_connection.get(), cookie); });
}

xcb_get_property_cookie_t XDisplay::askFor(xcb_window_t window, Atom property, xcb_atom_t type) {
    constexpr std::uint32_t mostNumbers = 65536;
    return xcb_get_property(m_connection.get(), 0, window, m_atoms[property], type, 0, mostNumbers);
}

std::vector<std::uint32_t> XDisplay::numbers(xcb_get_property_cookie_t cookie) {
    return receiveNumbers(m_connection.get(), cookie);
}

std::vector<ManagedWindow> XDisplay::managedWindows() {
    const std::vector<std::uint32_t> windows = numbers(askFor(m_root, clientList, XCB_ATOM_WINDOW));
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(windows.size());
    for (const xcb_window_t window : windows)
        cookies.push_back(askFor(window, processId, XCB_ATOM_CARDINAL));
    std::vector<ManagedWindow> managed;
    for (std::size_t index = 0; index < windows.size(); ++index) {
        // A window that has gone meanwhile has no properties.
        const std::vector<std::uint32_t> process = numbers(cookies[index]);
        if (!process.empty())
            managed.push_back({windows[index], static_cast<pid_t>(process.front())});
    }
    return managed;
}

void XDisplay::activate(xcb_window_t window) {
    // The user asked for it; from a program's own idea, managers only make a window's entry in the task bar blink.
    constexpr std::uint32_t sourceIsUser = 2;
    showDesktopOf(window);
    tellManager(activeWindow, window, sourceIsUser, XCB_CURRENT_TIME);
    // A server may throw away what it has not read of a connection that ends: its answer tells that it has.
    const auto cookie = xcb_get_input_focus(m_connection.get());
    const auto reply = take(xcb_get_input_focus_reply(m_connection.get(), cookie, nullptr));
}

void XDisplay::showDesktopOf(xcb_window_t window) {
    // Some managers do not leave a desktop for a window on another one.
    constexpr std::uint32_t everyDesktop = 0xffffffff;
    const auto windowCookie = askFor(window, windowDesktop, XCB_ATOM_CARDINAL);
    const auto currentCookie = askFor(m_root, currentDesktop, XCB_ATOM_CARDINAL);
    const std::vector<std::uint32_t> wanted = numbers(windowCookie);
    const std::vector<std::uint32_t> current = numbers(currentCookie);
    if (!wanted.empty() && !current.empty() && wanted.front() != everyDesktop && wanted.front() != current.front())
        tellManager(currentDesktop, m_root, wanted.front(), XCB_CURRENT_TIME);
}

void XDisplay::tellManager(Atom what, xcb_window_t window, std::uint32_t first, std::uint32_t second) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window;
    message.type = m_atoms[what];
    message.data.data32[0] = first;
    message.data.data32[1] = second;
    xcb_send_event(m_connection.get(), 0, m_root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
}

/// The window, among those of the process, that shows the terminal of the session. Of several, the session's own
/// environment may name it; else the one that was opened last is taken.
std::optional<xcb_window_t> windowOf(pid_t process, pid_t sessionLeader, const std::vector<ManagedWindow>& windows) {
    std::optional<xcb_window_t> found;
    for (const ManagedWindow& managed : windows) {
        if (managed.process != process)
            continue;
        if (initialVariable(sessionLeader, "WINDOWID") == QByteArray::number(managed.window))
            return managed.window;
        found = managed.window;
    }
    return found;
}

class X11WindowRaiser final : public WindowRaiser {
public:
    bool raise(const QString& ttyDevicePath) override {
        const auto leader = terminalSessionLeader(ttyDevicePath);
        auto display = leader ? XDisplay::open() : std::nullopt;
        if (!display) {
            qCDebug(log) << "no session on" << ttyDevicePath << "or no X server";
            return false;
        }
        const std::vector<ManagedWindow> windows = display->managedWindows();
        // What runs in the terminal may have windows too; the terminal's own is a matter of those above it.
        for (pid_t process = parentProcess(*leader); process > 1; process = parentProcess(process)) {
            if (const auto window = windowOf(process, *leader, windows)) {
                display->activate(*window);
                return true;
            }
        }
        qCDebug(log) << "no window shows" << ttyDevicePath;
        return false;
    }
};

} // namespace

std::unique_ptr<WindowRaiser> makeWindowRaiser() {
    return std::make_unique<X11WindowRaiser>();
}

} // namespace pelorin
