#include "app/Launch.h"

#include "app/AppDelegate.h"
#include "app/Platform.h"
#include "app/SignalHandler.h"
#include "app/SingleInstance.h"
#include "base/Subprocess.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace vantry {

using namespace std::chrono_literals;

namespace {

/// Lets the event loop run for a while.
void pause(Scheduler &scheduler, std::chrono::milliseconds duration)
{
    QEventLoop loop;
    const ScheduledTimer timer = scheduler.after(duration, [&loop] { loop.quit(); });
    loop.exec();
}

/// The exit code when another instance runs for this user; nothing when this one is to run.
std::optional<int> giveWayToOther(SingleInstance &instance, const Paths &paths, Scheduler &scheduler, Console &console)
{
    // The other one may be about to take its bus name, or about to end: both take moments.
    constexpr int attempts = 60;
    constexpr auto betweenAttempts = 50ms;

    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (instance.claim(paths.lockFile()) != SingleInstance::Claim::Taken)
            return std::nullopt;
        if (!platform::makeControlClient()->activate())
            return exitCode::done;
        pause(scheduler, betweenAttempts);
    }
    console.printError("Vantry is running already and can't be reached over the session bus");
    return exitCode::refused;
}

} // namespace

int runApplication(const command::Start &start, Console &console)
{
    raiseOpenFileLimit();
    const Paths paths = Paths::fromEnvironment();
    makePrivateFolder(paths.dataFolder);
    QtScheduler scheduler;

    SingleInstance instance;
    if (const auto code = giveWayToOther(instance, paths, scheduler, console))
        return *code;

    const SystemClock clock;
    QtMainQueue mainQueue;
    const auto processes = platform::makeProcessTable(paths);
    const auto peers = platform::makePeerIdentity();
    const auto endpoint = platform::makeControlEndpoint();
    AppDelegate delegate(paths, { clock, scheduler, mainQueue, *processes, *peers, *endpoint });
    // Another data folder has another lock, but there is one name on the bus.
    if (delegate.publishControl() == ControlEndpoint::Publication::NameTaken)
        return platform::makeControlClient()->activate() ? exitCode::refused : exitCode::done;

    if (start.windows == command::Start::Windows::WhereThereIsADisplay && !platform::hasDisplay())
        console.printError("there is no display (DISPLAY and WAYLAND_DISPLAY are unset), running headless");
    const SignalHandler endingSignals([] { QCoreApplication::quit(); });
    delegate.applicationDidFinishLaunching();
    const int code = QCoreApplication::exec();
    delegate.applicationWillTerminate();
    return code;
}

} // namespace vantry
