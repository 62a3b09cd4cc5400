#include "BeaconryBase/SocketOwner.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>

namespace pelorin {

namespace {

/// The two addresses of a socket. One that listens has no remote one.
struct SocketAddresses {
    sockaddr_in local{};
    sockaddr_in remote{};
};

struct Question {
    nlmsghdr header{};
    inet_diag_req_v2 request{};
};

std::optional<sockaddr_in> addressBy(int (*lookUp)(int, sockaddr*, socklen_t*), int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (lookUp(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0 || address.sin_family != AF_INET)
        return std::nullopt;
    return address;
}

bool isFor(const inet_diag_msg& answer, const SocketAddresses& addresses) {
    // A socket of IPv6 that has reached an IPv4 address has it at the end of its own.
    const std::size_t part = answer.idiag_family == AF_INET6 ? 3 : 0;
    return answer.id.idiag_sport == addresses.local.sin_port && answer.id.idiag_dport == addresses.remote.sin_port &&
           answer.id.idiag_dst[part] == addresses.remote.sin_addr.s_addr;
}

/// What the system knows of exactly this socket.
std::optional<inet_diag_msg> ask(const FileDescriptor& system, const SocketAddresses& addresses) {
    Question question;
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    question.request.sdiag_family = AF_INET;
    question.request.sdiag_protocol = IPPROTO_TCP;
    question.request.idiag_states = ~0U;
    inet_diag_sockid& id = question.request.id;
    id.idiag_sport = addresses.local.sin_port;
    id.idiag_src[0] = addresses.local.sin_addr.s_addr;
    id.idiag_dport = addresses.remote.sin_port;
    id.idiag_dst[0] = addresses.remote.sin_addr.s_addr;
    id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (sendto(system.number(), &question, sizeof question, MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&kernel),
               sizeof kernel) != sizeof question)
        return std::nullopt;

    // The kernel has answered within the call that asked, with what was found or with an error.
    alignas(nlmsghdr) char answer[1024];
    const ssize_t size = recv(system.number(), answer, sizeof answer, MSG_DONTWAIT);
    nlmsghdr header{};
    inet_diag_msg found{};
    if (size < static_cast<ssize_t>(NLMSG_LENGTH(sizeof found)))
        return std::nullopt;
    std::memcpy(&header, answer, sizeof header);
    if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY)
        return std::nullopt;
    std::memcpy(&found, answer + NLMSG_HDRLEN, sizeof found);
    // Where the socket has gone, the system tells of whoever listens on its port.
    return isFor(found, addresses) ? std::optional(found) : std::nullopt;
}

SocketOwner ownerIn(const std::optional<inet_diag_msg>& found) {
    // A socket that has no file is one that nobody holds. The system gives it root's number.
    if (!found || found->idiag_inode == 0)
        return SocketOwner::nobody;
    return found->idiag_uid == geteuid() || found->idiag_uid == 0 ? SocketOwner::trusted : SocketOwner::anotherUser;
}

} // namespace

SocketOwners::SocketOwners() : m_system(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG)) {
}

bool SocketOwners::tellsOf(int ownSocket) const {
    const auto local = addressBy(getsockname, ownSocket);
    return local && ask(m_system, {*local, addressBy(getpeername, ownSocket).value_or(sockaddr_in())}).has_value();
}

SocketOwner SocketOwners::ofPeer(int connectedSocket) const {
    const auto own = addressBy(getsockname, connectedSocket);
    const auto peer = addressBy(getpeername, connectedSocket);
    if (!own || !peer)
        return SocketOwner::nobody;
    const SocketOwner owner = ownerIn(ask(m_system, {*peer, *own}));
    // Once the connection has been reset, another one may have the same addresses.
    return addressBy(getpeername, connectedSocket) ? owner : SocketOwner::nobody;
}

SocketOwner SocketOwners::ofListener(std::uint16_t port) const {
    SocketAddresses addresses;
    addresses.local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addresses.local.sin_port = htons(port);
    return ownerIn(ask(m_system, addresses));
}

} // namespace pelorin
