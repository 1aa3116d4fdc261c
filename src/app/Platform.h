#pragma once

#include "base/DebugLog.h"
#include "base/MainQueue.h"
#include "base/Paths.h"
#include "base/Scheduler.h"
#include "base/WorkerPool.h"
#include "platform/Applications.h"
#include "platform/ControlClient.h"
#include "platform/ControlEndpoint.h"
#include "platform/DesktopPreferences.h"
#include "platform/FileChooser.h"
#include "platform/FileManager.h"
#include "platform/FullScreenWatch.h"
#include "platform/ListeningPorts.h"
#include "platform/LoginItem.h"
#include "platform/Microphone.h"
#include "platform/NotificationCentre.h"
#include "platform/OverlayWindows.h"
#include "platform/PeerIdentity.h"
#include "platform/ProcessTable.h"
#include "platform/Screens.h"
#include "platform/ScriptHost.h"
#include "platform/SecretStore.h"
#include "platform/SessionLock.h"
#include "platform/SoundPlayer.h"
#include "platform/SpeechRecogniser.h"
#include "platform/StatusItem.h"
#include "platform/TerminalDriver.h"

#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vantry::platform {

// The ports of the system that the program is built for. The one place that knows their concrete types.

/// The terminals that agents run in, and the applications around them. Ends in this order, backwards.
struct Terminals
{
    std::unique_ptr<Applications> applications;
    std::unique_ptr<WorkerPool> workers;
    std::unique_ptr<ScriptHost> scripts;
    std::vector<std::unique_ptr<TerminalDriver>> drivers; ///< In the order in which they are asked.
    /// Takes the desktop's leave to bring their windows forward. Not after the applications have ended.
    std::function<void(const QString &)> useActivationToken {};

    [[nodiscard]] std::vector<TerminalDriver *> driverList() const;
};

[[nodiscard]] std::unique_ptr<ControlClient> makeControlClient();
/// One whose calls wait so long at most.
[[nodiscard]] std::unique_ptr<ControlClient> makeControlClient(std::chrono::milliseconds patience);
[[nodiscard]] std::unique_ptr<ControlEndpoint> makeControlEndpoint();
[[nodiscard]] std::unique_ptr<ListeningPorts> makeListeningPorts();
[[nodiscard]] std::unique_ptr<NotificationCentre> makeNotificationCentre();
[[nodiscard]] std::unique_ptr<FileManager> makeFileManager();
/// Of this program.
[[nodiscard]] std::unique_ptr<LoginItem> makeLoginItem();
[[nodiscard]] std::unique_ptr<Microphone> makeMicrophone(MainQueue &mainQueue, const Clock &clock);
[[nodiscard]] std::unique_ptr<PeerIdentity> makePeerIdentity();
/// One that keeps nothing. Its start times are not those of the other when the clock has been set since the boot.
[[nodiscard]] std::unique_ptr<ProcessTable> makeProcessTable();
[[nodiscard]] std::unique_ptr<ProcessTable> makeProcessTable(const Paths &paths);
[[nodiscard]] std::unique_ptr<SecretStore> makeSecretStore();
/// These two need the application object, whose folder tells where what they start is.
[[nodiscard]] std::unique_ptr<SpeechRecogniser> makeSpeechRecogniser();
[[nodiscard]] std::unique_ptr<SoundPlayer> makeSoundPlayer();
[[nodiscard]] Terminals makeTerminals(const ProcessTable &processes, MainQueue &mainQueue);
/// What the agent prints about its options. Blocks; any thread but the main one.
[[nodiscard]] std::optional<QString> agentHelp();
/// What to type to get Python on this system; where that isn't known, the package's name.
[[nodiscard]] QString pythonHint();
/// Has the desktop open a URL; gives why it didn't. Blocks; any thread but the main one.
[[nodiscard]] std::optional<QString> openUrl(const QUrl &url);
/// Whether the environment names a display.
[[nodiscard]] bool hasDisplay();
/// Whether programs can put windows where they want.
[[nodiscard]] bool canPlaceWindows();
/// Whether the desktop has a place for the icon.
[[nodiscard]] bool hasTray();
/// Who shows notifications on this desktop. Waits for the answer, a second or two at most.
[[nodiscard]] NotificationCentre::Server findNotificationServer();
/// What keeps secrets from being kept, if anything. Waits for the answer, some seconds at most.
[[nodiscard]] std::optional<SecretStore::Problem> secretStoreProblem();
/// Why nobody could be listened to, if so. Waits for the audio server, some seconds at most.
[[nodiscard]] std::optional<QString> microphoneProblem(const Clock &clock);
/// What is missing for recognising speech, if anything. Runs a program; needs the application object.
[[nodiscard]] std::optional<QString> speechProblem();
/// Makes the toolkit draw by the window system that answers, unless the user has chosen one. False when none does.
/// Before the application object.
[[nodiscard]] bool chooseWindowSystem();

// These need the QApplication.
[[nodiscard]] std::unique_ptr<FileChooser> makeFileChooser();
[[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem(Scheduler &scheduler);
[[nodiscard]] std::unique_ptr<OverlayWindows> makeOverlayWindows();
/// The overlays and the scheduler must outlive the screens.
[[nodiscard]] std::unique_ptr<Screens> makeScreens(const OverlayWindows &overlays, Scheduler &scheduler);
[[nodiscard]] std::unique_ptr<FullScreenWatch> makeFullScreenWatch(Scheduler &scheduler);
[[nodiscard]] std::unique_ptr<SessionLock> makeSessionLock(Scheduler &scheduler);
[[nodiscard]] std::unique_ptr<DesktopPreferences> makeDesktopPreferences(Log &log);

} // namespace vantry::platform
