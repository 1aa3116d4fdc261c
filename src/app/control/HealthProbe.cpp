#include "app/control/HealthProbe.h"

#include <cerrno>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {

namespace {

/// A socket, closed at its end.
class Socket
{
public:
    Socket()
        : m_descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {}
    ~Socket()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }
    [[nodiscard]] bool waitFor(short events, std::chrono::milliseconds patience) const
    {
        pollfd entry { m_descriptor, events, 0 };
        return ::poll(&entry, 1, static_cast<int>(patience.count())) == 1;
    }

private:
    int m_descriptor;
};

bool connectTo(const Socket &socket, std::uint16_t port, std::chrono::milliseconds patience)
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket.descriptor(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        if (errno != EINPROGRESS || !socket.waitFor(POLLOUT, patience))
            return false;
        int error = 0;
        socklen_t size = sizeof error;
        if (::getsockopt(socket.descriptor(), SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0)
            return false;
    }
    // The port lies where the system takes the near end's port from: with nobody listening, a connection can come to
    // meet itself.
    sockaddr_in own {};
    socklen_t size = sizeof own;
    return ::getsockname(socket.descriptor(), reinterpret_cast<sockaddr *>(&own), &size) == 0 &&
           own.sin_port != address.sin_port;
}

QByteArray exchange(const Socket &socket, std::string_view request, std::chrono::milliseconds patience)
{
    if (::send(socket.descriptor(), request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        return {};
    constexpr qsizetype longestAnswer = 4096;
    QByteArray answer;
    while (answer.size() < longestAnswer && socket.waitFor(POLLIN, patience)) {
        char buffer[1024];
        const ssize_t count = ::recv(socket.descriptor(), buffer, sizeof buffer, 0);
        if (count <= 0)
            break;
        answer.append(buffer, count);
    }
    return answer;
}

} // namespace

PortHealth probeHealth(std::uint16_t port, std::chrono::milliseconds patience)
{
    const Socket socket;
    if (!connectTo(socket, port, patience))
        return PortHealth::Free;
    const QByteArray answer = exchange(socket, "GET /health HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", patience);
    return isHealthAnswer(answer) ? PortHealth::Answers : PortHealth::Stranger;
}

bool isHealthAnswer(QByteArrayView response)
{
    return response.startsWith("HTTP/1.1 200 ") && response.endsWith("\r\n\r\n{\"status\":\"ok\"}");
}

} // namespace vantry
