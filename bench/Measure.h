#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace pelorin::bench {

using Clock = std::chrono::steady_clock;

/// How often to repeat what is measured `full` times: once when PELORIN_BENCH_BRIEF is set, which shows that a
/// benchmark works and measures nothing.
int repetitions(int full);

/// Seconds since the moment.
double secondsSince(Clock::time_point start);

/// The value that the given part (0 to 1) of the values does not exceed. The values must not be empty.
double percentile(std::vector<double> values, double part);
double median(const std::vector<double>& values);

/// What a load on a server came to.
struct Load {
    double requestsPerSecond = 0;
    /// Seconds from connecting to the end of the reply, of every request.
    std::vector<double> latencies;
};

/// Sends `requests` requests to the loopback port from `connections` threads, one connection a request, and reads each
/// reply to its end. Ends the program when one has no reply.
Load load(std::uint16_t port, const std::string& request, int connections, int requests);

/// A small POST as the hooks send it.
std::string postRequest(const std::string& path, const std::string& body);

/// One exchange: the reply's bytes, empty when the connection failed.
std::string exchange(std::uint16_t port, const std::string& request);

/// A connection that has sent the request and reads nothing; the caller closes it. -1 when it failed.
int sendOnly(std::uint16_t port, const std::string& request);

} // namespace pelorin::bench
