#pragma once

#include "alerts/NotificationService.h"
#include "alerts/SoundService.h"
#include "app/SessionActions.h"
#include "app/control/ControlService.h"
#include "base/Clock.h"
#include "base/DebugLog.h"
#include "base/Defaults.h"
#include "base/MainQueue.h"
#include "base/Paths.h"
#include "base/Scheduler.h"
#include "base/WorkerPool.h"
#include "hooks/HTTPHookServer.h"
#include "panels/PanelServices.h"
#include "panels/SessionCallbacks.h"
#include "platform/Applications.h"
#include "platform/ControlEndpoint.h"
#include "platform/NotificationCentre.h"
#include "platform/PeerIdentity.h"
#include "platform/ProcessTable.h"
#include "platform/ScriptHost.h"
#include "platform/SecretStore.h"
#include "platform/SoundPlayer.h"
#include "platform/TerminalDriver.h"
#include "platform/Updater.h"
#include "sessions/GitFacts.h"
#include "sessions/LiveProcessChecker.h"
#include "sessions/PendingPermissionStore.h"
#include "sessions/SessionChanges.h"
#include "sessions/SessionManager.h"
#include "sessions/SessionStore.h"
#include "telegram/TelegramService.h"
#include "terminal/TerminalBridge.h"
#include "transcripts/TranscriptIndexer.h"
#include "transcripts/TranscriptReader.h"

#include <QObject>

#include <functional>
#include <optional>
#include <vector>

namespace vantry {

/// The composition root: owns every long-lived service, connects them at start-up and ends them in order. No service
/// knows another but through what is connected here. Main thread only.
class AppDelegate final : public QObject
{
    Q_OBJECT

public:
    /// What the system underneath gives; all of it must outlive the delegate.
    struct Ports
    {
        const Clock &clock;
        Scheduler &scheduler;
        MainQueue &mainQueue;
        ProcessTable &processes;
        PeerIdentity &peers;
        ControlEndpoint &controlEndpoint;
        Applications &applications;
        ScriptHost &scripts;
        NotificationCentre &notifications;
        /// In the order in which they are asked.
        std::vector<TerminalDriver *> terminals {};
        /// What the agent prints about its options. Called off the main thread. Unset: nothing.
        std::function<std::optional<QString>()> agentHelp {};
        /// Has the desktop open a URL; gives why it didn't. Called off the main thread. Unset: nothing opens.
        std::function<std::optional<QString>(const QUrl &)> openUrl {};
        /// Takes the desktop's leave to bring a window forward. Unset: nobody needs it.
        std::function<void(const QString &token)> useActivationToken {};
        SoundPlayer *sounds { nullptr };  ///< Null: silence.
        SecretStore *secrets { nullptr }; ///< Null: nothing is kept there.
        Updater *updater { nullptr };     ///< Null: nothing looks for newer versions.
    };

    /// Without a port nothing comes in from outside.
    AppDelegate(Paths paths, Ports ports, std::optional<std::uint16_t> hookPort = HTTPHookServer::defaultPort);

    /// Takes the name by which other programs reach this one. Comes before the start-up: where another instance owns
    /// the name, nothing may have been touched.
    ControlEndpoint::Publication publishControl();
    void applicationDidFinishLaunching();
    void applicationWillTerminate();
    /// Terminates the application.
    void quitApp();
    /// Ends Telegram's polling, or begins it anew.
    void toggleTelegramPause();
    /// Looks for a newer version, where anything can.
    void checkForUpdates();
    /// Opens the settings' window, where there are windows.
    void openSettings();

    /// What shows windows; all unset without any.
    struct Scene
    {
        std::function<void()> showApp {};
        std::function<void()> openSettings {};
        std::function<void()> didFinishLaunching {};
        std::function<void()> sessionsDidChange {}; ///< After each event.
        std::function<void(const SessionPtr &)> sessionNeedsAttention {};
    };
    /// Before the application is asked for windows; an empty one before the scene goes.
    void setScene(const Scene &scene);

    [[nodiscard]] HTTPHookServer &httpServer() { return m_httpServer; }
    [[nodiscard]] PendingPermissionStore &pendingPermissions() { return m_pendingPermissions; }
    [[nodiscard]] SessionManager &sessionManager() { return m_sessionManager; }
    [[nodiscard]] SessionActions &sessionActions() { return m_sessionActions; }
    [[nodiscard]] NotificationService &notificationService() { return m_notificationService; }
    [[nodiscard]] TelegramService &telegramService() { return m_telegramService; }
    /// Null where there are no sounds.
    [[nodiscard]] SoundService *soundService() { return m_soundService ? &*m_soundService : nullptr; }
    /// Null where nothing looks for newer versions.
    [[nodiscard]] Updater *updater() const { return m_ports.updater; }
    [[nodiscard]] SessionChanges &sessionChanges() { return m_sessionChanges; }
    [[nodiscard]] Defaults &defaults() { return m_defaults; }
    [[nodiscard]] const Paths &paths() const { return m_paths; }
    [[nodiscard]] Log &log() { return m_log.general(); }
    /// For what this and the scene do themselves.
    [[nodiscard]] Log &delegateLog() { return m_log.delegate(); }
    /// What the panel works with; lives as long as this.
    [[nodiscard]] PanelServices panelServices();
    /// What the panel may do and ask; lives as long as this.
    [[nodiscard]] SessionCallbacks sessionCallbacks();

private:
    void connectHookIntake();
    void connectHeldPermissions();
    void connectAlerts();
    void startHttpServer();
    void startTranscriptReader();
    void startTimers();
    void fanOut(const HookEvent &event);
    void closeStore();
    [[nodiscard]] TerminalBridge::Ports terminalPorts();

    const Paths m_paths;
    const Ports m_ports;
    const bool m_listens;
    DebugLog m_log { m_paths.debugLog(), m_ports.clock };
    Defaults m_defaults { m_paths.configFile, m_ports.mainQueue, m_log.general() };
    SessionStore m_store { m_paths.database(), m_ports.clock, m_log.general() };
    WorkerPool m_workers; ///< Its tasks use all of the above.
    HTTPHookServer m_httpServer;
    PendingPermissionStore m_pendingPermissions { m_ports.clock, m_ports.scheduler, m_log.general() };
    LiveProcessChecker m_processChecker { m_ports.processes };
    GitFacts m_gitFacts { m_ports.mainQueue, m_workers };
    WorkerPool m_panelWorkers { 2, WorkerPool::Priority::Normal }; ///< Its tasks use all of the above.
    SessionManager m_sessionManager { m_store,       m_processChecker, m_gitFacts, m_pendingPermissions,
                                      m_ports.clock, m_log.general() };
    NotificationService m_notificationService { { m_ports.notifications, m_pendingPermissions, m_defaults,
                                                  m_ports.clock } };
    TelegramService m_telegramService { { m_ports.scheduler, m_ports.mainQueue, m_defaults, m_log.general(),
                                          m_ports.secrets } };
    std::optional<SoundService> m_soundService;
    TerminalBridge m_terminalBridge;
    SessionActions m_sessionActions { { m_sessionManager, m_pendingPermissions, m_terminalBridge, m_ports.scheduler,
                                        m_log.general() } };
    TranscriptIndexer m_transcriptIndexer { m_paths.home, m_defaults, m_ports.mainQueue, m_workers, m_log.general() };
    std::optional<TranscriptReader> m_transcriptReader;
    SessionChanges m_sessionChanges { m_sessionManager, m_ports.mainQueue };
    ControlService m_control;
    Scene m_scene;
    ScheduledTimer m_livenessTimer;
    ScheduledTimer m_cleanupTimer;
};

} // namespace vantry
