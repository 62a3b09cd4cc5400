#include "bench/Measure.h"
#include "bench/Program.h"

#include <asio.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>

// Clients of every kind against the real program: those that keep to the rules, those that leave in the middle, and
// those that never end. It must answer all along, and hold in the end what it held in the beginning.
//
// usage: random_clients [SECONDS [SEED]]

namespace {

using namespace pelorin::bench;
using namespace std::chrono_literals;
using asio::ip::tcp;

constexpr std::uint16_t port = 45793;
constexpr int clientsAtOnce = 60;
constexpr int sessions = 20;
// A row whose hook has left in good order stays until its deadline, the shortest that there is. The notice that then
// stands in its place goes with the session's end.
constexpr const char* settings = R"({"decisionWaitSeconds":5,"relayURL":""})";
constexpr auto longestRow = 6s;

/// A number from 0 to `last`.
int chance(std::mt19937& random, int last) {
    return std::uniform_int_distribution(0, last)(random);
}

std::string sessionMember(std::mt19937& random) {
    return R"("session_id":"s)" + std::to_string(chance(random, sessions - 1)) + '"';
}

std::string permission(std::mt19937& random, std::size_t size) {
    // Few ids: hooks replace each other.
    return postRequest("/permission",
                       "{" + sessionMember(random) + R"(,"request_id":"r)" + std::to_string(chance(random, 99)) +
                           R"(","tool_name":"Bash","tool_input":{"command":")" + std::string(size, 'x') + "\"}}");
}

std::string otherRequest(std::mt19937& random) {
    static const std::array<std::string, 6> paths{"/event", "/clear", "/register", "/unregister", "/status", "/other"};
    static const std::array<std::string, 4> kinds{"permission_prompt", "idle_prompt", "elicitation", ""};
    return postRequest(paths[static_cast<std::size_t>(chance(random, 5))],
                       "{" + sessionMember(random) + R"(,"cwd":"/home/u","message":"hello","notification_type":")" +
                           kinds[static_cast<std::size_t>(chance(random, 3))] + "\"}");
}

std::string noise(std::mt19937& random) {
    std::string bytes(static_cast<std::size_t>(chance(random, 5000)), ' ');
    for (char& byte : bytes)
        byte = static_cast<char>(chance(random, 255));
    return bytes;
}

/// One client: what it sends, in how many pieces, how long it stays, and how it leaves.
struct Plan {
    std::string bytes;
    std::size_t piece = 0;
    std::chrono::milliseconds stay{};
    bool sendsUrgentByte = false;
    bool endsSending = false;
    bool resets = false;
};

Plan makePlan(std::mt19937& random) {
    Plan plan;
    switch (chance(random, 9)) {
    case 0:
    case 1:
        plan.bytes = permission(random, static_cast<std::size_t>(chance(random, 2000)));
        break;
    case 2:
        plan.bytes = permission(random, 900'000);
        break;
    case 3:
        plan.bytes = permission(random, 1'200'000);
        break;
    case 4:
        plan.bytes = noise(random);
        break;
    case 5:
        plan.bytes = permission(random, 900'000);
        plan.bytes.resize(static_cast<std::size_t>(chance(random, 900'000)));
        break;
    default:
        plan.bytes = otherRequest(random);
        break;
    }
    plan.piece = chance(random, 3) == 0 ? static_cast<std::size_t>(chance(random, 300)) + 1 : plan.bytes.size();
    // No more than some thousand pieces.
    plan.piece = std::max(plan.piece, plan.bytes.size() / 3000 + 1);
    plan.stay = std::chrono::milliseconds(chance(random, 400));
    plan.sendsUrgentByte = chance(random, 9) == 0;
    plan.endsSending = chance(random, 2) == 0;
    plan.resets = chance(random, 1) == 0;
    return plan;
}

// Whatever goes wrong on the way is part of the game: the server may close at any moment.
asio::awaitable<void> play(Plan plan) {
    asio::error_code error;
    const auto quietly = [&] {
        return asio::redirect_error(asio::use_awaitable, error);
    };
    tcp::socket socket(co_await asio::this_coro::executor);
    co_await socket.async_connect({asio::ip::address_v4::loopback(), port}, quietly());
    for (std::size_t sent = 0; sent < plan.bytes.size() && !error; sent += plan.piece) {
        const auto piece = asio::buffer(asio::buffer(plan.bytes) + sent, plan.piece);
        co_await asio::async_write(socket, piece, quietly());
    }
    if (plan.sendsUrgentByte)
        socket.send(asio::buffer("u", 1), asio::socket_base::message_out_of_band, error);
    if (plan.endsSending)
        socket.shutdown(tcp::socket::shutdown_send, error);
    asio::steady_timer timer(co_await asio::this_coro::executor, plan.stay);
    co_await timer.async_wait(quietly());
    if (plan.resets)
        socket.set_option(asio::socket_base::linger(true, 0), error);
}

asio::awaitable<void> playOneAfterAnother(std::mt19937 random, Clock::time_point end, long& played) {
    while (Clock::now() < end) {
        co_await play(makePlan(random));
        ++played;
    }
}

long playUntil(Clock::time_point end, std::mt19937& random) {
    asio::io_context context;
    long played = 0;
    for (int client = 0; client < clientsAtOnce; ++client)
        asio::co_spawn(context, playOneAfterAnother(std::mt19937(random()), end, played), asio::detached);
    context.run();
    return played;
}

std::string status() {
    return pelorin::bench::exchange(port, "GET /status HTTP/1.1\r\n\r\n");
}

/// Ends the run, the program with it.
struct Failure {
    std::string reason;
};

[[noreturn]] void fail(const std::string& reason) {
    throw Failure{reason};
}

/// A folder of settings for the program, which goes with this.
class Settings {
public:
    Settings() {
        std::filesystem::create_directories(m_folder / "com.pelorin.manager");
        std::ofstream(m_folder / "com.pelorin.manager/defaults.json") << settings;
    }
    ~Settings() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    std::string variable() const { return "XDG_CONFIG_HOME=" + m_folder.string(); }

private:
    const std::filesystem::path m_folder =
        std::filesystem::temp_directory_path() / ("pelorin-random-clients-" + std::to_string(getpid()));
};

struct Holding {
    double megabytes;
    long descriptors;
};

/// What the program holds once all clients have gone, and with them all rows and sessions.
Holding rest(const Program& program) {
    const auto start = Clock::now();
    for (;;) {
        for (int session = 0; session < sessions; ++session)
            pelorin::bench::exchange(
                port, postRequest("/unregister", R"({"session_id":"s)" + std::to_string(session) + "\"}"));
        const std::string now = status();
        if (now.empty())
            fail("The program does not answer any more.");
        if (now.find(R"("pendingAsks":0)") != std::string::npos && now.find(R"("sessions":0)") != std::string::npos)
            break;
        if (Clock::now() - start > 2 * longestRow)
            fail("The rows do not go: " + now);
        std::this_thread::sleep_for(100ms);
    }
    // Deadlines of requests that have been answered are not taken back, and hold a little.
    std::this_thread::sleep_until(start + longestRow);
    return {static_cast<double>(program.residentBytes()) / 1e6, program.openDescriptors()};
}

void run(int seconds, unsigned seed) {
    std::printf("seed %u\n", seed);
    std::mt19937 random(seed);
    const Settings folder;
    const Program program({PELORIN_BINARY_DIR "/pelorin"},
                          {"BEACONRY_PORT=" + std::to_string(port), folder.variable(), "QT_QPA_PLATFORM=offscreen",
                           "LANG=C.UTF-8",
                           // The platform without a screen says at every row that it raises no windows.
                           "QT_LOGGING_RULES=default.warning=false"});
    const auto start = Clock::now();
    while (status().empty()) {
        if (secondsSince(start) > 30)
            fail("The program does not start.");
        std::this_thread::sleep_for(10ms);
    }
    // The first rows bring fonts, a window and an engine.
    playUntil(Clock::now() + 10s, random);
    const Holding before = rest(program);
    const long played = playUntil(Clock::now() + std::chrono::seconds(seconds), random);
    const Holding after = rest(program);
    std::printf("%ld clients in %d seconds; before and after: %.1f and %.1f MB, %ld and %ld descriptors\n", played,
                seconds, before.megabytes, after.megabytes, before.descriptors, after.descriptors);
    if (after.descriptors > before.descriptors)
        fail("Descriptors were lost.");
    if (after.megabytes > before.megabytes * 1.2 + 5)
        fail("Memory was lost.");
}

} // namespace

int main(int count, char** arguments) {
    try {
        run(count > 1 ? std::atoi(arguments[1]) : 3600,
            count > 2 ? static_cast<unsigned>(std::atoi(arguments[2])) : std::random_device()());
    } catch (const Failure& failure) {
        std::fprintf(stderr, "%s\n", failure.reason.c_str());
        return 1;
    }
    return 0;
}
