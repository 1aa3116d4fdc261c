#include "platform/linux/LinuxPeerIdentity.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <arpa/inet.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {

namespace {

struct Request
{
    nlmsghdr header {};
    inet_diag_req_v2 body {};
};

/// One end of a connection, as sock_diag tells it.
struct Endpoint
{
    int family { AF_UNSPEC };
    std::array<__be32, 4> address {};
    __be16 port { 0 };
};

Endpoint endpointOf(const sockaddr_storage &storage)
{
    Endpoint endpoint { storage.ss_family, {}, 0 };
    if (storage.ss_family == AF_INET) {
        sockaddr_in address {};
        std::memcpy(&address, &storage, sizeof address);
        endpoint.address.front() = address.sin_addr.s_addr;
        endpoint.port = address.sin_port;
    } else if (storage.ss_family == AF_INET6) {
        sockaddr_in6 address {};
        std::memcpy(&address, &storage, sizeof address);
        std::memcpy(endpoint.address.data(), &address.sin6_addr, sizeof address.sin6_addr);
        endpoint.port = address.sin6_port;
    }
    return endpoint;
}

/// A socket is named by its own end and the one that it is connected to. A v4 connection of a v6 socket has mapped
/// addresses at both ends, which the kernel resolves by itself.
inet_diag_sockid identifierOf(const Endpoint &own, const Endpoint &connectedTo)
{
    inet_diag_sockid id {};
    id.idiag_sport = own.port;
    id.idiag_dport = connectedTo.port;
    std::memcpy(id.idiag_src, own.address.data(), sizeof id.idiag_src);
    std::memcpy(id.idiag_dst, connectedTo.address.data(), sizeof id.idiag_dst);
    id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
    id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return id;
}

/// Whether a failed system call means that this kernel or sandbox doesn't answer such questions at all, rather than
/// that something has run out.
bool meansUnavailable(int error)
{
    switch (error) {
    case EPERM:
    case EACCES:
    case ENOSYS:
    case EINVAL:
    case EOPNOTSUPP:
    case EPROTONOSUPPORT:
    case EAFNOSUPPORT:
    case ESOCKTNOSUPPORT:
    case ECONNREFUSED:
        return true;
    default:
        return false;
    }
}

} // namespace

struct LinuxPeerIdentity::Answer
{
    enum class Kind {
        Found,
        NoSuchSocket, ///< Also what a kernel says that doesn't know TCP's sockets.
        Unavailable,
        Failed,
    };

    Kind kind { Kind::Failed };
    std::uint32_t user { 0 };
    std::uint32_t inode { 0 };

    static Answer ofError(int error)
    {
        if (error == ENOENT)
            return { Kind::NoSuchSocket };
        return { meansUnavailable(error) ? Kind::Unavailable : Kind::Failed };
    }
};

LinuxPeerIdentity::LinuxPeerIdentity()
{
    ensureOpen();
}

LinuxPeerIdentity::~LinuxPeerIdentity()
{
    if (m_netlink >= 0)
        ::close(m_netlink);
}

void LinuxPeerIdentity::ensureOpen()
{
    if (m_netlink >= 0)
        return;
    m_netlink = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    m_openError = m_netlink < 0 ? errno : 0;
}

PeerIdentity::Peer LinuxPeerIdentity::identify(int acceptedSocket)
{
    ensureOpen();
    if (m_netlink < 0)
        return meansUnavailable(m_openError) ? Peer::Unknown : Peer::Foreign;

    sockaddr_storage peerAddress {};
    sockaddr_storage ownAddress {};
    socklen_t peerLength = sizeof peerAddress;
    socklen_t ownLength = sizeof ownAddress;
    if (::getpeername(acceptedSocket, reinterpret_cast<sockaddr *>(&peerAddress), &peerLength) != 0 ||
        ::getsockname(acceptedSocket, reinterpret_cast<sockaddr *>(&ownAddress), &ownLength) != 0)
        return Peer::Foreign;
    const Endpoint peer = endpointOf(peerAddress);
    const Endpoint own = endpointOf(ownAddress);
    if (peer.port == 0 || own.port == 0)
        return Peer::Foreign;

    const Answer answer = ask(peer.family, identifierOf(peer, own));
    switch (answer.kind) {
    case Answer::Kind::Found:
        // Without an inode no process holds it any more, and the user that is told means nothing.
        return answer.inode != 0 && (answer.user == 0 || answer.user == ::geteuid()) ? Peer::Trusted : Peer::Foreign;
    case Answer::Kind::NoSuchSocket:
        // Our own end exists for certain. A kernel that doesn't find that either can't be asked.
        return ask(own.family, identifierOf(own, peer)).kind == Answer::Kind::Found ? Peer::Foreign : Peer::Unknown;
    case Answer::Kind::Unavailable:
        return Peer::Unknown;
    case Answer::Kind::Failed:
        break;
    }
    return Peer::Foreign;
}

LinuxPeerIdentity::Answer LinuxPeerIdentity::ask(int family, const inet_diag_sockid &socket)
{
    Request request;
    request.header.nlmsg_len = sizeof request;
    request.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.header.nlmsg_seq = ++m_sequence;
    request.body.sdiag_family = static_cast<__u8>(family);
    request.body.sdiag_protocol = IPPROTO_TCP;
    request.body.idiag_states = ~0U;
    request.body.id = socket;

    sockaddr_nl kernel {};
    kernel.nl_family = AF_NETLINK;
    const ssize_t sent = ::sendto(m_netlink, &request, sizeof request, MSG_DONTWAIT | MSG_NOSIGNAL,
                                  reinterpret_cast<const sockaddr *>(&kernel), sizeof kernel);
    if (sent < 0)
        return Answer::ofError(errno);
    return readReply(socket);
}

LinuxPeerIdentity::Answer LinuxPeerIdentity::readReply(const inet_diag_sockid &socket)
{
    // The kernel has answered before sendto() returns. The wait and the number of tries are for the unforeseen.
    constexpr int mostReplies = 8;
    constexpr int patienceInMilliseconds = 10;
    for (int i = 0; i < mostReplies; ++i) {
        alignas(nlmsghdr) std::array<char, 1024> buffer;
        const ssize_t got = ::recv(m_netlink, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (got < 0) {
            pollfd waiting { m_netlink, POLLIN, 0 };
            if (errno == EAGAIN && ::poll(&waiting, 1, patienceInMilliseconds) > 0)
                continue;
            return Answer::ofError(errno);
        }
        nlmsghdr header {};
        if (static_cast<std::size_t>(got) < sizeof header)
            continue;
        std::memcpy(&header, buffer.data(), sizeof header);
        if (header.nlmsg_seq != m_sequence)
            continue;
        const char *const payload = buffer.data() + NLMSG_HDRLEN;
        if (header.nlmsg_type == NLMSG_ERROR && header.nlmsg_len >= NLMSG_LENGTH(sizeof(nlmsgerr))) {
            nlmsgerr error {};
            std::memcpy(&error, payload, sizeof error);
            return Answer::ofError(-error.error);
        }
        if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY || header.nlmsg_len < NLMSG_LENGTH(sizeof(inet_diag_msg)))
            return {};
        inet_diag_msg message {};
        std::memcpy(&message, payload, sizeof message);
        // Where the connection has gone, the kernel gives whoever listens on the port instead.
        if (message.idiag_state == TCP_LISTEN || message.id.idiag_dport != socket.idiag_dport)
            return { Answer::Kind::NoSuchSocket };
        return { Answer::Kind::Found, message.idiag_uid, message.idiag_inode };
    }
    return {};
}

} // namespace vantry
