#pragma once

#include "app/demo/DemoAgent.h"
#include "app/demo/DemoDesktop.h"
#include "base/WorkerPool.h"

#include <QString>

#include <memory>
#include <vector>

namespace vantry {

struct Paths;

namespace demo {

/// Brings the invented agents to life: makes their projects and old conversations in a scratch home, starts them, and
/// passes on what the user does to them. Main thread only.
class Director
{
public:
    /// Everything given must outlive this.
    struct World
    {
        const Paths &paths;
        Processes &processes;
        Terminal &terminal;
        MainQueue &mainQueue;
        WorkerPool &workers;
        Scheduler &scheduler;
        const Clock &clock;
    };

    Director(World world, Agent::Hooks hooks);
    ~Director();

    /// Writes the conversations of the past. Before the application looks for them.
    void prepareMemories() const;
    /// Makes the projects off the main thread, and then starts the agents one after the other.
    void start();

private:
    void launch(const TerminalCommand &command);
    void startAgent(const Scene &scene, const QString &sessionID);
    [[nodiscard]] Agent *agent(const QString &sessionID) const;
    [[nodiscard]] QString projectFolder(const QString &project) const;
    /// Where the agent keeps its transcripts of this folder; made when it isn't there.
    [[nodiscard]] QString transcriptOf(const QString &folder, const QString &sessionID) const;

    const World m_world;
    const Agent::Hooks m_hooks;
    std::vector<std::unique_ptr<Agent>> m_agents;
    std::vector<ScheduledTimer> m_entrances;
    std::int64_t m_nextPid { Processes::firstPid };
    std::shared_ptr<bool> m_isHere { std::make_shared<bool>(true) }; ///< What comes from the pool holds it weakly.
};

} // namespace demo

} // namespace vantry
