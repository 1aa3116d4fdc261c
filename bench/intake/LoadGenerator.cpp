// Posts the same event again and again, each on a connection of its own, and tells how long that took.
// Usage: load_generator PORT BODY_BYTES REQUESTS AT_A_TIME [hold | parallel ...]
// Prints "p50_us p99_us wall_us_per_request". With "hold" it opens REQUESTS permission requests, prints a line when all
// are sent, and keeps them open until its standard input ends.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using SteadyClock = std::chrono::steady_clock;

/// An event like those that agents send: some short fields and a map, filled up to the size that is asked for.
std::string requestOf(std::size_t bodyBytes, std::string_view eventName)
{
    std::string body =
        R"({"session_id":"0b8a2c54-6f0e-4f6e-9a53-3f5b0c6f1d2e","transcript_path":)"
        R"("/home/user/.claude/projects/-home-user-project/0b8a2c54-6f0e-4f6e-9a53-3f5b0c6f1d2e.jsonl",)"
        R"("cwd":"/home/user/project","permission_mode":"default","hook_event_name":")" +
        std::string(eventName) +
        R"(","tool_name":"Bash","tool_input":{"command":"ls -la","description":"List files","timeout":120000},)"
        R"("tool_use_id":"toolu_01ABCDEFGHIJKLMNOPQRSTUV","terminal_type":"kitty-window","terminal_session_id":)"
        R"("unix:/tmp/kitty-1234,7","pid":12345,"shell_pid":12300,"project_dir":"/home/user/project","tool_detail":)"
        R"("ls -la","permission_suggestions":[{"type":"addRules","behavior":"allow","rules":[]}],)"
        R"("tool_response":{"stdout":")";
    const std::string end = R"(","stderr":"","interrupted":false,"isImage":false}})";
    // Lines as a shell prints them.
    constexpr std::string_view line { R"(drwxr-xr-x 12 user user  4096 Nov 21 10:15 a-folder-of-mine\n)" };
    while (body.size() + line.size() + end.size() <= bodyBytes)
        body += line;
    body += end;
    return "POST /hook HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\nContent-Type: application/json\r\n\r\n" + body;
}

int connectTo(std::uint16_t port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        std::perror("load_generator");
        std::exit(1);
    }
    return socket;
}

void sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0)
            std::exit(1);
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

double postOnce(std::uint16_t port, std::string_view request)
{
    const auto begin = SteadyClock::now();
    const int socket = connectTo(port);
    sendAll(socket, request);
    std::array<char, 4096> answer {};
    std::size_t length = 0;
    for (ssize_t got = 1; got > 0; length += static_cast<std::size_t>(std::max<ssize_t>(got, 0)))
        got = ::recv(socket, answer.data(), answer.size(), 0);
    ::close(socket);
    if (length == 0)
        std::exit(1);
    return std::chrono::duration<double, std::micro>(SteadyClock::now() - begin).count();
}

std::vector<double> postMany(std::uint16_t port, std::string_view request, int count)
{
    std::vector<double> times;
    for (int i = 0; i < count; ++i)
        times.push_back(postOnce(port, request));
    return times;
}

void hold(std::uint16_t port, std::string_view request, int count)
{
    rlimit limit {};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
    for (int i = 0; i < count; ++i)
        sendAll(connectTo(port), request);
    std::puts("sent");
    std::fflush(stdout);
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) > 0) {
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 5)
        return 2;
    const auto port = static_cast<std::uint16_t>(std::atoi(argv[1]));
    const auto bodyBytes = static_cast<std::size_t>(std::atoi(argv[2]));
    const int count = std::atoi(argv[3]);
    const int atATime = std::atoi(argv[4]);
    if (argc > 5) {
        hold(port, requestOf(bodyBytes, "PermissionRequest"), count);
        return 0;
    }

    const std::string request = requestOf(bodyBytes, "PostToolUse");
    const auto begin = SteadyClock::now();
    std::vector<std::vector<double>> parts(static_cast<std::size_t>(atATime));
    std::vector<std::thread> threads;
    for (auto &part : parts)
        threads.emplace_back([&] { part = postMany(port, request, count / atATime); });
    for (std::thread &thread : threads)
        thread.join();
    const double wall = std::chrono::duration<double, std::micro>(SteadyClock::now() - begin).count();

    std::vector<double> times;
    for (const auto &part : parts)
        times.insert(times.end(), part.begin(), part.end());
    std::ranges::sort(times);
    std::printf("%.1f %.1f %.1f\n", times.at(times.size() / 2), times.at(times.size() * 99 / 100),
                wall / static_cast<double>(times.size()));
}
