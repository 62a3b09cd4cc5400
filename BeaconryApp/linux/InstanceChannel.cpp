#include "BeaconryApp/InstanceChannel.h"

#include "BeaconryBase/FileDescriptor.h"

#include <QLoggingCategory>
#include <QSocketNotifier>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <list>
#include <optional>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace pelorin {

namespace {

Q_LOGGING_CATEGORY(logInstances, "pelorin.instances", QtWarningMsg)

const QByteArray request = "show-manager ";
const QByteArray confirmation = "ok";
constexpr std::size_t longestRequest = 4096;
// More at a time only come from a program that asks and never says for what.
constexpr std::size_t mostConnections = 16;

struct Address {
    sockaddr_un value{};
    socklen_t length = 0;

    const sockaddr* pointer() const { return reinterpret_cast<const sockaddr*>(&value); }
};

// A name that begins with a zero is in no file system: it goes with the last descriptor.
Address addressOf(quint16 port) {
    const QByteArray name = "com.pelorin.manager-" + QByteArray::number(geteuid()) + '-' + QByteArray::number(port);
    Address address;
    address.value.sun_family = AF_UNIX;
    std::memcpy(address.value.sun_path + 1, name.constData(), static_cast<std::size_t>(name.size()));
    address.length =
        static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + static_cast<std::size_t>(name.size()));
    return address;
}

FileDescriptor makeSocket(int flags) {
    return FileDescriptor::aboveStandardStreams(
        FileDescriptor(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0)));
}

// Anybody may take a name or connect to it; we talk to ourselves only.
bool isOfSameUser(const FileDescriptor& connection) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(connection.number(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

bool send(const FileDescriptor& connection, const QByteArray& message) {
    return ::send(connection.number(), message.constData(), static_cast<std::size_t>(message.size()), MSG_NOSIGNAL) ==
           message.size();
}

// Empty at the connection's end and when nothing has come in time.
QByteArray receive(const FileDescriptor& connection) {
    QByteArray message(longestRequest, Qt::Uninitialized);
    const ssize_t size = recv(connection.number(), message.data(), longestRequest, 0);
    message.resize(std::max<ssize_t>(size, 0));
    return message;
}

void limitWaits(const FileDescriptor& connection, std::chrono::milliseconds limit) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(limit - seconds);
    const timeval time{seconds.count(), rest.count()};
    setsockopt(connection.number(), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
    setsockopt(connection.number(), SOL_SOCKET, SO_RCVTIMEO, &time, sizeof time);
}

class SocketChannel final : public InstanceChannel {
public:
    SocketChannel(FileDescriptor socket, Handler onShowManager)
        : m_socket(std::move(socket)),
          m_onShowManager(std::move(onShowManager)),
          m_notifier(m_socket.number(), QSocketNotifier::Read) {
        QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier, [this] { accept(); });
    }

private:
    struct Connection {
        FileDescriptor descriptor;
        // Ends with the channel's own, or once its last notice has been dealt with.
        QSocketNotifier* notifier;
    };
    using Connections = std::list<Connection>;

    void accept() {
        FileDescriptor accepted(accept4(m_socket.number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!accepted.isOpen()) {
            if (errno != EAGAIN && errno != ECONNABORTED && errno != EINTR) {
                // Nothing better comes of trying again at once, and for ever.
                qCDebug(logInstances) << "Other copies are not heard any more:" << std::strerror(errno);
                m_notifier.setEnabled(false);
            }
            return;
        }
        if (!isOfSameUser(accepted))
            return;
        if (m_connections.size() == mostConnections)
            drop(m_connections.begin());
        auto* const notifier = new QSocketNotifier(accepted.number(), QSocketNotifier::Read, &m_notifier);
        const auto connection = m_connections.insert(m_connections.end(), {std::move(accepted), notifier});
        QObject::connect(notifier, &QSocketNotifier::activated, notifier, [this, connection] { answer(connection); });
    }

    void answer(Connections::iterator connection) {
        const QByteArray message = receive(connection->descriptor);
        const bool isRequest = message.startsWith(request);
        if (isRequest)
            send(connection->descriptor, confirmation);
        drop(connection);
        if (isRequest)
            m_onShowManager(message.sliced(request.size()));
    }

    void drop(Connections::iterator connection) {
        connection->notifier->setEnabled(false);
        connection->notifier->deleteLater();
        m_connections.erase(connection);
    }

    FileDescriptor m_socket;
    Handler m_onShowManager;
    Connections m_connections;
    QSocketNotifier m_notifier;
};

} // namespace

std::unique_ptr<InstanceChannel> InstanceChannel::listen(quint16 port, Handler onShowManager) {
    if (port == 0)
        return nullptr;
    FileDescriptor socket = makeSocket(SOCK_NONBLOCK);
    const Address address = addressOf(port);
    if (!socket.isOpen() || bind(socket.number(), address.pointer(), address.length) != 0 ||
        ::listen(socket.number(), static_cast<int>(mostConnections)) != 0) {
        // The application works without; only a second copy can't reach it.
        qCDebug(logInstances) << "Other copies can't reach this one:" << std::strerror(errno);
        return nullptr;
    }
    return std::make_unique<SocketChannel>(std::move(socket), std::move(onShowManager));
}

bool InstanceChannel::askToShowManager(quint16 port, const QByteArray& activationToken,
                                       std::chrono::milliseconds limit) {
    if (port == 0)
        return false;
    const FileDescriptor connection = makeSocket(0);
    limitWaits(connection, limit);
    const Address address = addressOf(port);
    return connection.isOpen() && connect(connection.number(), address.pointer(), address.length) == 0 &&
           isOfSameUser(connection) && send(connection, request + activationToken) &&
           receive(connection) == confirmation;
}

} // namespace pelorin
