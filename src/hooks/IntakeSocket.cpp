#include "hooks/IntakeSocket.h"

#include <array>
#include <cerrno>
#include <utility>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {

namespace {

std::error_code lastError()
{
    return { errno, std::system_category() };
}

void check(int result)
{
    if (result != 0)
        throw std::system_error(lastError());
}

void setOption(int descriptor, int level, int option)
{
    const int on = 1;
    check(::setsockopt(descriptor, level, option, &on, sizeof on));
}

void bindToLoopback(int descriptor, IntakeSocket::Family family, std::uint16_t port)
{
    if (family == IntakeSocket::Family::V4) {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        check(::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address));
        return;
    }
    setOption(descriptor, IPPROTO_IPV6, IPV6_V6ONLY);
    sockaddr_in6 address {};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    check(::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address));
}

} // namespace

IntakeSocket::IntakeSocket(IntakeSocket &&other) noexcept
    : m_loop(other.m_loop)
    , m_descriptor(std::exchange(other.m_descriptor, -1))
    , m_waitable(std::exchange(other.m_waitable, std::nullopt))
{}

IntakeSocket IntakeSocket::listenOnLoopback(asio::io_context &loop, Family family, std::uint16_t port)
{
    constexpr int backlog = 4096;
    const int domain = family == Family::V4 ? AF_INET : AF_INET6;
    IntakeSocket socket(loop, ::socket(domain, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!socket.isOpen())
        throw std::system_error(lastError());
    // We close first, so a restart finds the port's old connections still waiting.
    setOption(socket.descriptor(), SOL_SOCKET, SO_REUSEADDR);
    bindToLoopback(socket.descriptor(), family, port);
#ifdef TCP_DEFER_ACCEPT
    // A connection is handed over together with its first bytes, or after about a second without any: one wake-up
    // instead of two.
    setOption(socket.descriptor(), IPPROTO_TCP, TCP_DEFER_ACCEPT);
#endif
    check(::listen(socket.descriptor(), backlog));
    return socket;
}

IntakeSocket IntakeSocket::accept(std::error_code &error)
{
    error.clear();
    for (;;) {
        const int descriptor = ::accept4(m_descriptor, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (descriptor >= 0)
            return IntakeSocket(*m_loop, descriptor);
        // A connection that its peer has given up meanwhile is no reason to stop.
        if (errno != EINTR && errno != ECONNABORTED && errno != EPROTO) {
            error = lastError();
            return IntakeSocket(*m_loop, descriptor);
        }
    }
}

IntakeSocket::Transfer IntakeSocket::receive(std::span<char> room)
{
    for (;;) {
        const ssize_t got = ::recv(m_descriptor, room.data(), room.size(), 0);
        if (got >= 0)
            return { static_cast<std::size_t>(got), {} };
        if (errno != EINTR)
            return { 0, lastError() };
    }
}

IntakeSocket::Transfer IntakeSocket::send(std::string_view bytes)
{
    for (;;) {
        const ssize_t sent = ::send(m_descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_MORE);
        if (sent >= 0)
            return { static_cast<std::size_t>(sent), {} };
        if (errno != EINTR)
            return { 0, lastError() };
    }
}

void IntakeSocket::shutdownSending()
{
    ::shutdown(m_descriptor, SHUT_WR);
}

void IntakeSocket::close()
{
    if (m_descriptor < 0)
        return;
    if (m_waitable) {
        std::error_code ignored;
        m_waitable->close(ignored);
        m_waitable.reset();
    } else {
        ::close(m_descriptor);
    }
    m_descriptor = -1;
}

IntakeSocket::Waitable &IntakeSocket::known()
{
    if (!m_waitable)
        m_waitable.emplace(*m_loop, m_descriptor);
    return *m_waitable;
}

} // namespace vantry
