#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry::test {

/// A client on this machine, with blocking calls that give up after a while.
class LoopbackClient
{
public:
    enum class Family { V4, V6 };

    explicit LoopbackClient(Family family = Family::V4)
        : m_family(family)
        , m_socket(::socket(family == Family::V4 ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const timeval patience { 20, 0 };
        ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        ::setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &patience, sizeof patience);
        const int on = 1;
        ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~LoopbackClient() { close(); }
    LoopbackClient(LoopbackClient &&other) noexcept
        : m_family(other.m_family)
        , m_socket(std::exchange(other.m_socket, -1))
    {}
    LoopbackClient &operator=(LoopbackClient &&) = delete;

    bool connect(std::uint16_t port)
    {
        if (m_family == Family::V4) {
            sockaddr_in address {};
            address.sin_family = AF_INET;
            address.sin_port = htons(port);
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            return ::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
        }
        sockaddr_in6 address {};
        address.sin6_family = AF_INET6;
        address.sin6_port = htons(port);
        address.sin6_addr = in6addr_loopback;
        return ::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    }

    /// False when the peer wants no more.
    bool send(std::string_view bytes)
    {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }
    void endSending() { ::shutdown(m_socket, SHUT_WR); }

    /// All that comes until the peer closes. "(time-out)" or "(reset)" at its end when it didn't close in order.
    std::string receiveAll()
    {
        std::string all;
        std::array<char, 65536> piece {};
        for (;;) {
            const ssize_t got = ::recv(m_socket, piece.data(), piece.size(), 0);
            if (got == 0)
                return all;
            if (got < 0)
                return all + (errno == EAGAIN ? "(time-out)" : "(reset)");
            all.append(piece.data(), static_cast<std::size_t>(got));
        }
    }

    /// Whether neither bytes nor the peer's end have come.
    bool hearsNothing()
    {
        char byte = 0;
        return ::recv(m_socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
    }

    void close()
    {
        if (m_socket >= 0)
            ::close(std::exchange(m_socket, -1));
    }

private:
    Family m_family;
    int m_socket;
};

/// Sends the request and gives the whole answer.
inline std::string ask(std::uint16_t port, std::string_view request,
                       LoopbackClient::Family family = LoopbackClient::Family::V4)
{
    LoopbackClient client(family);
    EXPECT_TRUE(client.connect(port));
    client.send(request);
    return client.receiveAll();
}

/// A port of 127.0.0.1 on which nobody listens.
inline std::uint16_t freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ::bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    ::getsockname(socket, reinterpret_cast<sockaddr *>(&address), &length);
    ::close(socket);
    return ntohs(address.sin_port);
}

} // namespace vantry::test
