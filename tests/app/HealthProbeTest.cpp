#include "app/control/HealthProbe.h"

#include <gmock/gmock.h>

#include <string_view>
#include <thread>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vantry {
namespace {

using namespace std::chrono_literals;

/// Listens on a port of its own, and answers one connection with the bytes of a test.
class OneAnswer
{
public:
    explicit OneAnswer(std::string_view bytes)
    {
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *generic = reinterpret_cast<sockaddr *>(&address);
        EXPECT_EQ(::bind(m_listening, generic, size), 0);
        EXPECT_EQ(::listen(m_listening, 1), 0);
        EXPECT_EQ(::getsockname(m_listening, generic, &size), 0);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this, bytes] {
            const int connection = ::accept(m_listening, nullptr, nullptr);
            char request[512];
            EXPECT_GT(::recv(connection, request, sizeof request, 0), 0);
            EXPECT_EQ(::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
            ::close(connection);
        });
    }
    ~OneAnswer()
    {
        m_thread.join();
        ::close(m_listening);
    }
    OneAnswer(const OneAnswer &) = delete;
    OneAnswer &operator=(const OneAnswer &) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

private:
    int m_listening { ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0) };
    std::uint16_t m_port { 0 };
    std::thread m_thread;
};

constexpr char health[] = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 15\r\n"
                          "Connection: close\r\n\r\n{\"status\":\"ok\"}";

TEST(HealthProbe, recognisesTheHookServer)
{
    const OneAnswer server(health);

    EXPECT_EQ(probeHealth(server.port(), 10s), PortHealth::Answers);
}

TEST(HealthProbe, tellsAnotherProgramFromIt)
{
    const OneAnswer server("HTTP/1.1 404 Not Found\r\n\r\n");

    EXPECT_EQ(probeHealth(server.port(), 10s), PortHealth::Stranger);
}

TEST(HealthProbe, tellsAProgramThatSaysNothingFromIt)
{
    const OneAnswer server("");

    EXPECT_EQ(probeHealth(server.port(), 10s), PortHealth::Stranger);
}

TEST(HealthProbe, tellsThatNobodyListens)
{
    std::uint16_t port = 0;
    {
        const OneAnswer server(health);
        port = server.port();
        EXPECT_EQ(probeHealth(port, 10s), PortHealth::Answers);
    }

    EXPECT_EQ(probeHealth(port, 10s), PortHealth::Free);
}

TEST(HealthAnswer, isTheWholeAnswerOfTheHookServer)
{
    EXPECT_TRUE(isHealthAnswer(health));
    EXPECT_FALSE(isHealthAnswer(""));
    EXPECT_FALSE(isHealthAnswer("HTTP/1.1 200 OK\r\n\r\n<html>"));
    EXPECT_FALSE(isHealthAnswer("HTTP/1.1 500 Oops\r\n\r\n{\"status\":\"ok\"}"));
}

} // namespace
} // namespace vantry
