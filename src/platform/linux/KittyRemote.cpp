#include "platform/linux/KittyRemote.h"

#include "base/AnyCodable.h"
#include "base/Cancellation.h"

#include <QFile>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using nlohmann::json;

namespace {

using Kind = KittyFailure::Kind;

constexpr std::string_view prefix = "\033P@kitty-cmd";
constexpr std::string_view suffix = "\033\\";
/// A list of windows carries their environments; more than this is nothing that kitty says.
constexpr std::size_t maximumAnswer = 16 * 1024 * 1024;

bool setUnixAddress(sockaddr_storage &storage, socklen_t &size, QStringView rest)
{
    QByteArray path = QFile::encodeName(rest.toString());
    const bool isAbstract = path.startsWith('@');
    if (!isAbstract && !path.startsWith('/'))
        return false;
    auto &address = reinterpret_cast<sockaddr_un &>(storage);
    if (path.size() < 2 || path.size() >= qsizetype(sizeof address.sun_path) || path.contains('\0'))
        return false;
    if (isAbstract)
        path[0] = '\0';
    address.sun_family = AF_UNIX;
    std::copy(path.cbegin(), path.cend(), address.sun_path);
    // An abstract name has no zero byte at its end.
    size = socklen_t(offsetof(sockaddr_un, sun_path)) + socklen_t(path.size()) + (isAbstract ? 0 : 1);
    return true;
}

bool setInternetAddress(sockaddr_storage &storage, socklen_t &size, QStringView rest, bool isVersion6)
{
    const qsizetype colon = rest.lastIndexOf(u':');
    if (colon < 0)
        return false;
    const QStringView host = rest.first(colon);
    bool isNumber = false;
    const ushort port = rest.sliced(colon + 1).toUShort(&isNumber);
    if (!isNumber || port == 0)
        return false;
    if (isVersion6) {
        if (host != u"localhost" && host != u"::1" && host != u"[::1]")
            return false;
        auto &address = reinterpret_cast<sockaddr_in6 &>(storage);
        address.sin6_family = AF_INET6;
        address.sin6_addr = in6addr_loopback;
        address.sin6_port = htons(port);
        size = sizeof address;
        return true;
    }
    if (host != u"localhost" && host != u"127.0.0.1")
        return false;
    auto &address = reinterpret_cast<sockaddr_in &>(storage);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    size = sizeof address;
    return true;
}

KittyFailure unreachable(int error)
{
    return { Kind::Unreachable, u"kitty can't be reached: "_s + QString::fromLocal8Bit(std::strerror(error)) };
}

KittyFailure unanswered()
{
    return { Kind::Unanswered, u"kitty did not answer in time"_s };
}

KittyFailure notUnderstood()
{
    return { Kind::Rejected, u"kitty gave an answer that can't be understood"_s };
}

/// What its own reason for not doing a thing comes to.
KittyFailure failureFrom(const std::string &error)
{
    const QString text = QString::fromStdString(error).section(u'\n', 0, 0).trimmed();
    if (text.startsWith(u"No matching"))
        return { Kind::NoWindow, u"the kitty window is gone"_s };
    // "Remote control is disabled…", "Remote control is allowed over a socket only", "The user rejected this password…"
    if (text.contains(u"remote control", Qt::CaseInsensitive) || text.contains(u"password"))
        return { Kind::Disabled, u"kitty refuses to be controlled: "_s + text };
    return { Kind::Rejected, u"kitty refused: "_s + text };
}

/// Whether the other end of a local socket is a process of ours, or of root.
bool isTrusted(int socket)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && (peer.uid == geteuid() || peer.uid == 0);
}

std::string textOf(const json &value)
{
    return value.is_string() ? value.get<std::string>() : value.is_null() ? std::string() : value.dump();
}

} // namespace

std::optional<KittyAddress> KittyAddress::parse(QStringView text)
{
    KittyAddress address;
    const qsizetype colon = text.indexOf(u':');
    if (colon < 0)
        return std::nullopt;
    const QStringView protocol = text.first(colon);
    const QStringView rest = text.sliced(colon + 1);
    bool isGood = false;
    if (protocol == u"unix")
        isGood = setUnixAddress(address.m_storage, address.m_size, rest);
    else if (protocol == u"tcp" || protocol == u"tcp6")
        isGood = setInternetAddress(address.m_storage, address.m_size, rest, protocol == u"tcp6");
    return isGood ? std::optional(address) : std::nullopt;
}

KittyRemote::KittyRemote(std::chrono::milliseconds patience)
    : m_deadline(m_clock.monotonicNow() + patience)
{}

bool KittyRemote::waitFor(short events) const
{
    const Cancellation *cancellation = Cancellation::ofThisThread();
    std::array<pollfd, 2> watched { pollfd { m_socket.get(), events, 0 },
                                    pollfd { cancellation ? cancellation->descriptor() : -1, POLLIN, 0 } };
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_deadline - m_clock.monotonicNow());
        if (left <= 0ms)
            return false;
        if (poll(watched.data(), watched.size(), static_cast<int>(left.count())) > 0)
            return watched[1].revents == 0;
    }
}

std::optional<KittyFailure> KittyRemote::connect(const KittyAddress &address)
{
    m_socket = FileDescriptor(::socket(address.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!m_socket)
        return unreachable(errno);
    while (::connect(m_socket.get(), address.get(), address.size()) != 0) {
        if (errno == EINPROGRESS)
            break;
        // A local socket whose queue is full can't be waited for: its kitty hangs, or is very busy.
        if (errno == EAGAIN)
            return unanswered();
        if (errno != EINTR)
            return unreachable(errno);
    }
    if (!waitFor(POLLOUT))
        return unanswered();
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(m_socket.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0)
        return unreachable(error);
    if (address.family() == AF_UNIX && !isTrusted(m_socket.get()))
        return KittyFailure { Kind::Unreachable, u"kitty's socket belongs to another user"_s };
    return std::nullopt;
}

std::optional<KittyFailure> KittyRemote::send(std::string_view command, const json &payload, bool wantsAnswer)
{
    // An old version is what all kitties since then accept; a newer one than its own is refused.
    const json request {
        { "cmd", command }, { "version", { 0, 14, 2 } }, { "no_response", !wantsAnswer }, { "payload", payload }
    };
    std::string bytes(prefix);
    bytes += request.dump(-1, ' ', true, json::error_handler_t::replace);
    bytes += suffix;
    for (std::size_t sent = 0; sent < bytes.size();) {
        if (!waitFor(POLLOUT))
            return unanswered();
        const ssize_t count = ::send(m_socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count > 0)
            sent += static_cast<std::size_t>(count);
        else if (errno != EAGAIN && errno != EINTR)
            return unreachable(errno);
    }
    return std::nullopt;
}

std::variant<std::string, KittyFailure> KittyRemote::receive()
{
    std::string answer;
    std::array<char, 64 * 1024> block {};
    while (!answer.ends_with(suffix)) {
        if (!waitFor(POLLIN))
            return unanswered();
        const ssize_t count = recv(m_socket.get(), block.data(), block.size(), 0);
        if (count == 0)
            return KittyFailure { Kind::Unreachable, u"kitty hung up"_s };
        if (count < 0 && errno != EAGAIN && errno != EINTR)
            return unreachable(errno);
        answer.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (answer.size() > maximumAnswer)
            return notUnderstood();
    }
    if (!answer.starts_with(prefix))
        return notUnderstood();
    return answer.substr(prefix.size(), answer.size() - prefix.size() - suffix.size());
}

std::optional<KittyFailure> KittyRemote::tell(std::string_view command, const json &payload)
{
    return send(command, payload, false);
}

std::variant<std::string, KittyFailure> KittyRemote::ask(std::string_view command, const json &payload)
{
    if (auto failure = send(command, payload, true))
        return *std::move(failure);
    auto answer = receive();
    if (std::holds_alternative<KittyFailure>(answer))
        return answer;
    const auto fields = AnyCodableMap::fromText(std::get<std::string>(answer));
    if (!fields)
        return notUnderstood();
    const auto isGood = fields->value("ok");
    if (isGood && isGood->value == json(true)) {
        const auto data = fields->value("data");
        return data ? textOf(data->value) : std::string();
    }
    const auto error = fields->value("error");
    return failureFrom(error ? textOf(error->value) : std::string());
}

} // namespace vantry
