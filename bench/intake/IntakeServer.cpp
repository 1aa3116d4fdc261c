// The intake as the program has it, with its real log and an event loop that drops what it is handed, for the
// measurements. Usage: intake_server PORT LOG [hold]
// A line on standard input: "block" blocks the main thread for 500 ms again and again, until the next line.

#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/MainQueue.h"
#include "base/Scheduler.h"
#include "base/Subprocess.h"
#include "hooks/HTTPHookServer.h"
#include "platform/linux/LinuxPeerIdentity.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <chrono>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

using namespace vantry;

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (argc < 3)
        return 2;
    raiseOpenFileLimit();
    const SystemClock clock;
    DebugLog log(QString::fromLocal8Bit(argv[2]), clock);
    QtMainQueue mainQueue;
    QtScheduler scheduler;
    LinuxPeerIdentity peers;
    HTTPHookServer server(mainQueue, scheduler, log.general(), peers, static_cast<std::uint16_t>(std::atoi(argv[1])));

    std::vector<std::pair<HookEvent, HookConnectionPtr>> held;
    if (argc > 3) {
        server.onPermissionRequest = [&](const HookEvent &event, HookConnectionPtr connection) {
            connection->watch([] {});
            held.emplace_back(event, std::move(connection));
        };
    }
    server.onEventReceived = [](const HookEvent &) {};
    server.start();

    ScheduledTimer blocking;
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&] {
        char line[64];
        const ssize_t got = ::read(STDIN_FILENO, line, sizeof line);
        if (got <= 0)
            return application.quit();
        if (std::string_view(line, static_cast<std::size_t>(got)).starts_with("block"))
            blocking = scheduler.every(std::chrono::milliseconds { 510 },
                                       [] { std::this_thread::sleep_for(std::chrono::milliseconds { 500 }); });
        else
            blocking.cancel();
    });
    return application.exec();
}
