#include "bench/Measure.h"

#include "BeaconryKit/platform/DescriptorLimit.h"
#include "BeaconryKit/platform/Dispatch.h"
#include "BeaconryKit/service/EventServer.h"

#include <QCoreApplication>

#include <arpa/inet.h>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <unordered_map>

// Requests a second and the latency that 99 of 100 stay below, one request a connection, every one handed to the main
// queue and answered from there: our server against a bare epoll loop that makes the same hop through the same main
// loop.

namespace {

using namespace pelorin;
using namespace pelorin::bench;

/// The least that could serve a hook: no framing but the end of the head and a body of known length.
class BareServer {
public:
    BareServer() {
        m_listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        const int on = 1;
        setsockopt(m_listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bind(m_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        listen(m_listener, SOMAXCONN);
        socklen_t size = sizeof address;
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &size);
        port = ntohs(address.sin_port);
        m_wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        m_epoll = epoll_create1(EPOLL_CLOEXEC);
        watch(m_listener);
        watch(m_wake);
        m_thread = std::thread([this] { loop(); });
    }

    ~BareServer() {
        m_stopping = true;
        wake();
        m_thread.join();
        close(m_listener);
        close(m_wake);
        close(m_epoll);
    }

    std::uint16_t port = 0;

private:
    void watch(int descriptor) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, descriptor, &event);
    }

    void wake() {
        const std::uint64_t one = 1;
        (void)!write(m_wake, &one, sizeof one);
    }

    void loop() {
        epoll_event events[64];
        while (!m_stopping) {
            const int count = epoll_wait(m_epoll, events, 64, -1);
            for (int index = 0; index < count; ++index) {
                const int descriptor = events[index].data.fd;
                if (descriptor == m_listener) {
                    const int peer = accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
                    if (peer >= 0)
                        watch(peer);
                } else if (descriptor == m_wake) {
                    reply();
                } else {
                    receive(descriptor);
                }
            }
        }
    }

    void receive(int descriptor) {
        char chunk[4096];
        const ssize_t count = read(descriptor, chunk, sizeof chunk);
        if (count <= 0) {
            close(descriptor);
            return;
        }
        epoll_ctl(m_epoll, EPOLL_CTL_DEL, descriptor, nullptr);
        QMetaObject::invokeMethod(
            qApp,
            [this, descriptor] {
                {
                    const std::lock_guard lock(m_mutex);
                    m_answered.push_back(descriptor);
                }
                wake();
            },
            Qt::QueuedConnection);
    }

    void reply() {
        std::uint64_t count = 0;
        (void)!read(m_wake, &count, sizeof count);
        std::vector<int> answered;
        {
            const std::lock_guard lock(m_mutex);
            answered.swap(m_answered);
        }
        static const std::string text = "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Type: application/json\r\n"
                                        "Connection: close\r\n\r\nok";
        for (const int descriptor : answered) {
            (void)!send(descriptor, text.data(), text.size(), MSG_NOSIGNAL);
            close(descriptor);
        }
    }

    int m_listener = -1;
    int m_wake = -1;
    int m_epoll = -1;
    std::atomic<bool> m_stopping = false;
    std::mutex m_mutex;
    std::vector<int> m_answered;
    std::thread m_thread;
};

struct Rounds {
    std::vector<double> rates;
    std::vector<double> worst;

    void add(const Load& load) {
        rates.push_back(load.requestsPerSecond);
        worst.push_back(percentile(load.latencies, 0.99));
    }
};

void compare(std::uint16_t bare, std::uint16_t ours, int connections) {
    const std::string request = postRequest("/event", R"({"session_id":"s","message":"hello"})");
    const int rounds = repetitions(15);
    const int requests = repetitions(375) * 8;
    Rounds bareRounds;
    Rounds ourRounds;
    // Interleaved, so that the machine's moods fall on both.
    for (int round = 0; round < rounds; ++round) {
        bareRounds.add(load(bare, request, connections, requests));
        ourRounds.add(load(ours, request, connections, requests));
    }
    const double bareRate = median(bareRounds.rates);
    const double ourRate = median(ourRounds.rates);
    const double bareWorst = median(bareRounds.worst);
    const double ourWorst = median(ourRounds.worst);
    std::printf(
        "%2d connections: %7.0f requests/s (bare %7.0f, ratio %.2f), p99 %5.0f us (bare %5.0f us, ratio %.2f)\n",
        connections, ourRate, bareRate, ourRate / bareRate, ourWorst * 1e6, bareWorst * 1e6, ourWorst / bareWorst);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    raiseDescriptorLimit();
    const auto dispatch = makeSystemDispatch();
    EventServer server(0, true, [&](const QByteArray&, const QByteArray&, const WaitingHook& hook) {
        dispatch->mainQueue().async([hook] { hook.respond("ok"); });
    });
    if (server.start())
        return 1;
    BareServer bare;
    // The main thread runs the loop that the requests hop through; the load comes from threads of its own.
    std::thread driver([&] {
        for (const int connections : {1, 8})
            compare(bare.port, server.port(), connections);
        dispatch->mainQueue().async([] { QCoreApplication::quit(); });
    });
    const int status = QCoreApplication::exec();
    driver.join();
    return status;
}
