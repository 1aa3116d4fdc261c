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

/// Asks the instance that runs for this user to show itself. False when it can't be reached.
bool showOther()
{
    return !platform::makeControlClient()->activate();
}

int failToReachOther(Console &console)
{
    console.printError("Vantry is running already and can't be reached over the session bus");
    return exitCode::refused;
}

/// The exit code when another instance runs for this user; nothing when this one is to run.
std::optional<int> giveWayToOther(SingleInstance &instance, const Paths &paths, const Clock &clock,
                                  Scheduler &scheduler, Console &console)
{
    // The other one may be about to take its bus name, or about to end: both take moments. One that hangs is asked
    // once, which takes longer than this.
    constexpr auto patience = 3s;
    constexpr auto betweenAttempts = 50ms;

    const MonotonicTime deadline = clock.monotonicNow() + patience;
    do {
        if (instance.claim(paths.lockFile()) != SingleInstance::Claim::Taken)
            return std::nullopt;
        if (showOther())
            return exitCode::done;
        pause(scheduler, betweenAttempts);
    } while (clock.monotonicNow() < deadline);
    return failToReachOther(console);
}

} // namespace

int runApplication(const command::Start &start, Console &console)
{
    raiseOpenFileLimit();
    const Paths paths = Paths::fromEnvironment();
    makePrivateFolder(paths.dataFolder);
    const SystemClock clock;
    QtScheduler scheduler;

    SingleInstance instance;
    if (const auto code = giveWayToOther(instance, paths, clock, scheduler, console))
        return *code;

    QtMainQueue mainQueue;
    const auto processes = platform::makeProcessTable(paths);
    const auto peers = platform::makePeerIdentity();
    const auto endpoint = platform::makeControlEndpoint();
    const platform::Terminals terminals = platform::makeTerminals(*processes, mainQueue);
    AppDelegate delegate(paths, { clock, scheduler, mainQueue, *processes, *peers, *endpoint, *terminals.applications,
                                  *terminals.scripts, terminals.driverList(), platform::agentHelp, platform::openUrl });
    // Another data folder has another lock, but there is one name on the bus.
    if (delegate.publishControl() == ControlEndpoint::Publication::NameTaken)
        return showOther() ? exitCode::done : failToReachOther(console);

    if (start.windows == command::Start::Windows::WhereThereIsADisplay && !platform::hasDisplay())
        console.printError("there is no display (DISPLAY and WAYLAND_DISPLAY are unset), running headless");
    const SignalHandler endingSignals([] { QCoreApplication::quit(); });
    delegate.applicationDidFinishLaunching();
    const int code = QCoreApplication::exec();
    delegate.applicationWillTerminate();
    return code;
}

} // namespace vantry
