#include "BeaconryKit/service/EventServer.h"

#include <gmock/gmock.h>

#include <atomic>
#include <semaphore>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace {

std::atomic<bool> isHeldUp = false;
std::binary_semaphore letGo(0);

} // namespace

// In place of the system's own for the whole test program.
extern "C" int listen(int socket, int backlog) noexcept {
    if (isHeldUp.exchange(false))
        letGo.acquire();
    return static_cast<int>(syscall(SYS_listen, socket, backlog));
}

namespace pelorin {
namespace {

using namespace std::chrono_literals;

TEST(EventServerStart, WaitsThreeSecondsForAListenerThatIsHeldUp) {
    EventServer server(0, true, [](const auto&, const auto&, const auto&) {});
    isHeldUp = true;
    std::binary_semaphore isOver(0);
    bool isInTime = false;
    // A server that waits for longer is let go of, and then ready.
    std::thread rescue([&] {
        isInTime = isOver.try_acquire_for(30s);
        letGo.release();
    });
    const auto before = std::chrono::steady_clock::now();
    const auto error = server.start();
    const auto waited = std::chrono::steady_clock::now() - before;
    isOver.release();
    rescue.join();
    EXPECT_TRUE(isInTime);
    EXPECT_EQ(error, EventServer::ServerError::notReady);
    EXPECT_GE(waited, 3s);
}

} // namespace
} // namespace pelorin
