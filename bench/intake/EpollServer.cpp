// The limit that the intake is measured against: a bare epoll loop that reads one request, sends the same bytes and
// closes, and looks at nothing but the length. Usage: epoll_server PORT

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <unordered_map>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr std::string_view answer { "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 2\r\n"
                                    "Connection: close\r\n\r\n{}" };

/// What has come of the requests that are not whole yet, by descriptor.
struct Partial
{
    std::string bytes;
    std::size_t whole { 0 };
};

/// How long the request will be; 0 when its header block hasn't ended yet.
std::size_t wholeLength(std::string_view bytes)
{
    const std::size_t end = bytes.find("\r\n\r\n");
    if (end == std::string_view::npos)
        return 0;
    constexpr std::string_view name { "Content-Length: " };
    const std::size_t at = bytes.substr(0, end).find(name);
    std::size_t length = 0;
    if (at != std::string_view::npos)
        std::from_chars(bytes.data() + at + name.size(), bytes.data() + end, length);
    return end + 4 + length;
}

void finish(int socket)
{
    static_cast<void>(!::send(socket, answer.data(), answer.size(), MSG_NOSIGNAL));
    ::close(socket);
}

void read(int socket, std::unordered_map<int, Partial> &partials)
{
    static std::array<char, 65536> shared;
    const auto known = partials.find(socket);
    if (known == partials.end()) {
        const ssize_t got = ::recv(socket, shared.data(), shared.size(), 0);
        if (got <= 0) {
            ::close(socket);
            return;
        }
        const std::string_view bytes { shared.data(), static_cast<std::size_t>(got) };
        const std::size_t whole = wholeLength(bytes);
        if (whole != 0 && bytes.size() >= whole)
            return finish(socket);
        Partial &partial = partials[socket];
        partial.bytes.reserve(whole);
        partial.bytes = bytes;
        partial.whole = whole;
        return;
    }
    Partial &partial = known->second;
    const ssize_t got = ::recv(socket, shared.data(), shared.size(), 0);
    if (got > 0)
        partial.bytes.append(shared.data(), static_cast<std::size_t>(got));
    if (partial.whole == 0)
        partial.whole = wholeLength(partial.bytes);
    if (got > 0 && (partial.whole == 0 || partial.bytes.size() < partial.whole))
        return;
    partials.erase(known);
    finish(socket);
}

int listenOn(std::uint16_t port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::bind(listener, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener, 4096) != 0) {
        std::perror("epoll_server");
        std::exit(1);
    }
    return listener;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    const int listener = listenOn(static_cast<std::uint16_t>(std::atoi(argv[1])));
    const int poll = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event interest {};
    interest.events = EPOLLIN;
    interest.data.fd = listener;
    ::epoll_ctl(poll, EPOLL_CTL_ADD, listener, &interest);

    std::unordered_map<int, Partial> partials;
    std::array<epoll_event, 64> events {};
    for (;;) {
        const int count = ::epoll_wait(poll, events.data(), static_cast<int>(events.size()), -1);
        for (int i = 0; i < count; ++i) {
            const int ready = events.at(static_cast<std::size_t>(i)).data.fd;
            if (ready != listener) {
                read(ready, partials);
                continue;
            }
            const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (accepted < 0)
                continue;
            interest.data.fd = accepted;
            ::epoll_ctl(poll, EPOLL_CTL_ADD, accepted, &interest);
        }
    }
}
