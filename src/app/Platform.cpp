#include "app/Platform.h"

#include "platform/linux/AgentHelp.h"
#include "platform/linux/DBusControlClient.h"
#include "platform/linux/DBusControlEndpoint.h"
#include "platform/linux/KittyDriver.h"
#include "platform/linux/KonsoleDriver.h"
#include "platform/linux/LinkOpener.h"
#include "platform/linux/LinuxApplications.h"
#include "platform/linux/LinuxDesktopPreferences.h"
#include "platform/linux/LinuxFileChooser.h"
#include "platform/linux/LinuxFileManager.h"
#include "platform/linux/LinuxFullScreenWatch.h"
#include "platform/linux/LinuxListeningPorts.h"
#include "platform/linux/LinuxLoginItem.h"
#include "platform/linux/LinuxMicrophone.h"
#include "platform/linux/LinuxNotificationCentre.h"
#include "platform/linux/LinuxOverlayWindows.h"
#include "platform/linux/LinuxPeerIdentity.h"
#include "platform/linux/LinuxProcessTable.h"
#include "platform/linux/LinuxScreens.h"
#include "platform/linux/LinuxScriptHost.h"
#include "platform/linux/LinuxSecretStore.h"
#include "platform/linux/LinuxSessionLock.h"
#include "platform/linux/LinuxSoundPlayer.h"
#include "platform/linux/LinuxSpeechRecogniser.h"
#include "platform/linux/LinuxStatusItem.h"
#include "platform/linux/NotificationServer.h"
#include "platform/linux/PythonHint.h"
#include "platform/linux/SessionBus.h"
#include "platform/linux/TerminalEmulatorDriver.h"
#include "platform/linux/TmuxDriver.h"
#include "platform/linux/TrayHosts.h"
#include "platform/linux/WindowSystem.h"
#include "platform/linux/X11WindowDriver.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStandardPaths>

namespace vantry::platform {

using namespace Qt::StringLiterals;

namespace {

/// The path of a program that this one starts. Where it was built, all is in one folder.
QString companion(const QString &name)
{
    const QString folder = QCoreApplication::applicationDirPath();
    const QString beside = folder + u'/' + name;
    return QFileInfo::exists(beside) ? beside : folder + u"/" VANTRY_LIBEXEC "/"_s + name;
}

} // namespace

std::unique_ptr<ControlClient> makeControlClient()
{
    return std::make_unique<DBusControlClient>();
}

std::unique_ptr<ControlClient> makeControlClient(std::chrono::milliseconds patience)
{
    return std::make_unique<DBusControlClient>(sessionBusAddress(), patience);
}

std::unique_ptr<ControlEndpoint> makeControlEndpoint()
{
    return std::make_unique<DBusControlEndpoint>();
}

std::unique_ptr<ListeningPorts> makeListeningPorts()
{
    return std::make_unique<LinuxListeningPorts>();
}

std::unique_ptr<NotificationCentre> makeNotificationCentre()
{
    return std::make_unique<LinuxNotificationCentre>();
}

std::unique_ptr<FileChooser> makeFileChooser()
{
    return std::make_unique<LinuxFileChooser>();
}

std::unique_ptr<FileManager> makeFileManager()
{
    return std::make_unique<LinuxFileManager>(sessionBusAddress(), [](const QUrl &folder) { (void)openUrl(folder); });
}

std::unique_ptr<LoginItem> makeLoginItem()
{
    return std::make_unique<LinuxLoginItem>(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                                                u"/autostart/com.vantry.app.desktop"_s,
                                            QCoreApplication::applicationFilePath());
}

std::unique_ptr<Microphone> makeMicrophone(MainQueue &mainQueue, const Clock &clock)
{
    return std::make_unique<LinuxMicrophone>(mainQueue, clock);
}

std::unique_ptr<SpeechRecogniser> makeSpeechRecogniser()
{
    return std::make_unique<LinuxSpeechRecogniser>(companion(u"vantry-speech"_s), LinuxSpeechRecogniser::systemModel());
}

std::unique_ptr<PeerIdentity> makePeerIdentity()
{
    return std::make_unique<LinuxPeerIdentity>();
}

std::unique_ptr<ProcessTable> makeProcessTable()
{
    return std::make_unique<LinuxProcessTable>();
}

std::unique_ptr<ProcessTable> makeProcessTable(const Paths &paths)
{
    return std::make_unique<LinuxProcessTable>(paths.dataFolder);
}

std::unique_ptr<SecretStore> makeSecretStore()
{
    return std::make_unique<LinuxSecretStore>();
}

std::unique_ptr<SoundPlayer> makeSoundPlayer()
{
    const QString folder = QCoreApplication::applicationDirPath();
    QString sounds = folder + u"/sounds"_s;
    if (!QFileInfo::exists(sounds))
        sounds = folder + u"/" VANTRY_DATA "/vantry/sounds"_s;
    return std::make_unique<LinuxSoundPlayer>(companion(u"vantry-sound"_s),
                                              QStringList { sounds } + LinuxSoundPlayer::themeFolders());
}

std::vector<TerminalDriver *> Terminals::driverList() const
{
    std::vector<TerminalDriver *> list;
    for (const auto &driver : drivers)
        list.push_back(driver.get());
    return list;
}

Terminals makeTerminals(const ProcessTable &processes, MainQueue &mainQueue)
{
    constexpr int scriptsAtOnce = 2;
    Terminals terminals;
    auto desktop = std::make_unique<LinuxApplications>(processes);
    terminals.useActivationToken = [desktop = desktop.get()](const QString &token) {
        desktop->useActivationToken(token);
    };
    terminals.applications = std::move(desktop);
    Applications &applications = *terminals.applications;
    terminals.workers = std::make_unique<WorkerPool>(scriptsAtOnce, WorkerPool::Priority::Normal);
    terminals.scripts = std::make_unique<LinuxScriptHost>(applications, *terminals.workers, mainQueue);

    auto kitty = std::make_unique<KittyDriver>(applications);
    auto konsole = std::make_unique<KonsoleDriver>(sessionBusAddress(), applications);
    const std::vector<TerminalDriver *> aroundTmux { kitty.get(), konsole.get() };
    terminals.drivers.push_back(std::make_unique<TmuxDriver>(applications, processes, aroundTmux));
    terminals.drivers.push_back(std::move(kitty));
    terminals.drivers.push_back(std::move(konsole));
    terminals.drivers.push_back(std::make_unique<X11WindowDriver>(applications));
    terminals.drivers.push_back(std::make_unique<TerminalEmulatorDriver>());
    return terminals;
}

std::optional<QString> agentHelp()
{
    return vantry::agentHelp();
}

QString pythonHint()
{
    return vantry::pythonHint();
}

std::optional<QString> openUrl(const QUrl &url)
{
    return openWithDesktop(url);
}

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

bool canPlaceWindows()
{
    return x11Answers();
}

bool hasTray()
{
    return vantry::hasTray();
}

NotificationCentre::Server findNotificationServer()
{
    return vantry::findNotificationServer();
}

std::optional<SecretStore::Problem> secretStoreProblem()
{
    return LinuxSecretStore::problem();
}

std::optional<QString> microphoneProblem(const Clock &clock)
{
    return LinuxMicrophone::problem(clock);
}

std::optional<QString> speechProblem()
{
    return LinuxSpeechRecogniser(companion(u"vantry-speech"_s), LinuxSpeechRecogniser::systemModel()).problem();
}

bool chooseWindowSystem()
{
    return vantry::chooseWindowSystem();
}

std::unique_ptr<StatusItem> makeStatusItem(Scheduler &scheduler)
{
    return std::make_unique<LinuxStatusItem>(scheduler);
}

std::unique_ptr<OverlayWindows> makeOverlayWindows()
{
    return std::make_unique<LinuxOverlayWindows>();
}

std::unique_ptr<Screens> makeScreens(const OverlayWindows &overlays, Scheduler &scheduler)
{
    return std::make_unique<LinuxScreens>(overlays, scheduler);
}

std::unique_ptr<FullScreenWatch> makeFullScreenWatch(Scheduler &scheduler)
{
    return std::make_unique<LinuxFullScreenWatch>(scheduler);
}

std::unique_ptr<SessionLock> makeSessionLock(Scheduler &scheduler)
{
    return std::make_unique<LinuxSessionLock>(scheduler);
}

std::unique_ptr<DesktopPreferences> makeDesktopPreferences(Log &log)
{
    return std::make_unique<LinuxDesktopPreferences>(sessionBusAddress(), log);
}

} // namespace vantry::platform
