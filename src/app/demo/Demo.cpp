#include "app/demo/Demo.h"

namespace vantry::demo {

namespace {

Paths pathsIn(const QString &folder)
{
    Paths paths { .home = folder + u"/home",
                  .dataFolder = folder + u"/data",
                  .configFile = folder + u"/settings.json",
                  .runtimeFolder = {} };
    makePrivateFolder(paths.home);
    makePrivateFolder(paths.dataFolder);
    return paths;
}

} // namespace

Demo::Demo(const Clock &clock, Scheduler &scheduler, MainQueue &mainQueue)
    : m_paths(pathsIn(m_folder.path()))
    , m_terminal(mainQueue)
    , m_delegate(m_paths,
                 { clock,
                   scheduler,
                   mainQueue,
                   m_processes,
                   m_peers,
                   m_endpoint,
                   m_applications,
                   m_scripts,
                   m_notifications,
                   { &m_terminal } },
                 std::nullopt)
    , m_director({ m_paths, m_processes, m_terminal, mainQueue, m_workers, scheduler, clock },
                 { [this](const HookEvent &event) { m_delegate.httpServer().onEventReceived(event); },
                   [this](const HookEvent &event, HookConnectionPtr connection) {
                       m_delegate.httpServer().onPermissionRequest(event, std::move(connection));
                   } })
{}

Demo::~Demo() = default;

void Demo::start()
{
    // All that there is to be seen, at once.
    m_delegate.defaults().setBoolean(QStringLiteral("hasCompletedOnboarding"), true);
    m_delegate.defaults().setString(QStringLiteral("displayMode"), QStringLiteral("both"));
    m_director.prepareMemories();
    m_delegate.applicationDidFinishLaunching();
    m_director.start();
}

} // namespace vantry::demo
