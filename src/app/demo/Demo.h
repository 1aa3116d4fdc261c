#pragma once

#include "app/AppDelegate.h"
#include "app/NoNotifications.h"
#include "app/demo/DemoDesktop.h"
#include "app/demo/DemoDirector.h"
#include "base/Paths.h"
#include "base/WorkerPool.h"

#include <QTemporaryDir>

namespace vantry::demo {

/// The whole application over invented sessions: the real services, in a scratch home that goes with it, on a machine
/// that isn't there. Takes neither the port nor the bus name, and so runs beside a real one. Main thread only.
class Demo
{
public:
    /// All of these must outlive this.
    Demo(const Clock &clock, Scheduler &scheduler, MainQueue &mainQueue);
    ~Demo();

    [[nodiscard]] AppDelegate &delegate() { return m_delegate; }
    [[nodiscard]] LoginItem &loginItem() { return m_loginItem; }
    [[nodiscard]] const Paths &paths() const { return m_paths; }

    /// False when there is no place for the scratch home.
    [[nodiscard]] bool isUsable() const { return m_folder.isValid(); }

    /// Starts the application, and the agents after it.
    void start();

private:
    QTemporaryDir m_folder;
    const Paths m_paths;
    Processes m_processes;
    Peers m_peers;
    Endpoint m_endpoint;
    NoApplications m_applications;
    NoScripts m_scripts;
    NoNotifications m_notifications;
    NoLoginItem m_loginItem;
    Terminal m_terminal;
    AppDelegate m_delegate;
    WorkerPool m_workers { 1 };
    Director m_director;
};

} // namespace vantry::demo
