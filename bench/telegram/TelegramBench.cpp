// What Telegram's polling costs: the CPU for 10,000 updates in one answer, and wake-ups while a poll waits for one.
// Plays the server in a process of its own.

#include "base/DebugLog.h"
#include "telegram/TelegramService.h"

#include <QCoreApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

#include <arpa/inet.h>
#include <csignal>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace vantry;
using namespace Qt::StringLiterals;

namespace {

constexpr int updateCount = 10'000;
constexpr double mostSeconds = 1;
constexpr int idleSeconds = 20;

class NoLog final : public Log
{
public:
    void write(std::string_view) override {}
};

int listening(std::uint16_t &port)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(socket, generic, size) != 0 || ::listen(socket, 8) != 0 || ::getsockname(socket, generic, &size) != 0)
        std::exit(1);
    port = ntohs(address.sin_port);
    return socket;
}

QByteArray manyUpdates()
{
    QByteArray body = R"({"ok":true,"result":[{"update_id":1})";
    for (int i = 1; i <= updateCount; ++i)
        body.append(R"(,{"update_id":)")
            .append(QByteArray::number(i + 1))
            .append(R"(,"message":{"message_id":5,"chat":{"id":7},"text":"s1 go on"}})");
    return body.append("]}");
}

/// Answers the first poll and holds the next ones.
[[noreturn]] void serve(int listener)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const QByteArray body = manyUpdates();
    const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
    const QByteArray answer = head + body;
    const int connection = ::accept(listener, nullptr, nullptr);
    char buffer[4096];
    if (::read(connection, buffer, sizeof buffer) <= 0)
        std::exit(1);
    for (qsizetype sent = 0; sent < answer.size();) {
        const auto count = ::write(connection, answer.data() + sent, static_cast<std::size_t>(answer.size() - sent));
        if (count <= 0)
            std::exit(1);
        sent += count;
    }
    for (;;)
        ::pause();
}

double cpuSeconds()
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

/// How often the threads of the process have waited for something and got it.
long wakeUps()
{
    rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

long residentKilobytes()
{
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QFile::ReadOnly))
        return 0;
    const QByteArray text = file.readAll();
    return text.mid(text.indexOf("VmRSS:") + 6).simplified().split(' ').constFirst().toLong();
}

void run(Scheduler &scheduler, std::chrono::milliseconds duration)
{
    QEventLoop loop;
    const ScheduledTimer timer = scheduler.after(duration, [&loop] { loop.quit(); });
    loop.exec();
}

} // namespace

int main(int argc, char **argv)
{
    std::uint16_t port = 0;
    const int listener = listening(port);
    const pid_t server = ::fork();
    if (server == 0)
        serve(listener);

    QCoreApplication application(argc, argv);
    const QTemporaryDir folder;
    QtScheduler scheduler;
    QtMainQueue mainQueue;
    NoLog log;
    Defaults defaults(folder.filePath(u"settings.json"_s), mainQueue, log);
    TelegramService service({ scheduler, mainQueue, defaults, log }, u"http://127.0.0.1:%1"_s.arg(port));
    service.setSessionTopics({ { u"s1"_s, 1 } });
    int replies = 0;
    service.onReply = [&replies](const QString &, const QString &) { ++replies; };

    const long memoryBefore = residentKilobytes();
    service.setBotToken(u"123:abc"_s);
    service.setChatID(u"7"_s);
    run(scheduler, std::chrono::milliseconds(1));
    const double before = cpuSeconds();
    while (replies < updateCount)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const double seconds = cpuSeconds() - before;
    std::printf("%d updates in one answer: %.3f s of CPU (at most %.0f)\n", updateCount, seconds, mostSeconds);
    std::printf("memory: %ld KB more than before the first request\n", residentKilobytes() - memoryBefore);

    run(scheduler, std::chrono::seconds(2));
    const long wakeUpsBefore = wakeUps();
    run(scheduler, std::chrono::seconds(idleSeconds));
    // One is the end of the waiting itself.
    std::printf("a poll that waits: %ld wake-ups in %d s (at most 0)\n", wakeUps() - wakeUpsBefore - 1, idleSeconds);
    ::kill(server, SIGKILL);
    return seconds < mostSeconds ? 0 : 1;
}
