#include "BeaconryHook/ServiceConnection.h"

#include "BeaconryBase/SocketOwner.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace pelorin::hook {

namespace {

// For the whole of a question for the status, which takes no time where somebody serves. In milliseconds.
constexpr int statusWait = 1'000;

enum class AtClose { carryOn, reset };

void setAtClose(const FileDescriptor& socket, AtClose behaviour) {
    const linger option{behaviour == AtClose::reset ? 1 : 0, 0};
    setsockopt(socket.number(), SOL_SOCKET, SO_LINGER, &option, sizeof option);
}

// A socket that does not block; a closed one when the system has no more.
FileDescriptor openSocket() {
#ifdef __linux__
    return FileDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
#else
    FileDescriptor descriptor(socket(AF_INET, SOCK_STREAM, 0));
    if (descriptor.isOpen()) {
        fcntl(descriptor.number(), F_SETFD, FD_CLOEXEC);
        makeNonBlocking(descriptor);
    }
    return descriptor;
#endif
}

bool waitUntil(short event, const FileDescriptor& socket, const Deadline& deadline) {
    for (;;) {
        pollfd readiness{socket.number(), event, 0};
        const int ready = poll(&readiness, 1, deadline.remainingMilliseconds());
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

bool isConnected(const FileDescriptor& socket) {
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket.number(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

// Nobody else is to read what a CLI asks for, or to allow it.
bool isTrusted(const FileDescriptor& socket, std::uint16_t port) {
    const SocketOwners owners;
    switch (owners.ofListener(port)) {
    case SocketOwner::trusted:
        // Nobody has the other end yet, or whoever listened when it was taken.
        return owners.ofPeer(socket.number()) != SocketOwner::anotherUser;
    case SocketOwner::anotherUser:
        return false;
    case SocketOwner::nobody:
        break;
    }
    return !owners.tellsOf(socket.number());
}

} // namespace

std::optional<ServiceConnection> ServiceConnection::open(std::uint16_t port, const Deadline& deadline) {
    ServiceConnection connection(openSocket(), port);
    const FileDescriptor& socket = connection.m_socket;
    if (!socket.isOpen())
        return std::nullopt;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (connect(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
        (errno != EINPROGRESS || !waitUntil(POLLOUT, socket, deadline) || !isConnected(socket)))
        return std::nullopt;
    if (!isTrusted(socket, port))
        return std::nullopt;
    return connection;
}

bool ServiceConnection::send(std::string_view bytes, const Deadline& deadline) {
    while (!bytes.empty()) {
        const ssize_t count = write(m_socket.number(), bytes.data(), bytes.size());
        if (count > 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (count == 0 || (errno != EINTR && (errno != EAGAIN || !waitUntil(POLLOUT, m_socket, deadline))))
            return false;
    }
    return true;
}

void ServiceConnection::resetUnlessAnswered() {
    setAtClose(m_socket, AtClose::reset);
}

void ServiceConnection::awaitReply(const Deadline& deadline) {
    waitUntil(POLLIN, m_socket, deadline);
}

std::optional<ServiceConnection> ServiceConnection::askForStatus() const {
    const auto statusDeadline = Deadline::afterMilliseconds(statusWait);
    auto connection = open(m_port, statusDeadline);
    if (connection && !connection->send(statusRequest, statusDeadline))
        return std::nullopt;
    return connection;
}

Decision ServiceConnection::awaitDecision(int answerDescriptor, const Deadline& deadline, int silence) {
    std::string reply;
    char buffer[4096];
    // There as long as it is not answered.
    std::optional<ServiceConnection> status;
    auto patience = Deadline::afterMilliseconds(silence);
    for (;;) {
        if (m_watch && m_watch->isAnswered())
            return Decision::ask;
        // Nothing is asked of the answer's descriptor; that its reader has gone is reported all the same.
        pollfd readiness[] = {{m_socket.number(), POLLIN, 0},
                              {answerDescriptor, 0, 0},
                              {status ? status->m_socket.number() : -1, POLLIN, 0},
                              {m_watch ? m_watch->changes() : -1, POLLIN, 0}};
        const int ready =
            poll(readiness, 4, std::min(deadline.remainingMilliseconds(), patience.remainingMilliseconds()));
        if (ready < 0 && errno == EINTR)
            continue;
        const bool isOver = ready == 0 && deadline.remainingMilliseconds() == 0;
        if (ready < 0 || readiness[1].revents != 0 || isOver)
            return Decision::ask;
        if (readiness[2].revents != 0)
            status.reset();
        if (ready == 0 && patience.remainingMilliseconds() == 0) {
            if (status || !(status = askForStatus()))
                return Decision::ask;
            patience = Deadline::afterMilliseconds(silence);
        }
        if (readiness[0].revents == 0)
            continue;
        const ssize_t count = read(m_socket.number(), buffer, sizeof buffer);
        if (count < 0 && (errno == EINTR || errno == EAGAIN))
            continue;
        if (count > 0)
            reply.append(buffer, static_cast<std::size_t>(count));
        const auto decision = decisionIn(reply, count > 0 ? Connection::open : Connection::ended);
        if (!decision)
            continue;
        setAtClose(m_socket, AtClose::carryOn);
        return *decision;
    }
}

} // namespace pelorin::hook
