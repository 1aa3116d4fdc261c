#include "app/Launch.h"

#include "app/AppDelegate.h"
#include "app/NoNotifications.h"
#include "app/Platform.h"
#include "app/SignalHandler.h"
#include "app/SingleInstance.h"
#include "app/SuddenEnd.h"
#include "app/ToolSearch.h"
#include "app/VantryApp.h"
#include "app/demo/Demo.h"
#include "base/Subprocess.h"
#include "panels/DictationService.h"
#include "panels/MenuBarViewModel.h"

#include <QApplication>
#include <QEventLoop>
#include <QQuickWindow>
#include <QSessionManager>

namespace vantry {

using namespace Qt::StringLiterals;
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

/// The windows, and what of the desktop they need. They end before the services.
class Scene
{
public:
    Scene(AppDelegate &delegate, const Clock &clock, Scheduler &scheduler, LoginItem &loginItem)
        : m_speech(platform::makeSpeechRecogniser())
        , m_microphone(platform::makeMicrophone(delegate.panelServices().mainQueue, clock))
        , m_statusItem(platform::makeStatusItem(scheduler))
        , m_overlays(platform::makeOverlayWindows())
        , m_preferences(platform::makeDesktopPreferences(delegate.log()))
        , m_screens(platform::makeScreens(*m_overlays, scheduler))
        , m_fileChooser(platform::makeFileChooser())
        , m_fileManager(platform::makeFileManager())
        , m_app(delegate,
                { clock, scheduler, *m_statusItem, *m_overlays, *m_preferences, *m_screens,
                  [&scheduler] { return platform::makeFullScreenWatch(scheduler); },
                  [&scheduler] { return platform::makeSessionLock(scheduler); }, *m_fileChooser, *m_fileManager,
                  loginItem,
                  [search = ToolSearch::forUser(delegate.panelServices().home)](const QString &name) {
                      return search.find(name);
                  },
                  platform::pythonHint },
                [this, &delegate] {
                    return std::make_unique<MenuBarViewModel>(servicesOf(delegate), delegate.sessionCallbacks());
                })
    {}

    void showApp() { m_app.showApp(); }

private:
    [[nodiscard]] PanelServices servicesOf(AppDelegate &delegate) const
    {
        PanelServices services = delegate.panelServices();
        services.makeDictation = [this, &mainQueue = services.mainQueue] {
            return std::make_unique<DictationService>(*m_microphone, m_speech.get(), mainQueue);
        };
        return services;
    }

    const std::unique_ptr<SpeechRecogniser> m_speech;
    const std::unique_ptr<Microphone> m_microphone; ///< Its threads use the recogniser.
    const std::unique_ptr<StatusItem> m_statusItem;
    const std::unique_ptr<OverlayWindows> m_overlays;
    const std::unique_ptr<DesktopPreferences> m_preferences;
    const std::unique_ptr<Screens> m_screens;
    const std::unique_ptr<FileChooser> m_fileChooser;
    const std::unique_ptr<FileManager> m_fileManager;
    VantryApp m_app;
};

} // namespace

std::unique_ptr<QCoreApplication> makeApplication(int &argc, char **argv, const command::Start &start, Console &console)
{
    if (start.windows == command::Start::Windows::None)
        return std::make_unique<QCoreApplication>(argc, argv);
    if (!platform::chooseWindowSystem()) {
        console.printError(platform::hasDisplay()
                               ? "the display does not answer, running headless"
                               : "there is no display (DISPLAY and WAYLAND_DISPLAY are unset), running headless");
        return std::make_unique<QCoreApplication>(argc, argv);
    }
    // Three times lighter than drawing by OpenGL, and there before it; the pictures are the same.
    if (qEnvironmentVariable("VANTRY_RENDERER") != u"opengl")
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    // The toolkit would draw only after the 5 ms that it waits for more to come; what a turn of the event loop changes
    // is drawn together anyway.
    constexpr const char *idleTime = "QT_QPA_UPDATE_IDLE_TIME";
    if (!qEnvironmentVariableIsSet(idleTime))
        qputenv(idleTime, "0");
    auto application = std::make_unique<QApplication>(argc, argv);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    // Starting it at login is the user's to decide; a second start would open the panel.
    QObject::connect(application.get(), &QGuiApplication::saveStateRequest,
                     [](QSessionManager &manager) { manager.setRestartHint(QSessionManager::RestartNever); });
    QGuiApplication::setDesktopFileName(u"com.vantry.app"_s);
    return application;
}

int runApplication(Console &console)
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
    const bool hasWindows = qobject_cast<QApplication *>(QCoreApplication::instance()) != nullptr;
    const std::unique_ptr<NotificationCentre> notifications =
        hasWindows ? platform::makeNotificationCentre() : std::make_unique<NoNotifications>();
    const auto sounds = hasWindows ? platform::makeSoundPlayer() : nullptr;
    const auto secrets = platform::makeSecretStore();
    const platform::Terminals terminals = platform::makeTerminals(*processes, mainQueue);
    AppDelegate delegate(paths, { clock, scheduler, mainQueue, *processes, *peers, *endpoint, *terminals.applications,
                                  *terminals.scripts, *notifications, terminals.driverList(), platform::agentHelp,
                                  platform::openUrl, terminals.useActivationToken, sounds.get(), secrets.get() });
    // Another data folder has another lock, but there is one name on the bus.
    if (delegate.publishControl() == ControlEndpoint::Publication::NameTaken)
        return showOther() ? exitCode::done : failToReachOther(console);

    const SignalHandler endingSignals([] { QCoreApplication::quit(); });
    const SuddenEnd suddenEnd([&delegate] {
        delegate.log().write("AppDelegate: the display has gone, ending");
        delegate.applicationWillTerminate();
    });
    const auto loginItem = platform::makeLoginItem();
    std::optional<Scene> scene;
    if (hasWindows)
        scene.emplace(delegate, clock, scheduler, *loginItem);
    delegate.applicationDidFinishLaunching();
    const int code = QCoreApplication::exec();
    scene.reset();
    delegate.applicationWillTerminate();
    return code;
}

int runDemo(Console &console)
{
    if (!qobject_cast<QApplication *>(QCoreApplication::instance())) {
        console.printError("a demonstration without a display shows nothing");
        return exitCode::refused;
    }
    const SystemClock clock;
    QtScheduler scheduler;
    QtMainQueue mainQueue;
    demo::Demo demo(clock, scheduler, mainQueue);
    if (!demo.isUsable()) {
        console.printError("there is no room for the demonstration's files in the folder for temporary ones");
        return exitCode::refused;
    }
    const SignalHandler endingSignals([] { QCoreApplication::quit(); });
    std::optional<Scene> scene(std::in_place, demo.delegate(), clock, scheduler, demo.loginItem());
    demo.start();
    // By then it is known whether there is a tray.
    const ScheduledTimer opening = scheduler.after(1s, [&scene] { scene->showApp(); });
    const int code = QCoreApplication::exec();
    scene.reset();
    demo.delegate().applicationWillTerminate();
    return code;
}

} // namespace vantry
