#pragma once

#include "tests/support/Patience.h"
#include "tests/support/TestDescriptor.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace pelorin {

/// An HTTP request as it came over a `LoopbackConnection`.
struct ReceivedRequest {
    std::string method;
    std::string path;
    /// By the names in lower case.
    std::map<std::string, std::string> headers;
    std::string body;
};

/// The accepting end of a connection of a test.
class LoopbackConnection {
public:
    /// How the other end has left.
    enum class End { closed, reset };
    friend std::ostream& operator<<(std::ostream& stream, End end) {
        return stream << (end == End::closed ? "closed" : "reset");
    }

    explicit LoopbackConnection(TestDescriptor descriptor) : m_descriptor(std::move(descriptor)) {}

    /// Reads one request with a body of the announced length. Nothing when none has come in time.
    std::optional<ReceivedRequest> readRequest(std::chrono::milliseconds limit = patience);

    /// Sends bytes as they are; false when they can't all be sent in time.
    bool send(std::string_view bytes, std::chrono::milliseconds limit = patience);

    /// Sends a complete reply in the manner of the application, and closes.
    bool reply(std::string_view body);

    /// Passes over what still comes until the other end has left. Nothing when it is still there after that time.
    std::optional<End> waitForEnd(std::chrono::milliseconds limit = patience);

    /// Ends the connection in good order.
    void close() { m_descriptor.close(); }

    /// Ends it as a process that is killed with unread bytes does.
    void reset();

private:
    TestDescriptor m_descriptor;
    std::string m_received;
};

/// A listener on a free port of the loopback interface. It accepts nothing by itself: to the other end a connection
/// that nobody has accepted yet looks like one to a program that hangs.
class LoopbackListener {
public:
    /// `backlog`: how many connections the system takes before they are accepted.
    explicit LoopbackListener(int backlog = 128);

    std::uint16_t port() const { return m_port; }

    /// The next connection; nothing when none has come in time.
    std::optional<LoopbackConnection> accept(std::chrono::milliseconds limit = patience);

    /// Listens no longer.
    void close() { m_descriptor.close(); }

private:
    TestDescriptor m_descriptor;
    std::uint16_t m_port = 0;
};

/// A port of the loopback interface that refuses every connection, and that nobody else gets meanwhile.
class RefusingPort {
public:
    RefusingPort();

    std::uint16_t port() const { return m_port; }

private:
    TestDescriptor m_descriptor;
    std::uint16_t m_port = 0;
};

} // namespace pelorin
