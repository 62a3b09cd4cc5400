#include "BeaconryHook/ServiceConnection.h"

#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace pelorin::hook {

namespace {

enum class AtClose { carryOn, reset };

void setAtClose(int descriptor, AtClose behaviour) {
    const linger option{behaviour == AtClose::reset ? 1 : 0, 0};
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &option, sizeof option);
}

// A socket that does not block; below 0 when there is none.
int openSocket() {
#ifdef __linux__
    return socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
#else
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    if (descriptor >= 0) {
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }
    return descriptor;
#endif
}

bool waitUntilWritable(int descriptor, const Deadline& deadline) {
    for (;;) {
        pollfd readiness{descriptor, POLLOUT, 0};
        const int ready = poll(&readiness, 1, deadline.remainingMilliseconds());
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

bool isConnected(int descriptor) {
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

} // namespace

std::optional<ServiceConnection> ServiceConnection::open(std::uint16_t port, const Deadline& deadline) {
    const int descriptor = openSocket();
    if (descriptor < 0)
        return std::nullopt;
    ServiceConnection connection(descriptor);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return connection;
    if (errno != EINPROGRESS || !waitUntilWritable(descriptor, deadline) || !isConnected(descriptor))
        return std::nullopt;
    return connection;
}

ServiceConnection::ServiceConnection(ServiceConnection&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1)) {
}

ServiceConnection::~ServiceConnection() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

bool ServiceConnection::send(std::string_view bytes, const Deadline& deadline) {
    while (!bytes.empty()) {
        const ssize_t count = write(m_descriptor, bytes.data(), bytes.size());
        if (count > 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (count == 0 || (errno != EINTR && (errno != EAGAIN || !waitUntilWritable(m_descriptor, deadline))))
            return false;
    }
    return true;
}

void ServiceConnection::resetUnlessAnswered() {
    setAtClose(m_descriptor, AtClose::reset);
}

Decision ServiceConnection::awaitDecision(int answerDescriptor, const Deadline& deadline) {
    std::string reply;
    char buffer[4096];
    for (;;) {
        // Nothing is asked of the answer's descriptor; that its reader has gone is reported all the same.
        pollfd readiness[] = {{m_descriptor, POLLIN, 0}, {answerDescriptor, 0, 0}};
        const int ready = poll(readiness, 2, deadline.remainingMilliseconds());
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0 || readiness[1].revents != 0)
            return Decision::ask;
        const ssize_t count = read(m_descriptor, buffer, sizeof buffer);
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (count > 0)
            reply.append(buffer, static_cast<std::size_t>(count));
        const auto decision = decisionIn(reply, count > 0 ? Connection::open : Connection::ended);
        if (!decision)
            continue;
        setAtClose(m_descriptor, AtClose::carryOn);
        return *decision;
    }
}

} // namespace pelorin::hook
