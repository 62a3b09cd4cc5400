#include "tests/support/wayland/SwayDesktop.h"

#include "tests/support/Eventually.h"
#include "tests/support/wayland/WaylandHands.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>

#include <functional>
#include <linux/input-event-codes.h>
#include <unistd.h>

namespace pelorin {

namespace {

// Debian's user without any rights. The compositor refuses to run as root, which tests in a container do.
constexpr uid_t nobody = 65534;
constexpr const char* socketName = "wayland-1";

/// The windows below a node of the compositor's tree.
QList<QJsonObject> windowsIn(const QJsonObject& node) {
    if (node.contains("pid"))
        return {node};
    QList<QJsonObject> windows;
    for (const char* kind : {"nodes", "floating_nodes"}) {
        for (const QJsonValue& child : node.value(QLatin1String(kind)).toArray())
            windows.append(windowsIn(child.toObject()));
    }
    return windows;
}

} // namespace

SwayDesktop::SwayDesktop(Equipment equipment) : m_equipment(equipment) {
    QFile configuration(m_folder.filePath("config"));
    EXPECT_TRUE(configuration.open(QIODevice::WriteOnly));
    configuration.write("output * resolution 1280x800\n"
                        "default_border none\n"
                        "xwayland disable\n");
    configuration.close();
    EXPECT_TRUE(configuration.setPermissions(QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther));
    if (::getuid() == 0) {
        EXPECT_EQ(::chown(m_folder.path().toUtf8().constData(), nobody, nobody), 0);
    }
    start();
}

SwayDesktop::~SwayDesktop() = default;

std::string SwayDesktop::socketPath() const {
    return m_folder.filePath(socketName).toStdString();
}

QImage SwayDesktop::picture() const {
    return QImage::fromData(QByteArray::fromStdString(run({"/usr/bin/grim", "-t", "ppm", "-"})), "PPM");
}

void SwayDesktop::command(const std::string& text) const {
    run({"/usr/bin/swaymsg", "--quiet", text});
}

QString SwayDesktop::focusedTitle() const {
    for (const QJsonObject& window : windows()) {
        if (window.value("focused").toBool())
            return window.value("name").toString();
    }
    return {};
}

int SwayDesktop::windowCount() const {
    return static_cast<int>(windows().size());
}

QList<QJsonObject> SwayDesktop::windows() const {
    const std::string tree = run({"/usr/bin/swaymsg", "--raw", "--type", "get_tree"});
    return windowsIn(QJsonDocument::fromJson(QByteArray::fromStdString(tree)).object());
}

void SwayDesktop::click(const QPoint& place) {
    m_hands->click(place, picture().size());
}

void SwayDesktop::type(std::string_view text) {
    m_hands->type(text);
}

void SwayDesktop::pressEnter() {
    m_hands->pressKey(KEY_ENTER);
}

void SwayDesktop::pressEscape() {
    m_hands->pressKey(KEY_ESC);
}

void SwayDesktop::crash() {
    EXPECT_TRUE(m_compositor->sendSignalToGroup(SIGKILL));
    EXPECT_TRUE(m_compositor->waitForExit().has_value());
    m_hands.reset();
    m_isRunning = false;
}

void SwayDesktop::restart() {
    // A socket without anyone behind it would look like a start.
    QFile::remove(m_folder.filePath("ipc"));
    start();
}

void SwayDesktop::start() {
    m_compositor = TestProcess::start({.command = compositorCommand(),
                                       .environment = environment(),
                                       .workingDirectory = m_folder.path().toStdString()});
    const auto hasEnded = [this] {
        return m_compositor->waitForExit(std::chrono::milliseconds(0)).has_value();
    };
    const auto hasSockets = [this] {
        return QFile::exists(m_folder.filePath("ipc")) && QFile::exists(m_folder.filePath(socketName));
    };
    // Its two sockets are there before it serves them; what follows waits for that.
    m_isRunning = eventually([&] { return hasSockets() || hasEnded(); }) && !hasEnded();
    EXPECT_TRUE(m_isRunning) << "The compositor does not start: " << m_compositor->errors();
    if (m_isRunning && m_equipment == Equipment::pointerAndKeyboard)
        m_hands = std::make_unique<WaylandHands>(socketPath());
}

std::vector<std::string> SwayDesktop::compositorCommand() const {
    std::vector<std::string> command{"/usr/bin/sway", "--config", m_folder.filePath("config").toStdString()};
    if (::getuid() == 0) {
        const std::vector<std::string> asNobody{"/usr/bin/setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        command.insert(command.begin(), asNobody.begin(), asNobody.end());
    }
    return command;
}

std::vector<std::string> SwayDesktop::environment() const {
    const std::string folder = m_folder.path().toStdString();
    return {"PATH=/usr/bin:/bin",
            "HOME=" + folder,
            "XDG_RUNTIME_DIR=" + folder,
            "SWAYSOCK=" + folder + "/ipc",
            "WAYLAND_DISPLAY=" + std::string(socketName),
            "WLR_BACKENDS=headless",
            "WLR_LIBINPUT_NO_DEVICES=1",
            "WLR_RENDERER=pixman"};
}

std::string SwayDesktop::run(const std::vector<std::string>& command) const {
    const auto process = TestProcess::start({.command = command, .environment = environment()});
    process->closeInput();
    EXPECT_EQ(process->waitForExit(), exited(0)) << command.front() << ": " << process->errors();
    return process->output();
}

} // namespace pelorin
