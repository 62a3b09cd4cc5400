#include "bench/Measure.h"

#include "BeaconryKit/service/EventServer.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

// What a hook costs the CLI that waits for it, as a ratio to a shell that does nothing.

namespace {

using namespace pelorin;
using namespace pelorin::bench;

const int rounds = repetitions(101);

// The same hook as it is commonly written.
constexpr const char* scriptWithTools = R"(#!/bin/bash
payload=$(cat)
tty=$(ps -o tty= -p "$PPID" | tr -d ' ')
body=$(printf '%s' "$payload" | jq -c --arg tty "$tty" --arg term "${TERM_PROGRAM:-}" \
    '{session_id, cwd, message, notification_type, tty: $tty, term_program: $term, source: "claude"}')
curl -s -m 1 -H 'Content-Type: application/json' -d "$body" "http://127.0.0.1:$BEACONRY_PORT/event" >/dev/null 2>&1
exit 0
)";

struct Call {
    const char* name;
    std::vector<std::string> command;
    std::uint16_t port;
    /// How many requests one call is to bring about.
    int requests;
    std::vector<double> seconds = {};
    std::vector<double> processorSeconds = {};
};

double inSeconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (const std::string& text : texts)
        pointers.push_back(const_cast<char*>(text.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentFor(std::uint16_t port) {
    std::vector<std::string> environment;
    for (char** variable = environ; *variable; ++variable) {
        if (!std::string_view(*variable).starts_with("BEACONRY_PORT="))
            environment.emplace_back(*variable);
    }
    environment.push_back("BEACONRY_PORT=" + std::to_string(port));
    environment.push_back("PELORIN_HOOK_HELPER=" PELORIN_BINARY_DIR "/pelorin-hook");
    return environment;
}

// Runs the call as a CLI does: in a session of its own, with sockets for input and output, and until both the output
// and the process have ended.
void measure(Call& call, const std::string& payload) {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, input.data()) != 0 ||
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, output.data()) != 0)
        std::abort();
    const std::vector<std::string> environment = environmentFor(call.port);
    const std::vector<char*> arguments = pointersTo(call.command);
    const std::vector<char*> variables = pointersTo(environment);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);

    const auto start = Clock::now();
    pid_t process = 0;
    if (posix_spawn(&process, arguments[0], &actions, &attributes, arguments.data(), variables.data()) != 0) {
        std::fprintf(stderr, "%s does not start.\n", arguments[0]);
        std::exit(1);
    }
    close(output[1]);
    (void)!write(input[0], payload.data(), payload.size());
    shutdown(input[0], SHUT_WR);
    std::array<char, 4096> printed;
    ssize_t printedSize = 0;
    while (const ssize_t count = read(output[0], printed.data(), printed.size()))
        printedSize += count;
    int status = 0;
    rusage usage{};
    wait4(process, &status, 0, &usage);
    call.seconds.push_back(secondsSince(start));
    call.processorSeconds.push_back(inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime));

    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(input[1]);
    close(output[0]);
    if (status != 0 || printedSize != 0) {
        std::fprintf(stderr, "%s failed or printed something.\n", call.name);
        std::exit(1);
    }
}

// A port that is bound, but not listened on, refuses every connection.
std::uint16_t refusingPort() {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(descriptor, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        std::abort();
    return ntohs(address.sin_port);
}

std::filesystem::path writeScriptWithTools() {
    std::string path = (std::filesystem::temp_directory_path() / "pelorin-hook-bench-XXXXXX").string();
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0)
        std::abort();
    close(descriptor);
    std::ofstream(path) << scriptWithTools;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

} // namespace

int main() {
    std::atomic<int> received = 0;
    EventServer server(0, true, [&](const QByteArray&, const QByteArray&, const WaitingHook& hook) {
        ++received;
        hook.respond("ok");
    });
    if (server.start())
        return 1;

    std::ifstream file(PELORIN_SOURCE_DIR "/tests/fixtures/payloads/claude/tui/Notification.permission_prompt.json",
                       std::ios::binary);
    const std::string payload{std::istreambuf_iterator<char>(file), {}};
    const std::string hook = "'" PELORIN_SOURCE_DIR "/hooks/claude-notify-hook.sh'";
    const std::string helper = PELORIN_BINARY_DIR "/pelorin-hook";
    const std::filesystem::path withTools = writeScriptWithTools();
    const std::uint16_t nobody = refusingPort();

    // The first one is what all are compared with.
    std::vector<Call> calls{
        {"bash -c true", {"/bin/bash", "-c", "true"}, nobody, 0},
        {"sh -c true", {"/bin/sh", "-c", "true"}, nobody, 0},
        {"sh -c HOOK, Pelorin listens (aim 2.0)", {"/bin/sh", "-c", hook}, server.port(), 1},
        {"sh -c HOOK, nobody listens (aim 1.7)", {"/bin/sh", "-c", hook}, nobody, 0},
        {"pelorin-hook alone, Pelorin listens", {helper, "notify"}, server.port(), 1},
        {"pelorin-hook alone, nobody listens", {helper, "notify"}, nobody, 0},
        {"bash, ps, jq and curl, Pelorin listens", {"/bin/sh", "-c", withTools}, server.port(), 1},
    };
    int expected = 0;
    // Interleaved, so that the machine's moods fall on all.
    for (int round = 0; round < rounds; ++round) {
        for (Call& call : calls) {
            measure(call, payload);
            expected += call.requests;
        }
    }
    std::filesystem::remove(withTools);

    // A hook does not wait until its request has been read.
    const auto end = Clock::now();
    while (received < expected && secondsSince(end) < 5)
        std::this_thread::yield();
    if (received != expected) {
        std::fprintf(stderr, "%d of %d requests have come.\n", received.load(), expected);
        return 1;
    }

    // On a machine that is busy with other things only the quickest calls, and the processor's time, tell of the hook.
    const auto quickest = [](const Call& call) {
        return percentile(call.seconds, 0.1);
    };
    const Call& baseline = calls.front();
    std::printf("%-40s %9s %6s %9s %6s %9s %6s\n", "hook call", "median", "ratio", "p10", "ratio", "CPU", "ratio");
    for (const Call& call : calls) {
        std::printf("%-40s %6.0f us %6.2f %6.0f us %6.2f %6.0f us %6.2f\n", call.name, median(call.seconds) * 1e6,
                    median(call.seconds) / median(baseline.seconds), quickest(call) * 1e6,
                    quickest(call) / quickest(baseline), median(call.processorSeconds) * 1e6,
                    median(call.processorSeconds) / median(baseline.processorSeconds));
    }
    return 0;
}
