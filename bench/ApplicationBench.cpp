#include "bench/Measure.h"
#include "bench/Program.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

// The whole program, as it is started by hand: how long until it listens, what it holds in memory, and what ten
// thousand waiting permission requests cost it.

namespace {

using namespace pelorin::bench;

constexpr std::uint16_t port = 45791;
const int parkedRequests = repetitions(1000) * 10;
const std::string portVariable = "BEACONRY_PORT=45791";
const std::string pelorinPath = PELORIN_BINARY_DIR "/pelorin";
const std::string emptyPath = PELORIN_BINARY_DIR "/empty_program";

const std::string statusRequest = "GET /status HTTP/1.1\r\n\r\n";

/// Seconds until the program answers. It is asked again at once: nothing else tells a stranger that it listens.
double waitUntilListening(Clock::time_point start) {
    while (exchange(port, statusRequest).empty())
        std::this_thread::yield();
    return secondsSince(start);
}

/// The empty program cannot do without a display; the lightest it is compared on.
const std::vector<std::string> emptyEnvironment{"QT_QPA_PLATFORM=offscreen"};

/// Seconds until the empty program's event loop is about to run.
double emptyStart() {
    int ends[2];
    if (pipe(ends) != 0)
        std::abort();
    const int savedOutput = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 0);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    const auto start = Clock::now();
    const Program program({emptyPath}, emptyEnvironment);
    dup2(savedOutput, STDOUT_FILENO);
    close(savedOutput);
    char byte = 0;
    (void)!read(ends[0], &byte, 1);
    const double seconds = secondsSince(start);
    close(ends[0]);
    return seconds;
}

void measureStart(const char* name, const std::vector<std::string>& environment) {
    std::vector<double> ours;
    std::vector<double> empty;
    for (int round = 0; round < repetitions(11); ++round) {
        empty.push_back(emptyStart());
        const auto start = Clock::now();
        const Program program({pelorinPath}, environment);
        ours.push_back(waitUntilListening(start));
    }
    const Program emptyProgram({emptyPath}, emptyEnvironment);
    const Program program({pelorinPath}, environment);
    waitUntilListening(Clock::now());
    // Both have been idle for a moment when the second has answered and a second has passed.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const double megabyte = 1024.0 * 1024.0;
    std::printf("%-22s start to listening %4.0f ms (empty program %4.0f ms, ratio %.2f); resident %5.1f MB (empty "
                "%5.1f MB, ratio %.2f)\n",
                name, median(ours) * 1e3, median(empty) * 1e3, median(ours) / median(empty),
                static_cast<double>(program.residentBytes()) / megabyte,
                static_cast<double>(emptyProgram.residentBytes()) / megabyte,
                static_cast<double>(program.residentBytes()) / static_cast<double>(emptyProgram.residentBytes()));
}

/// What the manager window adds while it is shown, and whether anything moves while nothing is shown.
void measureManager() {
    const std::vector<std::string> environment{portVariable, "QT_QPA_PLATFORM=offscreen"};
    const double megabyte = 1024.0 * 1024.0;
    const auto residentMegabytes = [&](const std::vector<std::string>& arguments) {
        const Program program(arguments, environment);
        waitUntilListening(Clock::now());
        std::this_thread::sleep_for(std::chrono::seconds(2));
        return static_cast<double>(program.residentBytes()) / megabyte;
    };
    const double closed = residentMegabytes({pelorinPath});
    const double shown = residentMegabytes({pelorinPath, "--manager"});
    std::printf(
        "manager window:        resident %5.1f MB while it is shown, %5.1f MB as long as it was not (ratio %.2f)\n",
        shown, closed, shown / closed);

    const Program program({pelorinPath}, environment);
    waitUntilListening(Clock::now());
    std::this_thread::sleep_for(std::chrono::seconds(2));
    const int idleSeconds = repetitions(20);
    const long before = program.sleeps();
    std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
    std::printf("idle:                  its threads woke %ld times in %d seconds\n", program.sleeps() - before,
                idleSeconds);
}

std::vector<double> statusLatencies(int count) {
    std::vector<double> latencies;
    for (int index = 0; index < count; ++index) {
        const auto start = Clock::now();
        exchange(port, statusRequest);
        latencies.push_back(secondsSince(start));
    }
    return latencies;
}

void measureParked(const char* name, const std::vector<std::string>& environment) {
    const Program program({pelorinPath}, environment);
    waitUntilListening(Clock::now());
    statusLatencies(repetitions(500));
    const double idle = percentile(statusLatencies(repetitions(5000)), 0.99);
    const long before = program.residentBytes();

    std::vector<int> waiting;
    const auto start = Clock::now();
    for (int index = 0; index < parkedRequests; ++index) {
        const std::string number = std::to_string(index);
        waiting.push_back(
            sendOnly(port, postRequest("/permission",
                                       R"({"session_id":"session-)" + number +
                                           R"(","request_id":"6bdf1c0d6f5c4b6f8f1d2a3b)" + number +
                                           R"(","cwd":"/home/user/project","tool_name":"Bash","tty":"pts/3",)"
                                           R"("tool_input":{"command":"touch /home/user/project/made-by-tool"}})")));
    }
    const std::string all = "\"pendingAsks\":" + std::to_string(parkedRequests);
    while (exchange(port, statusRequest).find(all) == std::string::npos)
        std::this_thread::yield();
    const double seconds = secondsSince(start);
    const double each = static_cast<double>(program.residentBytes() - before) / parkedRequests / 1024.0;
    const double busy = percentile(statusLatencies(repetitions(5000)), 0.99);
    std::printf("%-22s %d requests parked in %.2f s, %.2f KiB resident each; p99 of /status %.0f us (idle %.0f us, "
                "ratio %.2f)\n",
                name, parkedRequests, seconds, each, busy * 1e6, idle * 1e6, busy / idle);
    for (const int descriptor : waiting)
        close(descriptor);
}

} // namespace

int main() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    measureStart("with a panel:", {portVariable, "QT_QPA_PLATFORM=offscreen"});
    measureStart("without a display:", {portVariable});
    measureManager();
    measureParked("without a display:", {portVariable});
    measureParked("with a panel:", {portVariable, "QT_QPA_PLATFORM=offscreen"});
    return 0;
}
