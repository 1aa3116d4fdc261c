#include "platform/linux/X11Connection.h"

#include "base/Clock.h"
#include "base/FileDescriptor.h"
#include "base/Files.h"

#include <QFile>
#include <QSysInfo>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

namespace vantry {
namespace {

using namespace Qt::StringLiterals;
using std::chrono::milliseconds;

constexpr std::string_view cookieProtocol = "MIT-MAGIC-COOKIE-1";

/// A display as "host:number.screen" tells it.
struct DisplayName
{
    std::string host; ///< Empty for a local one.
    int number { 0 };
    int screen { 0 };

    static std::optional<DisplayName> parse(const QByteArray &text)
    {
        DisplayName name;
        char *host = nullptr;
        if (text.isEmpty() || !xcb_parse_display(text.constData(), &host, &name.number, &name.screen))
            return std::nullopt;
        const X11Reply<char> owner(host);
        name.host = host;
        return name;
    }
};

/// Never waits: a server that hangs takes connections until its queue is full.
FileDescriptor connectTo(int family, const sockaddr *address, socklen_t length)
{
    FileDescriptor socket(::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket || ::connect(socket.get(), address, length) == 0)
        return socket;
    // On the way over TCP; what comes of it shows in the first exchange.
    return errno == EINPROGRESS ? std::move(socket) : FileDescriptor();
}

FileDescriptor connectLocally(int displayNumber)
{
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(displayNumber);
    // First the abstract name, which no sandbox and no cleaning of /tmp takes away.
    for (const std::string &name : { '\0' + path, path }) {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::ranges::copy(name, address.sun_path);
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        if (auto socket = connectTo(AF_UNIX, reinterpret_cast<const sockaddr *>(&address), length))
            return socket;
    }
    return {};
}

/// As for a display that a remote login forwards.
FileDescriptor connectToLoopback(int displayNumber)
{
    constexpr int firstPort = 6000;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(firstPort + displayNumber));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connectTo(AF_INET, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

FileDescriptor connectTo(const DisplayName &display)
{
    if (display.host.empty() || display.host == "unix")
        return connectLocally(display.number);
    if (display.host == "localhost" || display.host == "127.0.0.1")
        return connectToLoopback(display.number);
    return {};
}

std::optional<QByteArray> cookieFor(int displayNumber)
{
    QByteArray path = qgetenv("XAUTHORITY");
    if (path.isEmpty())
        path = qgetenv("HOME") + "/.Xauthority";
    const FileContent file = readRegularFile(path.toStdString());
    if (!file.bytes)
        return std::nullopt;
    return x11CookieFor(*file.bytes, QSysInfo::machineHostName().toStdString(), displayNumber);
}

} // namespace

std::unique_ptr<X11Connection> X11Connection::open()
{
    const auto display = DisplayName::parse(qgetenv("DISPLAY"));
    if (!display)
        return nullptr;
    FileDescriptor socket = connectTo(*display);
    if (!socket)
        return nullptr;

    std::unique_ptr<X11Connection> connection;
    try {
        connection.reset(new X11Connection(socket.get()));
    } catch (const std::system_error &) {
        return nullptr; // No more threads. Without its watch it could wait for ever.
    }
    auto cookie = cookieFor(display->number);
    std::string protocol(cookieProtocol);
    xcb_auth_info_t authority {};
    if (cookie)
        authority = { static_cast<int>(protocol.size()), protocol.data(), static_cast<int>(cookie->size()),
                      cookie->data() };
    // Takes the socket over, also when it fails.
    connection->m_connection = xcb_connect_to_fd(socket.release(), cookie ? &authority : nullptr);
    if (xcb_connection_has_error(connection->m_connection) != 0)
        return nullptr;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection->m_connection));
    for (int index = 0; index < display->screen && screens.rem > 1; ++index)
        xcb_screen_next(&screens);
    if (screens.rem < 1)
        return nullptr;
    connection->m_root = screens.data->root;
    return connection;
}

X11Connection::X11Connection(int socket)
    // A descriptor of its own: the library may close the other one at any time.
    : m_watch([this, own = fcntl(socket, F_DUPFD_CLOEXEC, 0), cancellation = Cancellation::ofThisThread()] {
        watch(own, cancellation);
    })
{}

X11Connection::~X11Connection()
{
    m_end.cancel();
    m_watch.join();
    if (m_connection)
        xcb_disconnect(m_connection);
}

void X11Connection::watch(int socket, const Cancellation *cancellation) const
{
    const FileDescriptor own(socket);
    const SystemClock clock;
    const MonotonicTime deadline = clock.monotonicNow() + timeLimit;
    std::array<pollfd, 2> watched { pollfd { m_end.descriptor(), POLLIN, 0 },
                                    pollfd { cancellation ? cancellation->descriptor() : -1, POLLIN, 0 } };
    int ready = -1;
    do {
        const auto left = std::chrono::ceil<milliseconds>(deadline - clock.monotonicNow());
        ready = poll(watched.data(), watched.size(), static_cast<int>(std::max(left, milliseconds::zero()).count()));
    } while (ready < 0 && errno == EINTR);
    if ((watched[0].revents & POLLIN) == 0)
        shutdown(own.get(), SHUT_RDWR);
}

bool X11Connection::synchronize() const
{
    const X11Reply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
    return reply != nullptr;
}

std::optional<QByteArray> x11CookieFor(std::string_view authorityFile, std::string_view hostName, int displayNumber)
{
    // One entry behind the other: a family, then four texts: address, display number, protocol, cookie. Numbers are of
    // two bytes, the higher one first; a text has its length in front.
    enum Family : unsigned { Local = 256, Wild = 65535 };
    enum Text { Address, Number, Protocol, Cookie, Texts };

    const auto takeNumber = [&]() -> std::optional<unsigned> {
        if (authorityFile.size() < 2)
            return std::nullopt;
        const unsigned number =
            static_cast<unsigned char>(authorityFile[0]) * 256U + static_cast<unsigned char>(authorityFile[1]);
        authorityFile.remove_prefix(2);
        return number;
    };
    const std::string number = std::to_string(displayNumber);
    while (const auto family = takeNumber()) {
        std::array<std::string_view, Texts> texts;
        for (std::string_view &text : texts) {
            const auto length = takeNumber();
            if (!length || *length > authorityFile.size())
                return std::nullopt;
            text = authorityFile.substr(0, *length);
            authorityFile.remove_prefix(*length);
        }
        const bool isHere = family == Wild || (family == Local && texts[Address] == hostName);
        const bool isDisplay = texts[Number].empty() || texts[Number] == number;
        if (isHere && isDisplay && texts[Protocol] == cookieProtocol)
            return QByteArray(texts[Cookie].data(), static_cast<qsizetype>(texts[Cookie].size()));
    }
    return std::nullopt;
}

} // namespace vantry
