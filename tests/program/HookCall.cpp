#include "HookCall.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <utility>

namespace vantry::test {

namespace {

/// With nobody listening the kernel may connect a socket to itself, since the port lies in the ephemeral range.
bool isConnectedToItself(int socket)
{
    sockaddr_in own {};
    sockaddr_in peer {};
    socklen_t ownSize = sizeof own;
    socklen_t peerSize = sizeof peer;
    getsockname(socket, reinterpret_cast<sockaddr *>(&own), &ownSize);
    getpeername(socket, reinterpret_cast<sockaddr *>(&peer), &peerSize);
    return own.sin_port == peer.sin_port && own.sin_addr.s_addr == peer.sin_addr.s_addr;
}

int connectToPort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(HookCall::port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 && !isConnectedToItself(socket))
        return socket;
    ::close(socket);
    return -1;
}

} // namespace

HookCall::HookCall(std::string_view bytes)
    : m_socket(connectToPort())
{
    send(bytes);
}

HookCall::~HookCall()
{
    hangUp();
}

HookCall::HookCall(HookCall &&other) noexcept
    : m_socket(std::exchange(other.m_socket, -1))
{}

std::string HookCall::request(std::string_view body, std::string_view moreHeaders)
{
    std::string request = "POST /hook HTTP/1.1\r\nHost: 127.0.0.1:49152\r\nContent-Length: ";
    request += std::to_string(body.size());
    request += "\r\n";
    request += moreHeaders;
    request += "Content-Type: application/json\r\n\r\n";
    request += body;
    return request;
}

void HookCall::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto sent = ::send(m_socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void HookCall::finishSending()
{
    ::shutdown(m_socket, SHUT_WR);
}

std::string HookCall::response(std::chrono::milliseconds within)
{
    std::string received;
    const auto deadline = std::chrono::steady_clock::now() + within;
    while (m_socket >= 0) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd waiting { m_socket, POLLIN, 0 };
        if (left.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(left.count())) <= 0)
            break;
        char buffer[4096];
        const auto count = ::recv(m_socket, buffer, sizeof buffer, 0);
        if (count <= 0)
            break;
        received.append(buffer, static_cast<std::size_t>(count));
    }
    return received;
}

std::string HookCall::body()
{
    const std::string all = response();
    const auto end = all.find("\r\n\r\n");
    return end == std::string::npos ? all : all.substr(end + 4);
}

bool HookCall::isWaiting() const
{
    pollfd waiting { m_socket, POLLIN, 0 };
    return m_socket >= 0 && ::poll(&waiting, 1, 0) == 0;
}

void HookCall::hangUp()
{
    if (m_socket >= 0)
        ::close(std::exchange(m_socket, -1));
}

bool isHealthy()
{
    return HookCall("GET /health HTTP/1.1\r\nHost: 127.0.0.1:49152\r\n\r\n").body() == R"({"status":"ok"})";
}

} // namespace vantry::test
