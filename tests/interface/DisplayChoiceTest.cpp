#include "BeaconryKit/interface/wayland/DisplayChoice.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <atomic>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>
#include <wayland-server.h>

namespace pelorin {
namespace {

using namespace std::chrono_literals;

const WaylandOffer withLayerShell{.layerShell = true, .seat = true};
const WaylandOffer withoutLayerShell{.layerShell = false, .seat = true};

TEST(DisplayChoice, PrefersWaylandWhereThePanelCanHangOverEverything) {
    EXPECT_EQ(windowingSystems(true, withLayerShell), QByteArrayList({"wayland", "xcb", "offscreen"}));
    EXPECT_EQ(windowingSystems(false, withLayerShell), QByteArrayList({"wayland", "offscreen"}));
}

TEST(DisplayChoice, PrefersX11WhereWaylandHasNoLayerShell) {
    EXPECT_EQ(windowingSystems(true, withoutLayerShell), QByteArrayList({"xcb", "wayland", "offscreen"}));
    EXPECT_EQ(windowingSystems(false, withoutLayerShell), QByteArrayList({"wayland", "offscreen"}));
}

TEST(DisplayChoice, TriesOnlyWhatIsThere) {
    EXPECT_EQ(windowingSystems(true, std::nullopt), QByteArrayList({"xcb", "offscreen"}));
    EXPECT_EQ(windowingSystems(false, std::nullopt), QByteArrayList({"offscreen"}));
}

TEST(WaylandSocketPath, FollowsTheTwoVariables) {
    EXPECT_EQ(waylandSocketPath("wayland-1", "/run/user/1000"), "/run/user/1000/wayland-1");
    EXPECT_EQ(waylandSocketPath("/somewhere/socket", "/run/user/1000"), "/somewhere/socket");
    EXPECT_EQ(waylandSocketPath("wayland-1", ""), "");
    EXPECT_EQ(waylandSocketPath("", "/run/user/1000"), "");
}

/// A compositor that has a seat, and nothing else.
class PoorCompositor {
public:
    explicit PoorCompositor(const QByteArray& socketPath) : m_display(wl_display_create()) {
        EXPECT_EQ(wl_display_add_socket(m_display, socketPath.constData()), 0);
        m_seat = wl_global_create(m_display, &wl_seat_interface, 1, nullptr,
                                  [](wl_client*, void*, std::uint32_t, std::uint32_t) {});
        m_thread = std::thread([this] {
            while (!m_isDone) {
                wl_event_loop_dispatch(wl_display_get_event_loop(m_display), 10);
                wl_display_flush_clients(m_display);
            }
        });
    }
    ~PoorCompositor() {
        m_isDone = true;
        m_thread.join();
        wl_global_destroy(m_seat);
        wl_display_destroy_clients(m_display);
        wl_display_destroy(m_display);
    }
    PoorCompositor(const PoorCompositor&) = delete;
    PoorCompositor& operator=(const PoorCompositor&) = delete;

private:
    wl_display* m_display;
    wl_global* m_seat = nullptr;
    std::atomic<bool> m_isDone = false;
    std::thread m_thread;
};

class WaylandCompositor : public ::testing::Test {
protected:
    QTemporaryDir folder;
    QByteArray socketPath = folder.filePath("socket").toUtf8();
};

TEST_F(WaylandCompositor, TellsWhatItHas) {
    const PoorCompositor compositor(socketPath);
    EXPECT_EQ(askWaylandCompositor(socketPath, 20s), withoutLayerShell);
}

TEST_F(WaylandCompositor, IsMissedWhereNobodyListens) {
    EXPECT_EQ(askWaylandCompositor(socketPath, 20s), std::nullopt);
    EXPECT_EQ(askWaylandCompositor("", 20s), std::nullopt);
    EXPECT_EQ(askWaylandCompositor(QByteArray(500, 'a'), 20s), std::nullopt);
}

TEST_F(WaylandCompositor, IsNotWaitedForLongerThanTheLimit) {
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    socketPath.toStdString().copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    EXPECT_EQ(askWaylandCompositor(socketPath, 50ms), WaylandOffer{});
    ::close(listener);
}

} // namespace
} // namespace pelorin
