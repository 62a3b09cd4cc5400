#include "tests/support/LoopbackListener.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

namespace pelorin {

namespace {

bool waitUntil(int descriptor, short event, const WaitLimit& limit) {
    pollfd readiness{descriptor, event, 0};
    return poll(&readiness, 1, limit.remainingMilliseconds()) > 0;
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return text;
}

std::optional<ReceivedRequest> parseRequest(const std::string& bytes) {
    const std::size_t headEnd = bytes.find("\r\n\r\n");
    if (headEnd == std::string::npos)
        return std::nullopt;
    ReceivedRequest request;
    std::size_t lineStart = bytes.find("\r\n");
    const std::string first = bytes.substr(0, lineStart);
    const std::size_t pathStart = first.find(' ') + 1;
    request.method = first.substr(0, pathStart - 1);
    request.path = first.substr(pathStart, first.find(' ', pathStart) - pathStart);
    while (lineStart < headEnd) {
        lineStart += 2;
        const std::size_t lineEnd = bytes.find("\r\n", lineStart);
        const std::string line = bytes.substr(lineStart, lineEnd - lineStart);
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos)
            request.headers[lowered(line.substr(0, colon))] = line.substr(colon + 2);
        lineStart = lineEnd;
    }
    const std::size_t size = std::strtoul(request.headers["content-length"].c_str(), nullptr, 10);
    request.body = bytes.substr(headEnd + 4);
    if (request.body.size() < size)
        return std::nullopt;
    return request;
}

TestDescriptor openSocket() {
    return TestDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

std::uint16_t bindToFreePort(const TestDescriptor& descriptor) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
        getsockname(descriptor.get(), reinterpret_cast<sockaddr*>(&address), &size) != 0)
        std::abort();
    return ntohs(address.sin_port);
}

} // namespace

std::optional<ReceivedRequest> LoopbackConnection::readRequest(std::chrono::milliseconds limit) {
    const WaitLimit end(limit);
    for (;;) {
        if (auto request = parseRequest(m_received))
            return request;
        if (!waitUntil(m_descriptor.get(), POLLIN, end))
            return std::nullopt;
        std::array<char, 65536> buffer;
        const ssize_t count = recv(m_descriptor.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0)
            return std::nullopt;
        m_received.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

bool LoopbackConnection::send(std::string_view bytes, std::chrono::milliseconds limit) {
    const WaitLimit end(limit);
    while (!bytes.empty()) {
        if (!waitUntil(m_descriptor.get(), POLLOUT, end))
            return false;
        const ssize_t count = ::send(m_descriptor.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno != EAGAIN)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

bool LoopbackConnection::reply(std::string_view body) {
    // At once: some leave with the first byte.
    const bool isSent = send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
                             "\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n" + std::string(body));
    close();
    return isSent;
}

std::optional<LoopbackConnection::End> LoopbackConnection::waitForEnd(std::chrono::milliseconds limit) {
    const WaitLimit end(limit);
    while (waitUntil(m_descriptor.get(), POLLIN, end)) {
        std::array<char, 65536> buffer;
        const ssize_t count = recv(m_descriptor.get(), buffer.data(), buffer.size(), 0);
        if (count == 0)
            return End::closed;
        if (count < 0 && errno == ECONNRESET)
            return End::reset;
        if (count < 0)
            return std::nullopt;
    }
    return std::nullopt;
}

void LoopbackConnection::reset() {
    const linger option{1, 0};
    setsockopt(m_descriptor.get(), SOL_SOCKET, SO_LINGER, &option, sizeof option);
    m_descriptor.close();
}

LoopbackListener::LoopbackListener(int backlog) : m_descriptor(openSocket()), m_port(bindToFreePort(m_descriptor)) {
    if (listen(m_descriptor.get(), backlog) != 0)
        std::abort();
}

std::optional<LoopbackConnection> LoopbackListener::accept(std::chrono::milliseconds limit) {
    if (!waitUntil(m_descriptor.get(), POLLIN, WaitLimit(limit)))
        return std::nullopt;
    TestDescriptor accepted(accept4(m_descriptor.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!accepted.isOpen())
        return std::nullopt;
    return LoopbackConnection(std::move(accepted));
}

// A port that is bound, but not listened on, refuses.
RefusingPort::RefusingPort() : m_descriptor(openSocket()), m_port(bindToFreePort(m_descriptor)) {
}

} // namespace pelorin
