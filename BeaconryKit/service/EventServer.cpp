#include "BeaconryKit/service/EventServer.h"

#include "BeaconryBase/SocketOwner.h"

#include "BeaconryKit/platform/ThreadName.h"
#include "BeaconryKit/service/RequestFraming.h"

#include <QLoggingCategory>
#include <asio.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <fcntl.h>
#include <future>
#include <list>
#include <sys/resource.h>
#include <thread>
#include <unordered_set>
#include <utility>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(serverLog, "pelorin.server", QtCriticalMsg)

constexpr auto startUpWait = std::chrono::seconds(3);
constexpr std::size_t readChunk = 65536;
// What all requests that are not complete may keep together.
constexpr qsizetype incompleteBytesLimit = 64'000'000;
// How long the listener rests after the process ran out of descriptors, unless one of its own connections ends sooner.
// A hook's request is complete long before: what is not after this time may have to make room.
constexpr auto descriptorPause = std::chrono::milliseconds(200);
// As many descriptors, or an eighth of all, are left to the rest of the program. Some of it cannot go on without.
constexpr rlim_t descriptorReserve = 64;

bool isShortage(const asio::error_code& error) {
    return error == asio::error::no_descriptors || error == asio::error::no_buffer_space ||
           error == asio::error::no_memory || error == std::errc::too_many_files_open_in_system;
}

/// The first number of a descriptor that belongs to the reserve. The system gives out the lowest that is free.
int firstReservedDescriptor() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur > INT_MAX)
        return INT_MAX;
    return static_cast<int>(limit.rlim_cur - std::min(descriptorReserve, limit.rlim_cur / 8));
}

/// No program that anybody starts is to hold the port or a hook's connection open. Asio leaves that to us.
template <class Socket>
void closeOnExec(Socket& socket) {
    fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
}

} // namespace

/// What the server's thread works on. Shared with the connections, which may be answered after the server has gone.
class EventServer::Core : public std::enable_shared_from_this<EventServer::Core> {
public:
    Core(quint16 port, bool loopbackOnly, Handler handler)
        : m_handler(std::move(handler)),
          m_endpoint(loopbackOnly ? asio::ip::address_v4::loopback() : asio::ip::address_v4::any(), port) {}

    std::optional<ServerError> start();
    void stopListening();
    void shutDown();

    quint16 port() const { return m_port; }
    int connectionCount() const { return m_connectionCount; }

private:
    class Connection;

    using Connections = std::list<Connection*>;

    bool listen();
    void accept();
    void take(asio::ip::tcp::socket socket);
    bool isTrusted(asio::ip::tcp::socket& socket);
    bool hasRoom();
    bool makeRoom();
    void acceptIfThereIsRoom();
    void pauseAccepting();
    void resumeAccepting();
    void boundIncompleteBytes();
    void closed(Connection* connection);

    Handler m_handler;
    asio::ip::tcp::endpoint m_endpoint;
    asio::io_context m_context{1};
    asio::executor_work_guard<asio::io_context::executor_type> m_keepRunning = asio::make_work_guard(m_context);
    asio::ip::tcp::acceptor m_acceptor{m_context};
    asio::steady_timer m_pause{m_context};
    bool m_isPaused = false;
    // Bytes are read here first and then kept by the connection, which so needs no memory while it waits.
    std::array<char, readChunk> m_chunk{};
    std::unordered_set<Connection*> m_connections;
    // Those whose request is not complete, the oldest first, and what they keep of it.
    Connections m_incomplete;
    qsizetype m_incompleteBytes = 0;
    SocketOwners m_owners;
    bool m_systemTellsOwners = false;
    std::atomic<int> m_connectionCount = 0;
    std::atomic<quint16> m_port = 0;
    std::thread m_thread;
};

/// One connection, from accept to the end of its reply. Kept alive by the operation that it waits for; works on the
/// server's queue only.
class EventServer::Core::Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(std::shared_ptr<Core> core, asio::ip::tcp::socket socket)
        : m_core(std::move(core)),
          m_socket(std::move(socket)),
          m_place(m_core->m_incomplete.insert(m_core->m_incomplete.end(), this)) {}

    void receive() {
        m_socket.async_wait(asio::socket_base::wait_read, [self = shared_from_this()](const asio::error_code& error) {
            if (!self->isIncomplete())
                return;
            if (error)
                self->close();
            else
                self->readAvailable();
            if (self->isIncomplete())
                self->receive();
        });
    }

    bool isIncomplete() const { return m_framing != nullptr; }
    bool hasHadTime() const { return std::chrono::steady_clock::now() - m_start >= descriptorPause; }

    /// Takes what has come, which may end the connection or complete its request.
    void readAvailable() {
        while (isIncomplete()) {
            asio::error_code error;
            const std::size_t count = m_socket.read_some(asio::buffer(m_core->m_chunk), error);
            if (error == asio::error::would_block)
                return;
            if (error) {
                qCDebug(serverLog) << "A peer left before its request was complete:" << error.message().c_str();
                close();
                return;
            }
            append({m_core->m_chunk.data(), static_cast<qsizetype>(count)});
        }
    }

    void close() {
        if (!m_socket.is_open())
            return;
        leaveIncomplete();
        asio::error_code ignored;
        m_socket.close(ignored);
        m_core->closed(this);
    }

private:
    /// Tells the connection that nobody can answer it any more: dies with the last copy of what answers.
    class RightToAnswer {
    public:
        explicit RightToAnswer(std::weak_ptr<Connection> connection) : m_connection(std::move(connection)) {}
        ~RightToAnswer() {
            if (const auto connection = m_connection.lock())
                connection->post([](Connection& target) { target.closeWhenPeerCloses(); });
        }
        RightToAnswer(const RightToAnswer&) = delete;
        RightToAnswer& operator=(const RightToAnswer&) = delete;

        std::shared_ptr<Connection> connection() const { return m_connection.lock(); }

    private:
        const std::weak_ptr<Connection> m_connection;
    };

    void append(QByteArrayView bytes) {
        const RequestFraming::Progress progress = m_framing->append(bytes);
        switch (progress) {
        case RequestFraming::Progress::incomplete:
            m_core->m_incompleteBytes += m_framing->size() - std::exchange(m_counted, m_framing->size());
            m_core->boundIncompleteBytes();
            break;
        case RequestFraming::Progress::refused:
            qCDebug(serverLog) << "Closed a request that was too long or came from a web page.";
            close();
            break;
        case RequestFraming::Progress::complete:
            handle();
            break;
        }
    }

    void leaveIncomplete() {
        if (!isIncomplete())
            return;
        m_framing.reset();
        m_core->m_incomplete.erase(m_place);
        m_core->m_incompleteBytes -= m_counted;
    }

    void handle() {
        const HookRequest request = m_framing->takeRequest();
        leaveIncomplete();
        watchForReset();
        const std::weak_ptr<Connection> self = weak_from_this();
        m_core->m_handler(request.path, request.body,
                          {.respond =
                               [right = std::make_shared<RightToAnswer>(self)](const QByteArray& body) {
                                   if (const auto connection = right->connection())
                                       connection->post([body](Connection& target) { target.send(body); });
                               },
                           .whenGone =
                               [self](std::function<void()> onGone) {
                                   if (const auto connection = self.lock())
                                       connection->post([onGone = std::move(onGone)](Connection& target) mutable {
                                           target.tellWhenGone(std::move(onGone));
                                       });
                                   else
                                       onGone();
                               }});
    }

    template <class Work>
    void post(Work work) {
        asio::post(m_socket.get_executor(),
                   [self = shared_from_this(), work = std::move(work)]() mutable { work(*self); });
    }

    /// The error readiness comes for a reset, but not for a peer that has only ended its sending side.
    void watchForReset() {
        m_socket.async_wait(asio::socket_base::wait_error, [self = shared_from_this()](const asio::error_code& error) {
            if (error)
                return;
            if (self->wasReset()) {
                self->peerHasGone();
                return;
            }
            // An urgent byte wakes us too, and would again at once as long as nobody takes it.
            char urgent = 0;
            recv(self->m_socket.native_handle(), &urgent, 1, MSG_OOB);
            self->watchForReset();
        });
    }

    /// Not before: as long as somebody may answer, a peer that has ended its sending side is waiting.
    void closeWhenPeerCloses() {
        if (m_isAnswered || !m_socket.is_open())
            return;
        m_socket.async_wait(asio::socket_base::wait_read, [self = shared_from_this()](const asio::error_code& error) {
            if (error)
                return;
            const asio::error_code end = self->discardSurplus();
            if (!end || end == asio::error::would_block)
                self->closeWhenPeerCloses();
            else
                self->peerHasGone();
        });
    }

    bool wasReset() {
        int pending = 0;
        socklen_t size = sizeof pending;
        return getsockopt(m_socket.native_handle(), SOL_SOCKET, SO_ERROR, &pending, &size) != 0 || pending != 0;
    }

    void tellWhenGone(std::function<void()> onGone) {
        if (m_isAnswered)
            return;
        if (m_socket.is_open())
            m_onGone = std::move(onGone);
        else
            onGone();
    }

    void peerHasGone() {
        if (!m_socket.is_open() || m_isAnswered)
            return;
        const auto onGone = std::exchange(m_onGone, nullptr);
        close();
        if (onGone)
            onGone();
    }

    void send(const QByteArray& body) {
        if (std::exchange(m_isAnswered, true) || !m_socket.is_open())
            return;
        m_onGone = nullptr;
        m_reply = "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) +
                  "\r\nContent-Type: application/json\r\nConnection: close\r\n\r\n" + body;
        asio::async_write(m_socket, asio::buffer(m_reply.constData(), static_cast<std::size_t>(m_reply.size())),
                          [self = shared_from_this()](const asio::error_code&, std::size_t) {
                              self->discardSurplus();
                              self->close();
                          });
    }

    /// Closing a socket with unread bytes would reset it, and the peer could lose the reply. Gives what stopped it.
    asio::error_code discardSurplus() {
        asio::error_code error;
        for (int chunks = 0; chunks < 16 && !error; ++chunks)
            m_socket.read_some(asio::buffer(m_core->m_chunk), error);
        return error;
    }

    std::shared_ptr<Core> m_core;
    asio::ip::tcp::socket m_socket;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
    // Released once the request is complete. Until then the connection has a place among the incomplete ones.
    std::unique_ptr<RequestFraming> m_framing = std::make_unique<RequestFraming>();
    qsizetype m_counted = 0;
    const Connections::iterator m_place;
    std::function<void()> m_onGone;
    QByteArray m_reply;
    bool m_isAnswered = false;
};

std::optional<EventServer::ServerError> EventServer::Core::start() {
    auto ready = std::make_shared<std::promise<bool>>();
    std::future<bool> isReady = ready->get_future();
    m_thread = std::thread([self = shared_from_this(), ready] {
        setCurrentThreadName("com.pelorin.server");
        ready->set_value(self->listen());
        self->m_context.run();
    });
    if (isReady.wait_for(startUpWait) == std::future_status::ready && isReady.get())
        return std::nullopt;
    return ServerError::notReady;
}

bool EventServer::Core::listen() {
    asio::error_code error;
    m_acceptor.open(m_endpoint.protocol(), error);
    if (!error)
        closeOnExec(m_acceptor);
    // A restarted application can bind its port at once; a port that another one listens on stays refused.
    if (!error)
        m_acceptor.set_option(asio::socket_base::reuse_address(true), error);
    if (!error)
        m_acceptor.bind(m_endpoint, error);
    if (!error)
        m_acceptor.listen(asio::socket_base::max_listen_connections, error);
    if (!error)
        m_acceptor.non_blocking(true, error);
    if (!error)
        m_port = m_acceptor.local_endpoint(error).port();
    if (error) {
        qCDebug(serverLog) << "Cannot listen:" << error.message().c_str();
        asio::error_code ignored;
        m_acceptor.close(ignored);
        return false;
    }
    m_systemTellsOwners = m_owners.tellsOf(m_acceptor.native_handle());
    if (!m_systemTellsOwners)
        qCDebug(serverLog) << "The system does not tell whose a connection is: every user of this machine is served.";
    accept();
    return true;
}

void EventServer::Core::accept() {
    m_acceptor.async_accept([this](const asio::error_code& error, asio::ip::tcp::socket socket) {
        if (error == asio::error::operation_aborted || !m_acceptor.is_open())
            return;
        if (error && isShortage(error)) {
            if (makeRoom())
                accept();
            else
                pauseAccepting();
            return;
        }
        const bool isReserved = !error && socket.native_handle() >= firstReservedDescriptor();
        if (!error)
            take(std::move(socket));
        if (isReserved)
            acceptIfThereIsRoom();
        else
            accept();
    });
}

void EventServer::Core::take(asio::ip::tcp::socket socket) {
    closeOnExec(socket);
    if (!isTrusted(socket))
        return;
    asio::error_code ignored;
    socket.non_blocking(true, ignored);
    auto connection = std::make_shared<Connection>(shared_from_this(), std::move(socket));
    m_connections.insert(connection.get());
    ++m_connectionCount;
    connection->receive();
}

bool EventServer::Core::isTrusted(asio::ip::tcp::socket& socket) {
    if (!m_systemTellsOwners || m_owners.ofPeer(socket.native_handle()) == SocketOwner::trusted)
        return true;
    qCDebug(serverLog) << "Closed a connection that is not this user's.";
    return false;
}

/// Whether the next descriptor that the process gets is none of the reserve.
bool EventServer::Core::hasRoom() {
    const FileDescriptor next(fcntl(m_acceptor.native_handle(), F_DUPFD_CLOEXEC, 0));
    return next.isOpen() && next.number() < firstReservedDescriptor();
}

/// Closes the oldest of the connections that could have brought their request and have not.
bool EventServer::Core::makeRoom() {
    while (!m_incomplete.empty()) {
        const auto oldest = m_incomplete.front()->shared_from_this();
        if (!oldest->hasHadTime())
            return false;
        // The rest of its request may have come, and only not been read.
        oldest->readAvailable();
        if (!oldest->isIncomplete())
            continue;
        qCDebug(serverLog) << "Closed the oldest incomplete request to make room.";
        oldest->close();
        return true;
    }
    return false;
}

void EventServer::Core::acceptIfThereIsRoom() {
    if (hasRoom() || makeRoom())
        accept();
    else
        pauseAccepting();
}

void EventServer::Core::boundIncompleteBytes() {
    while (m_incompleteBytes > incompleteBytesLimit) {
        qCDebug(serverLog) << "Closed the oldest incomplete request: all together have kept too much.";
        m_incomplete.front()->close();
    }
}

void EventServer::Core::pauseAccepting() {
    qCDebug(serverLog) << "Out of descriptors; new hooks wait.";
    m_isPaused = true;
    m_pause.expires_after(descriptorPause);
    m_pause.async_wait([this](const asio::error_code& error) {
        if (!error)
            resumeAccepting();
    });
}

void EventServer::Core::resumeAccepting() {
    if (!std::exchange(m_isPaused, false) || !m_acceptor.is_open())
        return;
    m_pause.cancel();
    acceptIfThereIsRoom();
}

void EventServer::Core::closed(Connection* connection) {
    if (m_connections.erase(connection) == 0)
        return;
    --m_connectionCount;
    resumeAccepting();
}

void EventServer::Core::stopListening() {
    asio::post(m_context, [self = shared_from_this()] {
        asio::error_code ignored;
        self->m_acceptor.close(ignored);
        self->m_pause.cancel();
    });
}

void EventServer::Core::shutDown() {
    if (!m_thread.joinable())
        return;
    asio::post(m_context, [self = shared_from_this()] {
        asio::error_code ignored;
        self->m_acceptor.close(ignored);
        self->m_pause.cancel();
        while (!self->m_connections.empty())
            (*self->m_connections.begin())->close();
        // With nothing left to wait for, the thread ends.
        self->m_keepRunning.reset();
    });
    m_thread.join();
}

EventServer::EventServer(quint16 port, bool loopbackOnly, Handler handler)
    : m_core(std::make_shared<Core>(port, loopbackOnly, std::move(handler))) {
}

EventServer::~EventServer() {
    m_core->shutDown();
}

std::optional<EventServer::ServerError> EventServer::start() {
    return m_core->start();
}

void EventServer::stop() {
    m_core->stopListening();
}

quint16 EventServer::port() const {
    return m_core->port();
}

int EventServer::connectionCount() const {
    return m_core->connectionCount();
}

QString description(EventServer::ServerError) {
    return QStringLiteral("notReady");
}

} // namespace pelorin
