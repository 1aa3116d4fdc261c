#include "app/AppDelegate.h"

#include "app/PanelConnections.h"

#include <QCoreApplication>

#include <exception>

namespace vantry {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using namespace std::string_view_literals;

AppDelegate::AppDelegate(Paths paths, Ports ports, std::optional<std::uint16_t> hookPort)
    : m_paths(std::move(paths))
    , m_ports(ports)
    , m_listens(hookPort.has_value())
    , m_httpServer(ports.mainQueue, ports.scheduler, m_log.general(), ports.peers,
                   hookPort.value_or(HTTPHookServer::defaultPort))
    , m_terminalBridge(terminalPorts(), m_defaults.string(u"python_path"_s, u"/usr/bin/python3"_s))
    , m_control({ ports.clock, m_httpServer, m_sessionManager, m_pendingPermissions, m_sessionActions, m_terminalBridge,
                  m_sessionChanges, ports.controlEndpoint },
                m_paths.home)
{
    if (m_ports.sounds)
        m_soundService.emplace(m_defaults, *m_ports.sounds, m_log.general());
    m_control.onQuit = [this] { quitApp(); };
    m_transcriptIndexer.onProgress = [this](TranscriptIndexer::Progress progress) {
        m_control.announceBackfill(static_cast<std::size_t>(progress.done), static_cast<std::size_t>(progress.total));
    };
}

ControlEndpoint::Publication AppDelegate::publishControl()
{
    const auto publication = m_control.publish();
    if (publication == ControlEndpoint::Publication::Unavailable)
        m_log.general().write("AppDelegate: no session bus, Vantry can't be controlled from outside"sv);
    return publication;
}

void AppDelegate::applicationDidFinishLaunching()
{
    m_log.delegate().write("applicationDidFinishLaunching started"sv);
    m_sessionManager.restoreSessions();
    m_transcriptIndexer.backfill(m_store);
    connectHookIntake();
    connectHeldPermissions();
    connectAlerts();
    if (m_listens)
        startHttpServer();
    startTranscriptReader();
    startTimers();
    if (m_scene.didFinishLaunching)
        m_scene.didFinishLaunching();
}

void AppDelegate::applicationWillTerminate()
{
    m_httpServer.stop();
    m_pendingPermissions.cleanup();
    m_telegramService.cancelPolling();
    m_transcriptReader.reset();
    closeStore();
    m_livenessTimer.cancel();
    m_cleanupTimer.cancel();
    // Last: whoever waits for the name to go finds everything else ended.
    m_control.withdraw();
}

void AppDelegate::quitApp()
{
    QCoreApplication::quit();
}

void AppDelegate::toggleTelegramPause()
{
    m_telegramService.setPaused(!m_telegramService.isPaused());
}

void AppDelegate::checkForUpdates()
{
    if (m_ports.updater)
        m_ports.updater->checkForUpdates();
}

void AppDelegate::openSettings()
{
    if (m_scene.openSettings)
        m_scene.openSettings();
}

void AppDelegate::setScene(const Scene &scene)
{
    m_scene = scene;
    m_control.onShowPanel = scene.showApp;
    m_control.onShowSettings = scene.openSettings;
}

void AppDelegate::connectHookIntake()
{
    m_httpServer.onPermissionRequest = [this](const HookEvent &event, HookConnectionPtr connection) {
        m_pendingPermissions.add(event, std::move(connection));
    };
    m_httpServer.onEventReceived = [this](const HookEvent &event) { fanOut(event); };
}

void AppDelegate::connectHeldPermissions()
{
    connect(&m_pendingPermissions, &PendingPermissionStore::pendingChanged, this, [this](const QString &sessionID) {
        m_sessionManager.heldRequestsChanged(sessionID);
        m_sessionChanges.touch(sessionID);
    });
}

void AppDelegate::connectAlerts()
{
    m_sessionManager.onNeedsAttention = [this](const SessionPtr &session, const HookEvent &event) {
        m_notificationService.notify(session, event);
        if (m_scene.sessionNeedsAttention)
            m_scene.sessionNeedsAttention(session);
    };
    m_notificationService.onActivationToken = m_ports.useActivationToken;
    m_notificationService.configure(
        [this](const QString &id) { m_sessionActions.focusSession(id); },
        [this](const QString &id) { m_sessionActions.allow(id); },
        [this](const QString &id) { m_sessionActions.deny(id, SessionActions::Denial::AgentGoesOn); });
}

void AppDelegate::startHttpServer()
{
    try {
        m_httpServer.start();
        m_log.delegate().write("HTTP hook server started on port: " + std::to_string(m_httpServer.port()));
    } catch (const std::exception &error) {
        m_log.delegate().write(std::string("FAILED to start HTTP hook server: ") + error.what());
    }
}

void AppDelegate::startTranscriptReader()
{
    m_transcriptReader.emplace(m_paths.home, m_ports.scheduler, m_ports.clock, m_log.general());
    m_transcriptReader->sessionManager = &m_sessionManager;
    m_transcriptReader->start(15s);
}

void AppDelegate::startTimers()
{
    m_livenessTimer = m_ports.scheduler.every(10s, [this] { m_sessionManager.checkLiveness(); });
    m_cleanupTimer = m_ports.scheduler.every(300s, [this] { m_sessionManager.cleanUpSessions(); });
}

void AppDelegate::fanOut(const HookEvent &event)
{
    const HookEventType type = event.eventType();
    m_log.delegate().write("onEvent fired: " + std::string(rawValue(type)) +
                           " session=" + event.sessionID.toStdString());
    const SessionPtr session = m_sessionManager.session(event.sessionID);
    const bool waitedForPermission = session && session->state() == SessionState::needsPermission;

    m_sessionManager.handleEvent(event);
    if (m_soundService)
        m_soundService->handleEvent(event, m_sessionManager);
    if (m_scene.sessionsDidChange)
        m_scene.sessionsDidChange();

    if (type == HookEventType::sessionEnd || type == HookEventType::taskCompleted)
        m_pendingPermissions.dismissAll(event.sessionID);
    else if (event.isInterrupt.value_or(false) && waitedForPermission)
        m_pendingPermissions.dismissAll(event.sessionID, event.agentId);
}

PanelServices AppDelegate::panelServices()
{
    return { .sessionManager = m_sessionManager,
             .sessionChanges = m_sessionChanges,
             .store = m_store,
             .git = m_gitFacts,
             .workers = m_panelWorkers,
             .mainQueue = m_ports.mainQueue,
             .clock = m_ports.clock,
             .scheduler = m_ports.scheduler,
             .defaults = m_defaults,
             .log = m_log.general(),
             .home = m_paths.home,
             .telegramService = &m_telegramService };
}

SessionCallbacks AppDelegate::sessionCallbacks()
{
    SessionCallbacks callbacks = vantry::sessionCallbacks(m_sessionActions, m_terminalBridge, m_pendingPermissions);
    callbacks.openUrl = [this](const QUrl &url) {
        if (m_ports.openUrl)
            m_panelWorkers.run([open = m_ports.openUrl, url, &log = m_log.general()] {
                if (const auto failure = open(url))
                    log.write(u"AppDelegate: a link can't be opened: "_s + *failure);
            });
    };
    callbacks.openSettingsWindow = [this] { openSettings(); };
    callbacks.quit = [this] { quitApp(); };
    return callbacks;
}

TerminalBridge::Ports AppDelegate::terminalPorts()
{
    return { .mainQueue = m_ports.mainQueue,
             .scheduler = m_ports.scheduler,
             .log = m_log.general(),
             .scripts = m_ports.scripts,
             .applications = m_ports.applications,
             .drivers = m_ports.terminals,
             .liveSessions = [this] { return m_sessionManager.sessions(); },
             .agentHelp = m_ports.agentHelp };
}

void AppDelegate::closeStore()
{
    m_store.queue().sync([this] { m_store.close(); });
}

} // namespace vantry
