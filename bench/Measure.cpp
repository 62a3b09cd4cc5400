#include "bench/Measure.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstdlib>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace pelorin::bench {

int repetitions(int full) {
    return std::getenv("PELORIN_BENCH_BRIEF") ? 1 : full;
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double percentile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    const auto index = static_cast<std::size_t>(part * static_cast<double>(values.size() - 1) + 0.5);
    return values[index];
}

double median(const std::vector<double>& values) {
    return percentile(values, 0.5);
}

std::string postRequest(const std::string& path, const std::string& body) {
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

int sendOnly(std::uint16_t port, const std::string& request) {
    const int socketDescriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(socketDescriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        send(socketDescriptor, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size())) {
        close(socketDescriptor);
        return -1;
    }
    return socketDescriptor;
}

std::string exchange(std::uint16_t port, const std::string& request) {
    const int socketDescriptor = sendOnly(port, request);
    if (socketDescriptor < 0)
        return {};
    std::string reply;
    char chunk[4096];
    for (ssize_t count = 0; (count = read(socketDescriptor, chunk, sizeof chunk)) > 0;)
        reply.append(chunk, static_cast<std::size_t>(count));
    close(socketDescriptor);
    return reply;
}

Load load(std::uint16_t port, const std::string& request, int connections, int requests) {
    std::vector<std::vector<double>> latencies(static_cast<std::size_t>(connections));
    std::vector<std::thread> threads;
    const auto start = Clock::now();
    for (auto& own : latencies) {
        threads.emplace_back([&own, port, &request, count = requests / connections] {
            own.reserve(static_cast<std::size_t>(count));
            for (int index = 0; index < count; ++index) {
                const auto begin = Clock::now();
                if (exchange(port, request).empty()) {
                    std::fputs("A request has no reply.\n", stderr);
                    std::exit(1);
                }
                own.push_back(secondsSince(begin));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const double seconds = secondsSince(start);
    Load result;
    for (const auto& own : latencies)
        result.latencies.insert(result.latencies.end(), own.begin(), own.end());
    result.requestsPerSecond = static_cast<double>(result.latencies.size()) / seconds;
    return result;
}

} // namespace pelorin::bench
