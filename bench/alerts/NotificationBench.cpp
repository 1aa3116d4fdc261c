// How long it takes from an agent's event until the desktop's notification server is called: NotificationBench
// PATH-OF-VANTRY, within a session bus of its own and a scratch home (bench/alerts/measure.sh). Plays the server.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <QProcess>
#include <QThread>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 200;
constexpr double limitInMilliseconds = 20;
constexpr std::uint16_t port = 49152;

class Server final : public QDBusVirtualObject
{
public:
    [[nodiscard]] QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() == u"Notify")
            return ++calls, connection.send(message.createReply(static_cast<uint>(calls)));
        if (message.member() == u"GetCapabilities")
            return connection.send(message.createReply(QStringList { u"actions"_s, u"body"_s, u"body-markup"_s }));
        return connection.send(message.createReply());
    }

    int calls { 0 };
};

int connected()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return socket;
    ::close(socket);
    return -1;
}

template <typename Condition>
void waitFor(Condition condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > 10'000) {
            std::fputs("waited in vain\n", stderr);
            std::exit(EXIT_FAILURE);
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
}

/// One request of a session of its own, which then is held until its connection is closed.
double measure(Server &server, int number)
{
    const QByteArray body = R"({"hook_event_name":"PermissionRequest","tool_name":"Bash","tool_detail":"make all",)"
                            R"("session_id":"s)" +
                            QByteArray::number(number) + R"("})";
    const QByteArray request =
        "POST /hook HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" +
        body;
    const int calls = server.calls;
    QElapsedTimer timer;
    timer.start();
    const int socket = connected();
    if (socket < 0 || ::send(socket, request.constData(), static_cast<std::size_t>(request.size()), 0) < 0)
        std::exit(EXIT_FAILURE);
    waitFor([&] { return server.calls > calls; });
    const double milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    ::close(socket);
    return milliseconds;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 2)
        return EXIT_FAILURE;
    auto bus = QDBusConnection::sessionBus();
    Server server;
    if (!bus.registerVirtualObject(u"/org/freedesktop/Notifications"_s, &server) ||
        !bus.registerService(u"org.freedesktop.Notifications"_s))
        return EXIT_FAILURE;
    QProcess vantry;
    vantry.setProcessChannelMode(QProcess::ForwardedChannels);
    vantry.start(QString::fromLocal8Bit(argv[1]), { u"--headless"_s });
    waitFor([] {
        const int socket = connected();
        return socket >= 0 && ::close(socket) == 0;
    });

    std::vector<double> times;
    for (int number = 0; number < rounds; ++number) {
        times.push_back(measure(server, number));
        QThread::msleep(10);
        QCoreApplication::processEvents();
    }
    vantry.terminate();
    vantry.waitForFinished();
    std::sort(times.begin(), times.end());
    std::printf("event to Notify: median %.2f ms, p99 %.2f ms (at most %.0f ms at the median)\n", times[rounds / 2],
                times[rounds * 99 / 100], limitInMilliseconds);
    return times[rounds / 2] <= limitInMilliseconds ? EXIT_SUCCESS : EXIT_FAILURE;
}
