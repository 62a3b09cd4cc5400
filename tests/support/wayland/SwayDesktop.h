#pragma once

#include "tests/support/TestProcess.h"

#include <QImage>
#include <QJsonObject>
#include <QList>
#include <QPoint>
#include <QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

namespace pelorin {

class WaylandHands;

/// A Wayland desktop of its own: a compositor with a layer shell on a screen that exists in memory alone (1280 by 800,
/// tiled windows without borders), and a pointer and a keyboard that the test moves. It fails the test when the
/// compositor does not start.
class SwayDesktop {
public:
    /// How much of a desktop there is.
    enum class Equipment { pointerAndKeyboard, nothing };

    explicit SwayDesktop(Equipment equipment = Equipment::pointerAndKeyboard);
    ~SwayDesktop();
    SwayDesktop(const SwayDesktop&) = delete;
    SwayDesktop& operator=(const SwayDesktop&) = delete;

    bool isRunning() const { return m_isRunning; }

    /// The compositor's socket, as `WAYLAND_DISPLAY` may name it.
    std::string socketPath() const;

    /// What is on the screen, or on all of them side by side.
    QImage picture() const;

    /// Has the compositor run one of its commands.
    void command(const std::string& text) const;

    /// The title of the window that has the keyboard; empty when none has.
    QString focusedTitle() const;

    /// How many windows there are on all workspaces.
    int windowCount() const;

    /// Presses the left button once at this place of the desktop.
    void click(const QPoint& place);
    /// Types letters of the Latin alphabet and blanks.
    void type(std::string_view text);
    void pressEnter();
    void pressEscape();

    /// Ends the compositor at once, as a crash does.
    void crash();
    /// Starts it again, on the same socket.
    void restart();

private:
    QList<QJsonObject> windows() const;
    void start();
    std::vector<std::string> compositorCommand() const;
    std::vector<std::string> environment() const;
    std::string run(const std::vector<std::string>& command) const;

    QTemporaryDir m_folder;
    Equipment m_equipment;
    std::unique_ptr<TestProcess> m_compositor;
    std::unique_ptr<WaylandHands> m_hands;
    bool m_isRunning = false;
};

} // namespace pelorin
